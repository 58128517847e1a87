#include <algorithm>
#include <array>

#include "JtInspect.h"
#include "JtShape.h"
#include "file/save/SavePlan.h"
#include "file/save/SceneWriter.h"
#include "inspect/StatedCounts.h"

namespace jt {

namespace {

constexpr std::int32_t kWithoutLevel = 6;  // segment types: 6, and from 7 on one a level

std::uint64_t countOf(const CountRange& range) noexcept {
  return range.max > 0 ? static_cast<std::uint64_t>(range.max) : 0;
}

void add(ShapeSummary::Counts& counts, const ShapeSummary::Counts& more) noexcept {
  counts.shapes += more.shapes;
  counts.triangles += more.triangles;
  counts.vertices += more.vertices;
}

}  // namespace

StatedCounts statedCounts(const JtShape& shape) {
  const ShapeStatistics& statistics = shape.statistics();
  const bool isLineOrPoint = as<JtSparseShape>(&shape) != nullptr;
  return {{1, isLineOrPoint ? 0 : countOf(statistics.polygons), countOf(statistics.vertices)},
          statistics.vertices.max >= 0 && statistics.polygons.max >= 0};
}

ShapeSummary summarizeShapes(const JtPartition& partition) {
  ShapeSummary summary;
  std::array<ShapeSummary::Level, 11> levels;  // by segment type - 6
  for (const JtNode* node : file::SceneWriter::nodesOf(partition)) {
    const auto* shape = as<JtShape>(node);
    if (!shape) continue;
    const auto [counts, isComplete] = statedCounts(*shape);
    if (!isComplete) ++summary.uncounted;
    const auto place =
        static_cast<std::size_t>(file::SavePlan::segmentTypeOf(*shape) - kWithoutLevel);
    add(levels[place], counts);
    add(summary.all, counts);
    if (place < 2) {
      summary.triangles += counts.triangles;
      summary.vertices += counts.vertices;
    }
    ++summary.byType[elementName(shape)];
  }
  if (const file::Container* container = partition.container())
    for (std::size_t place = 0; place < levels.size(); ++place)
      levels[place].bytes =
          container->totals()[static_cast<std::size_t>(kWithoutLevel) + place].bytes;
  for (std::size_t place = 1; place <= levels.size(); ++place) {
    ShapeSummary::Level& level = levels[place % levels.size()];  // those without level last
    if (place < levels.size()) level.level = static_cast<int>(place) - 1;
    if (level.shapes > 0 || level.bytes > 0) summary.levels.push_back(level);
  }
  return summary;
}

}  // namespace jt
