#pragma once

#include <cstddef>
#include <span>

#include "JtwExport.h"
#include "RTVec3D.h"
#include "RWClassic.h"

namespace jtw {

/// Polylines in two flat sequences, as PMI elements of JT files have them (ISO 14306, polyline
/// data): the vertices of all polylines one after the other, and for n polylines n + 1 indices.
/// Polyline i has the vertices indices[i] .. indices[i + 1] - 1, so a polyline without vertices
/// keeps its place. A store without polylines has no indices at all. All coordinates are carried as
/// they are.
class JTW_API PolylineStore {
 public:
  using Points = RWClassicTValOrderedVector<RTVec3D>;
  using Indices = RWClassicTValOrderedVector<int>;
  using Polylines = RTTwoLevelRWTOrderedVector<RTVec3D>;

  /// How many polylines there are.
  std::size_t size() const noexcept { return indices_.empty() ? 0 : indices_.size() - 1; }
  const Points& vertices() const noexcept { return vertices_; }
  const Indices& indices() const noexcept { return indices_; }

  /// The vertices of polyline `index`, valid until the store is changed. @pre index < size()
  std::span<const RTVec3D> polyline(std::size_t index) const;
  /// All polylines, in order.
  Polylines polylines() const;

  /// Takes other polylines. False, and nothing changes, for more vertices than an index can count.
  bool assign(const Polylines& polylines);
  /// Takes flat sequences as they are. False, and nothing changes, unless both are empty or the
  /// indices begin with 0, never fall and end with the number of vertices.
  bool assign(const Points& vertices, const Indices& indices);
  /// Gives polyline `index` other vertices, any number of them; the others keep theirs. False, and
  /// nothing changes, when there is no such polyline or the vertices become too many to count.
  bool replace(std::size_t index, const Points& points);

  friend bool operator==(const PolylineStore&, const PolylineStore&) = default;

 private:
  Points vertices_;
  Indices indices_;
};

}  // namespace jtw
