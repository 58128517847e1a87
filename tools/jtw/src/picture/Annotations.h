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
  /// Takes the annotations of a node where it occurs. @param toRoot for row vectors
  void add(JtNode& node, const jt::Matrix4& toRoot);

  /// Makes room for all lines.
  void include(Camera& camera) const;
  /// Adds all lines as they are seen.
  void draw(DrawList& list, const Camera& camera) const;
  /// How many lines there are, each occurrence counted.
  std::size_t size() const noexcept;
  /// How many nodes with lines there are, each occurrence counted.
  std::size_t occurrences() const noexcept { return occurrences_.size(); }

 private:
  using Lines = std::shared_ptr<const std::vector<jtk::PMILine>>;
  struct Occurrence {
    Lines lines;
    jt::Matrix4 toRoot;
  };
  static std::vector<Vector> inView(const Occurrence& occurrence, const jtk::PMILine& line,
                                    const Camera& camera);

  std::vector<Occurrence> occurrences_;
  std::unordered_map<const PMIDataManager*, Lines> drawn_;
};

}  // namespace tool
