#include "Edges.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <numeric>

#include "Vector.h"

namespace tool {
namespace {

/// For each position the first one that is equal to it.
std::vector<std::uint32_t> welded(const std::vector<jt::Vec3f>& positions) {
  std::vector<std::uint32_t> order(positions.size());
  std::iota(order.begin(), order.end(), 0U);
  // By bits: a total order, whatever the numbers are.
  std::ranges::sort(order, [&positions](std::uint32_t a, std::uint32_t b) {
    for (std::size_t i = 0; i < 3; ++i)
      if (const auto less = std::strong_order(positions[a][i] + 0.0F, positions[b][i] + 0.0F);
          less != 0)
        return less < 0;
    return a < b;
  });
  std::vector<std::uint32_t> first(positions.size());
  for (std::size_t i = 0; i < order.size(); ++i) {
    const bool isSame = i > 0 && positions[order[i]] == positions[order[i - 1]];
    first[order[i]] = isSame ? first[order[i - 1]] : order[i];
  }
  return first;
}

Vector asVector(const jt::Vec3f& p) {
  return {static_cast<double>(p[0]), static_cast<double>(p[1]), static_cast<double>(p[2])};
}

struct Side {
  std::uint32_t from;
  std::uint32_t to;
  std::uint32_t triangle;  // its first corner
  friend auto operator<=>(const Side&, const Side&) = default;
};

}  // namespace

std::vector<Edge> featureEdges(const jt::Mesh& mesh, double degrees) {
  if (mesh.kind != jt::Mesh::Kind::triangles) return {};
  const std::vector<std::uint32_t> first = welded(mesh.positions);
  std::vector<Side> sides;
  sides.reserve(mesh.corners.size());
  for (std::size_t i = 0; i + 2 < mesh.corners.size(); i += 3)
    for (std::size_t k = 0; k < 3; ++k) {
      const std::uint32_t a = first[mesh.corners[i + k]];
      const std::uint32_t b = first[mesh.corners[i + (k + 1) % 3]];
      if (a != b) sides.push_back({std::min(a, b), std::max(a, b), static_cast<std::uint32_t>(i)});
    }
  std::ranges::sort(sides);
  const auto normal = [&mesh](std::uint32_t triangle) {
    const Vector a = asVector(mesh.positions[mesh.corners[triangle]]);
    const Vector b = asVector(mesh.positions[mesh.corners[triangle + 1]]);
    const Vector c = asVector(mesh.positions[mesh.corners[triangle + 2]]);
    return unit(cross(minus(b, a), minus(c, a)));
  };
  const double least = std::cos(degrees * M_PI / 180);
  const auto isSharp = [&](const Side& a, const Side& b) {
    const Vector n = normal(a.triangle);
    const Vector m = normal(b.triangle);
    // Triangles without extent have no direction.
    return dot(n, n) > 0.5 && dot(m, m) > 0.5 && dot(n, m) < least;
  };
  std::vector<Edge> edges;
  for (std::size_t i = 0; i < sides.size();) {
    std::size_t end = i + 1;
    while (end < sides.size() && sides[end].from == sides[i].from && sides[end].to == sides[i].to)
      ++end;
    if (end - i != 2 || isSharp(sides[i], sides[i + 1]))
      edges.push_back({sides[i].from, sides[i].to});
    i = end;
  }
  return edges;
}

}  // namespace tool
