#include "inspect/compare/PrimitiveGrid.h"

#include <algorithm>
#include <cmath>

namespace jt::compare_detail {

namespace {

constexpr unsigned kBits = 21;  // of a cell's number along one axis

}  // namespace

PrimitiveGrid::PrimitiveGrid(const Primitives& primitives, double reach) : reach_(reach) {
  std::vector<std::array<double, 3>> centers(primitives.count());
  for (std::size_t i = 0; i < centers.size(); ++i) centers[i] = primitives.center(i);
  sizeCells(centers);
  fill(centers);
}

void PrimitiveGrid::sizeCells(std::span<const std::array<double, 3>> centers) {
  std::array<double, 3> low{};
  std::array<double, 3> high{};
  bool isFirst = true;
  for (const auto& center : centers) {
    if (!isFinite(center)) continue;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      low[axis] = isFirst ? center[axis] : std::min(low[axis], center[axis]);
      high[axis] = isFirst ? center[axis] : std::max(high[axis], center[axis]);
    }
    isFirst = false;
  }
  origin_ = low;
  double extent = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) extent = std::max(extent, high[axis] - low[axis]);
  const double perRow = std::sqrt(static_cast<double>(std::max<std::size_t>(centers.size(), 1)));
  size_ = extent / std::min(perRow, static_cast<double>((1U << kBits) - 2));
  // A search that finds nothing looks into some thousand cells at most.
  constexpr double kCellsInReach = 8;
  if (std::isfinite(reach_)) size_ = std::max(size_, reach_ / kCellsInReach);
  if (!(size_ > 0)) size_ = 1;
  for (std::size_t axis = 0; axis < 3; ++axis)
    last_[axis] = static_cast<std::int64_t>(std::floor((high[axis] - low[axis]) / size_));
}

void PrimitiveGrid::fill(std::span<const std::array<double, 3>> centers) {
  rows_.reserve(centers.size());
  for (std::uint32_t i = 0; i < centers.size(); ++i) {
    if (!isFinite(centers[i])) {
      outside_.push_back(i);
      continue;
    }
    Cell cell{};
    for (std::size_t axis = 0; axis < 3; ++axis) cell[axis] = cellAlong(axis, centers[i][axis]);
    rows_.push_back({keyOf(cell), i});
  }
  std::sort(rows_.begin(), rows_.end(), [](const Row& x, const Row& y) {
    return std::pair(x.key, x.primitive) < std::pair(y.key, y.primitive);
  });
  std::size_t cells = 0;
  for (std::size_t i = 0; i < rows_.size(); ++i)
    if (i == 0 || rows_[i].key != rows_[i - 1].key) ++cells;
  firstRows_ = IndexTable(cells);
  for (std::uint32_t i = 0; i < rows_.size(); ++i)
    if (i == 0 || rows_[i].key != rows_[i - 1].key)
      firstRows_.find(rows_[i].key, [](std::uint32_t /*row*/) { return false; }) = i;
}

std::uint64_t PrimitiveGrid::keyOf(const Cell& cell) noexcept {
  return static_cast<std::uint64_t>(cell[0]) << (2 * kBits) |
         static_cast<std::uint64_t>(cell[1]) << kBits | static_cast<std::uint64_t>(cell[2]);
}

/// What lies outside belongs to the outermost cell.
std::int64_t PrimitiveGrid::cellAlong(std::size_t axis, double coordinate) const {
  const double cell = std::floor((coordinate - origin_[axis]) / size_);
  return static_cast<std::int64_t>(std::clamp(cell, 0.0, static_cast<double>(last_[axis])));
}

PrimitiveGrid::Range PrimitiveGrid::rangeAround(const std::array<double, 3>& place) const {
  Range range{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    // A little more than the reach: sums are rounded.
    const double reach = reach_ * (1 + 1e-6) + 1e-6 * size_;
    range.low[axis] = cellAlong(axis, place[axis] - reach);
    range.high[axis] = cellAlong(axis, place[axis] + reach);
    range.middle[axis] = cellAlong(axis, place[axis]);
  }
  return range;
}

std::span<const PrimitiveGrid::Row> PrimitiveGrid::rowsOf(const Cell& cell) const {
  const std::uint64_t key = keyOf(cell);
  const std::size_t first =
      firstRows_.find(key, [&](std::uint32_t row) { return rows_[row].key == key; });
  if (first == IndexTable::kFree) return {};
  std::size_t end = first;
  while (end < rows_.size() && rows_[end].key == key) ++end;
  return std::span(rows_).subspan(first, end - first);
}

}  // namespace jt::compare_detail
