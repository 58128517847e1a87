#pragma once

// Primitives of one mesh by where they are.

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <span>
#include <vector>

#include "base/IndexTable.h"
#include "inspect/compare/Primitives.h"

namespace jt::compare_detail {

/// A grid over the centers of primitives. Cells are sized for a few primitives each where these are
/// spread over a surface, and not much smaller than the distance that is searched.
class PrimitiveGrid {
 public:
  /// @param reach how far from a place primitives are looked for; may be infinite
  PrimitiveGrid(const Primitives& primitives, double reach);

  /// Calls visit(primitive) for all primitives whose center may be within reach of a place along
  /// each axis, near ones first, until it returns true. Whether it did.
  template <class Visit>
  bool findNear(const std::array<double, 3>& place, Visit visit) const;

 private:
  using Cell = std::array<std::int64_t, 3>;
  struct Row {
    std::uint64_t key = 0;
    std::uint32_t primitive = 0;
  };
  /// Cells within reach of a place, both ends included, and the one nearest to the place.
  struct Range {
    Cell low;
    Cell high;
    Cell middle;
  };

  static bool isFinite(const std::array<double, 3>& place) {
    return std::isfinite(place[0]) && std::isfinite(place[1]) && std::isfinite(place[2]);
  }
  static std::uint64_t keyOf(const Cell& cell) noexcept;
  std::int64_t cellAlong(std::size_t axis, double coordinate) const;
  Range rangeAround(const std::array<double, 3>& place) const;
  std::span<const Row> rowsOf(const Cell& cell) const;
  void sizeCells(std::span<const std::array<double, 3>> centers);
  void fill(std::span<const std::array<double, 3>> centers);
  template <class Visit>
  bool visitCell(const Cell& cell, Visit& visit) const;
  template <class Visit>
  bool visitShell(const Range& range, std::int64_t distance, Visit& visit) const;

  double reach_;
  double size_ = 1;  // of a cell
  std::array<double, 3> origin_{};
  Cell last_{};
  std::vector<Row> rows_;               // by cell
  IndexTable firstRows_;                // of the cells
  std::vector<std::uint32_t> outside_;  // primitives without a place: not finite
};

template <class Visit>
bool PrimitiveGrid::visitCell(const Cell& cell, Visit& visit) const {
  for (const Row& row : rowsOf(cell))
    if (visit(row.primitive)) return true;
  return false;
}

template <class Visit>
bool PrimitiveGrid::visitShell(const Range& range, std::int64_t distance, Visit& visit) const {
  const auto first = [&](std::size_t axis) {
    return std::max(range.low[axis], range.middle[axis] - distance);
  };
  const auto last = [&](std::size_t axis) {
    return std::min(range.high[axis], range.middle[axis] + distance);
  };
  const auto isOnShell = [&](std::size_t axis, std::int64_t at) {
    return at == range.middle[axis] - distance || at == range.middle[axis] + distance;
  };
  for (std::int64_t x = first(0); x <= last(0); ++x)
    for (std::int64_t y = first(1); y <= last(1); ++y) {
      const bool isSide = isOnShell(0, x) || isOnShell(1, y);
      for (std::int64_t z = first(2); z <= last(2); ++z)
        if ((isSide || isOnShell(2, z)) && visitCell({x, y, z}, visit)) return true;
    }
  return false;
}

template <class Visit>
bool PrimitiveGrid::findNear(const std::array<double, 3>& place, Visit visit) const {
  if (!isFinite(place) || !std::isfinite(reach_)) {
    for (const Row& row : rows_)
      if (visit(row.primitive)) return true;
  } else if (!rows_.empty()) {
    const Range range = rangeAround(place);
    std::int64_t farthest = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
      farthest = std::max(
          {farthest, range.middle[axis] - range.low[axis], range.high[axis] - range.middle[axis]});
    for (std::int64_t distance = 0; distance <= farthest; ++distance)
      if (visitShell(range, distance, visit)) return true;
  }
  for (const std::uint32_t primitive : outside_)
    if (visit(primitive)) return true;
  return false;
}

}  // namespace jt::compare_detail
