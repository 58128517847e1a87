#pragma once

#include <map>
#include <optional>
#include <unordered_map>
#include <vector>

#include "JtPartition.h"
#include "JtShapeEncoding.h"
#include "file/archive/Format.h"
#include "file/save/SegmentConversion.h"

namespace jt::file {

/// What a save stores otherwise than the model has it. The model itself is only read: a dry run, a
/// failed save and a save to another file leave it as it was.
class SavePlan {
 public:
  /// Plans nothing: everything is stored as it is.
  SavePlan() = default;
  /// @param nodes     of what is saved
  /// @param converter of the save; knows all changed objects
  SavePlan(const std::vector<const JtNode*>& nodes, const ShapeEncoding& encoding,
           const Format& format, SegmentConverter& converter);
  /// Lets the stored extent of what is saved grow with its content.
  void growBounds(const JtPartition& top);

  /// True for an object in whose place a copy is stored.
  bool changes(const JtSceneObject& object) const {
    return (&object == top_ && bounds_) || (!shapes_.empty() && shapes_.contains(&object));
  }
  /// The copy that is stored in place of an object; empty when it is stored as it is. Children are
  /// those of the object. While it lives, attributes of the object have one owner more.
  Ref<JtSceneObject> copyOf(const JtSceneObject& object) const;
  /// Geometry that gets a segment.
  struct NewGeometry {
    const JtLateLoadedPropAtom* atom = nullptr;  ///< what is stored: one atom for a mesh and a type
    std::int32_t segmentType = 0;
  };
  /// What is stored of an atom with new geometry; null for all others.
  const NewGeometry* newGeometryOf(const JtPropAtom& atom) const;

  /// Type of the segment of a shape by its place: 7 and the level below the nearest LOD node, 6
  /// without one.
  static std::int32_t segmentTypeOf(const JtShape& shape);

 private:
  void planNew(const JtShape& shape, const JtLateLoadedPropAtom& atom,
               const ShapeEncoding& encoding, const Format& format);
  void planConverted(const JtVertexShape& shape, const JtLateLoadedPropAtom& atom,
                     SegmentConverter& converter);

  const JtPartition* top_ = nullptr;
  std::optional<Box> bounds_;  // of top_
  std::unordered_map<const JtSceneObject*, ShapeStorage> shapes_;
  std::unordered_map<const JtPropAtom*, NewGeometry> geometry_;
  // First atom by mesh and segment type.
  std::map<std::pair<const Mesh*, std::int32_t>, const JtLateLoadedPropAtom*> byMesh_;
};

}  // namespace jt::file
