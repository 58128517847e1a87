#pragma once

// Preparing triangles for the surface walk: any set of triangles becomes closed surfaces in which
// the polygons round each vertex form one ring.

#include <cstdint>
#include <span>
#include <vector>

#include "Topology.h"

namespace jt::codec {

/// Index of the first item that equals each item. Expected linear time.
/// @param hash of an item by index @param equal of two items by index
template <class Hash, class Equal>
std::vector<std::uint32_t> firstOfEquals(std::size_t count, Hash hash, Equal equal) {
  constexpr std::uint32_t kFree = 0xffffffffU;
  std::size_t size = 16;
  while (size < 2 * count) size *= 2;
  std::vector<std::uint32_t> slots(size, kFree);
  std::vector<std::uint32_t> first(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    std::size_t at = hash(i) & (size - 1);
    while (slots[at] != kFree && !equal(slots[at], i)) at = (at + 1) & (size - 1);
    if (slots[at] == kFree) slots[at] = i;
    first[i] = slots[at];
  }
  return first;
}

/// The corner across the edge that begins at each corner, or Surface::kNone on a boundary. Edges
/// that more than two triangles share, or that neighbours run in the same direction, pair the first
/// of each direction; triangles that meet a position twice pair with nothing.
/// @param corners position of each corner, three a triangle
std::vector<std::uint32_t> pairEdges(std::span<const std::uint32_t> corners);

/// Closed surfaces that are made of triangles: their polygons come first, the covers behind them.
struct SurfaceSource {
  std::vector<std::uint32_t> cornerStart;  ///< first corner of each polygon, and the end
  std::vector<std::uint32_t> polygonOf;    ///< of each corner
  std::vector<std::uint32_t> vertexOf;     ///< of each corner
  std::vector<std::uint32_t> placeOf;      ///< of each corner in the ring of its vertex
  std::vector<std::uint32_t> ringStart;    ///< first entry of each vertex in `ring`, and the end
  std::vector<std::uint32_t> ring;         ///< corners round each vertex, counter-clockwise
  std::size_t triangles = 0;

  std::size_t polygonCount() const noexcept { return cornerStart.size() - 1; }
  std::size_t vertexCount() const noexcept { return ringStart.size() - 1; }

  /// Builds the surfaces of triangles. A corner keeps its number.
  /// @param mates as pairEdges() gives them, three a triangle
  void build(std::vector<std::uint32_t> mates);

 private:
  void closeFans(std::vector<std::uint32_t>& mates);
  void cover(std::vector<std::uint32_t>& mates);
};

}  // namespace jt::codec
