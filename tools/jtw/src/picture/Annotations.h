#pragma once

#include <cstddef>
#include <memory>
#include <unordered_map>
#include <vector>

#include "Camera.h"
#include "JtNode.h"
#include "JtXform.h"
#include "JtkPMIDrawing.h"
#include "Rasterizer.h"

namespace tool {

/// The lines of the annotations in a picture.
class Annotations {
 public:
  /// The lines of a node where it occurs.
  struct Occurrence {
    std::shared_ptr<const std::vector<jtk::PMILine>> lines;
    jt::Matrix4 toRoot;  ///< for row vectors
    const JtNode* node;  ///< that carries the annotations
    std::size_t place;   ///< as the request has it, see SceneRequest::placeOf
  };

  /// @param facing false: text that faces the viewer is in the plane of its annotation instead
  explicit Annotations(bool facing = true) : facing_(facing) {}

  /// Takes the annotations of a node where it occurs. @param toRoot for row vectors
  void add(JtNode& node, const jt::Matrix4& toRoot, std::size_t place);

  /// Makes room for all lines.
  void include(Camera& camera) const;
  /// Adds all lines as they are seen.
  void draw(DrawList& list, const Camera& camera) const;
  /// How many lines there are, each occurrence counted.
  std::size_t size() const noexcept;
  /// The nodes with lines, each where it occurs.
  const std::vector<Occurrence>& occurrences() const noexcept { return occurrences_; }

 private:
  static std::vector<Vector> inView(const Occurrence& occurrence, const jtk::PMILine& line,
                                    const Camera& camera);

  bool facing_;
  std::vector<Occurrence> occurrences_;
  std::unordered_map<const PMIDataManager*, std::shared_ptr<const std::vector<jtk::PMILine>>>
      drawn_;
};

}  // namespace tool
