#pragma once

// Finds equal positions and records of a mesh.

#include <cstdint>
#include <span>
#include <vector>

#include "JtMesh.h"
#include "codec/shape/ShapeData.h"

namespace jt::codec {

/// Texture coordinates of a record.
std::span<const float> textureOf(const Mesh::TextureChannel& texture, std::uint32_t record);

/// Positions with the same coordinates, by the first of each. -0 and 0 are the same. Empty when no
/// two are equal.
std::vector<std::uint32_t> weldPositions(const Mesh& mesh);
/// Records with the same attributes among those that are bound, likewise.
std::vector<std::uint32_t> weldRecords(const Mesh& mesh, const VertexBindings& bindings);

/// What corners name, the first of equals in place of each.
class Welded {
 public:
  /// @param corners must outlive this
  Welded(const std::vector<std::uint32_t>& corners, const std::vector<std::uint32_t>& firsts)
      : corners_(corners) {
    if (firsts.empty()) return;
    own_.resize(corners.size());
    for (std::size_t i = 0; i < corners.size(); ++i) own_[i] = firsts[corners[i]];
    corners_ = own_;
  }
  Welded(const Welded&) = delete;
  Welded& operator=(const Welded&) = delete;
  std::span<const std::uint32_t> corners() const noexcept { return corners_; }

 private:
  std::vector<std::uint32_t> own_;
  std::span<const std::uint32_t> corners_;
};

/// A vertex for each corner: the first corner with the same position and bound attributes. Corners
/// of a triangle that meets a vertex twice are vertices of their own.
std::vector<std::uint32_t> weldCorners(const Mesh& mesh, const VertexBindings& bindings);

}  // namespace jt::codec
