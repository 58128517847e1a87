#pragma once

#include "Format.h"
#include "JtShapeEncoding.h"

class JtNode;
class JtShape;
class JtVertexShape;

namespace jt::file {

/// Gets shapes with new geometry ready for a save: what their nodes and atoms say of the segments
/// that will be written.
class ShapePlan {
 public:
  /// @param root top of what is saved
  static void prepare(const JtNode& root, const ShapeEncoding& encoding, const Format& format);
  /// Type of the segment of a shape by its place: 7 and the level below the nearest LOD node, 6
  /// without one.
  static std::int32_t segmentTypeOf(const JtShape& shape);

 private:
  static void tellEncoding(JtVertexShape& shape, const ShapeEncoding& encoding,
                           const Format& format);
};

}  // namespace jt::file
