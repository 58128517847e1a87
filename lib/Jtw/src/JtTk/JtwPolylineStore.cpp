#include "JtwPolylineStore.h"

#include <algorithm>
#include <limits>

namespace jtw {

std::span<const RTVec3D> PolylineStore::polyline(std::size_t index) const {
  const auto begin = static_cast<std::size_t>(indices_[index]);
  const auto end = static_cast<std::size_t>(indices_[index + 1]);
  return std::span(vertices_).subspan(begin, end - begin);
}

PolylineStore::Polylines PolylineStore::polylines() const {
  Polylines all;
  all.reserve(size());
  for (std::size_t i = 0; i < size(); ++i) {
    const auto points = polyline(i);
    all.emplace_back(points.begin(), points.end());
  }
  return all;
}

bool PolylineStore::assign(const Polylines& polylines) {
  constexpr std::size_t kMost = std::numeric_limits<int>::max();
  PolylineStore made;
  if (!polylines.empty()) made.indices_.push_back(0);
  for (const Points& points : polylines) {
    if (points.size() > kMost - made.vertices_.size()) return false;
    made.vertices_.insert(made.vertices_.end(), points.begin(), points.end());
    made.indices_.push_back(static_cast<int>(made.vertices_.size()));
  }
  *this = std::move(made);
  return true;
}

bool PolylineStore::assign(const Points& vertices, const Indices& indices) {
  const bool isWhole = indices.empty()
                           ? vertices.empty()
                           : indices.front() == 0 && std::ranges::is_sorted(indices) &&
                                 static_cast<std::size_t>(indices.back()) == vertices.size();
  if (!isWhole) return false;
  vertices_ = vertices;
  indices_ = indices;
  return true;
}

bool PolylineStore::replace(std::size_t index, const Points& points) {
  if (index >= size()) return false;
  Polylines all = polylines();
  all[index] = points;
  return assign(all);
}

}  // namespace jtw
