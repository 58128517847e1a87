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

/// The corner across the edge that begins at each corner, or Surface::kNone on a boundary. Where
/// more than two triangles share an edge, each pairs with the first that waits for one and runs the
/// other way; triangles that meet a position twice pair with nothing.
/// @param corners position of each corner, three a triangle
std::vector<std::uint32_t> pairEdges(std::span<const std::uint32_t> corners);

/// Closed surfaces that are made of triangles and of covers over their holes. Corners are numbered
/// through all polygons, and each stands for the edge to the next one too.
class SurfaceSource {
 public:
  /// Builds the surfaces of triangles. A corner keeps its number; those of covers come behind.
  /// @param mates as pairEdges() gives them, three a triangle; left with the memory of those that
  /// were here before
  void build(std::vector<std::uint32_t>& mates);

  std::size_t cornerCount() const noexcept { return mates_.size(); }
  std::size_t triangleCount() const noexcept { return triangles_; }
  std::size_t polygonCount() const noexcept { return triangles_ + coverStart_.size() - 1; }

  /// The corner across the edge that begins at a corner.
  std::uint32_t mate(std::uint32_t corner) const noexcept { return mates_[corner]; }
  bool isCover(std::uint32_t corner) const noexcept { return corner >= 3 * triangles_; }
  /// Triangles first, then covers.
  std::uint32_t polygonOf(std::uint32_t corner) const noexcept {
    return isCover(corner) ? coverOf_[corner - 3 * triangles_] + triangles_ : corner / 3;
  }
  std::uint32_t valence(std::uint32_t polygon) const noexcept {
    if (polygon < triangles_) return 3;
    const std::size_t cover = polygon - triangles_;
    return coverStart_[cover + 1] - coverStart_[cover];
  }
  std::uint32_t next(std::uint32_t corner) const noexcept {
    if (!isCover(corner)) return nextInTriangle(corner);
    const std::uint32_t cover = coverOf_[corner - 3 * triangles_];
    return corner + 1 == coverStart_[cover + 1] ? coverStart_[cover] : corner + 1;
  }
  std::uint32_t previous(std::uint32_t corner) const noexcept {
    if (!isCover(corner)) return previousInTriangle(corner);
    const std::uint32_t cover = coverOf_[corner - 3 * triangles_];
    return corner == coverStart_[cover] ? coverStart_[cover + 1] - 1 : corner - 1;
  }
  /// The next corner at the same vertex, counter-clockwise.
  std::uint32_t turn(std::uint32_t corner) const noexcept { return mates_[previous(corner)]; }

 private:
  void cover(std::uint32_t boundary);

  std::vector<std::uint32_t> mates_;
  std::vector<std::uint32_t> coverStart_;  // first corner of each cover, and the end
  std::vector<std::uint32_t> coverOf_;     // of each corner behind the triangles
  std::vector<std::uint32_t> loop_;        // boundary under work
  std::uint32_t triangles_ = 0;
};

}  // namespace jt::codec
