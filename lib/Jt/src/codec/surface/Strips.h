#pragma once

// Triangles in strips, as 8.x stores them.

#include <cstdint>
#include <span>
#include <vector>

namespace jt::codec {

/// Strips of triangles. Triangle t of a strip has its entries t, t + 1 and t + 2, the first two of
/// them swapped where t is odd.
struct Strips {
  std::vector<std::uint32_t> corners;  ///< of the triangles; one represents each entry
  std::vector<std::uint32_t> starts;   ///< first entry of each strip, and the end
};

/// Strips in which each triangle is once, as it is turned. Takes linear time.
/// @param vertices vertex of each corner, three a triangle
Strips makeStrips(std::span<const std::uint32_t> vertices);

}  // namespace jt::codec
