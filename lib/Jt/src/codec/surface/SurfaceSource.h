#pragma once

// Preparing triangles for the surface walk: any set of triangles becomes closed surfaces in which
// the polygons round each vertex form one ring.

#include <cstdint>
#include <span>
#include <vector>

#include "codec/surface/Topology.h"

namespace jt::codec {

/// The corners beside one in its triangle, when corners are numbered three a triangle.
inline std::uint32_t nextInTriangle(std::uint32_t corner) noexcept {
  return corner % 3 == 2 ? corner - 2 : corner + 1;
}
inline std::uint32_t previousInTriangle(std::uint32_t corner) noexcept {
  return corner % 3 == 0 ? corner + 2 : corner - 1;
}

/// The opposite corner across the edge that begins at each corner; Surface::kNone on a boundary.
/// Where more than two triangles share an edge, each pairs with the first unpaired one of opposite
/// direction; triangles that use a position twice stay unpaired.
/// @param corners position of each corner, three a triangle
std::vector<std::uint32_t> pairEdges(std::span<const std::uint32_t> corners);

/// Closed surfaces of triangles and of caps over their holes. Corners are numbered through all
/// polygons; each also identifies the edge to the next corner (half-edges).
class SurfaceSource {
 public:
  /// Builds the surfaces of triangles. A corner keeps its number; those of caps come behind.
  /// @param opposites as pairEdges() gives them, three a triangle; left with the memory of those
  /// that were here before
  void build(std::vector<std::uint32_t>& opposites);

  std::size_t cornerCount() const noexcept { return opposites_.size(); }
  std::size_t triangleCount() const noexcept { return triangles_; }
  std::size_t polygonCount() const noexcept { return triangles_ + capStart_.size() - 1; }

  /// The corner across the edge that begins at a corner.
  std::uint32_t opposite(std::uint32_t corner) const noexcept { return opposites_[corner]; }
  bool isCap(std::uint32_t corner) const noexcept { return corner >= 3 * triangles_; }
  /// Triangles first, then caps.
  std::uint32_t polygonOf(std::uint32_t corner) const noexcept {
    return isCap(corner) ? capOf_[corner - 3 * triangles_] + triangles_ : corner / 3;
  }
  std::uint32_t valence(std::uint32_t polygon) const noexcept {
    if (polygon < triangles_) return 3;
    const std::size_t cap = polygon - triangles_;
    return capStart_[cap + 1] - capStart_[cap];
  }
  std::uint32_t next(std::uint32_t corner) const noexcept {
    if (!isCap(corner)) return nextInTriangle(corner);
    const std::uint32_t cap = capOf_[corner - 3 * triangles_];
    return corner + 1 == capStart_[cap + 1] ? capStart_[cap] : corner + 1;
  }
  std::uint32_t previous(std::uint32_t corner) const noexcept {
    if (!isCap(corner)) return previousInTriangle(corner);
    const std::uint32_t cap = capOf_[corner - 3 * triangles_];
    return corner == capStart_[cap] ? capStart_[cap + 1] - 1 : corner - 1;
  }
  /// The next corner at the same vertex, counter-clockwise.
  std::uint32_t nextAroundVertex(std::uint32_t corner) const noexcept {
    return opposites_[previous(corner)];
  }

 private:
  void cap(std::uint32_t boundary);

  std::vector<std::uint32_t> opposites_;
  std::vector<std::uint32_t> capStart_;  // first corner of each cap, and the end
  std::vector<std::uint32_t> capOf_;     // of each corner behind the triangles
  std::vector<std::uint32_t> loop_;      // boundary under work
  std::uint32_t triangles_ = 0;
};

}  // namespace jt::codec
