#include "Annotations.h"

#include <algorithm>
#include <cmath>

#include "VisMetaDataNode.h"

namespace tool {
namespace {

constexpr float kWidestLine = 100;  // pixels

/// By how much a matrix makes things larger.
double scaleOf(const jt::Matrix4& m) { return std::hypot(m[0], m[1], m[2]); }

}  // namespace

void Annotations::add(JtNode& node, const jt::Matrix4& toRoot, std::size_t place) {
  auto* holder = jt::as<VisMetaDataNode>(&node);
  const PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  if (!pmi) return;
  auto& lines = drawn_[pmi];
  if (!lines)
    lines = std::make_shared<const std::vector<jtk::PMILine>>(jtk::drawnLines(*pmi, facing_));
  if (!lines->empty()) occurrences_.push_back({lines, toRoot, &node, place});
}

std::vector<Vector> Annotations::inView(const Occurrence& occurrence, const jtk::PMILine& line,
                                        const Camera& camera) {
  std::vector<Vector> points;
  points.reserve(line.points.size());
  if (!line.anchor) {
    for (const auto& point : line.points)
      points.push_back(camera.inView(transformed(point, occurrence.toRoot)));
    return points;
  }
  const Vector anchor = camera.inView(transformed(*line.anchor, occurrence.toRoot));
  const double scale = scaleOf(occurrence.toRoot);
  for (const auto& [right, up, _] : line.points)
    points.push_back({anchor[0] + static_cast<double>(right) * scale,
                      anchor[1] + static_cast<double>(up) * scale, anchor[2]});
  return points;
}

void Annotations::include(Camera& camera) const {
  for (const Occurrence& occurrence : occurrences_)
    for (const jtk::PMILine& line : *occurrence.lines)
      for (const Vector& point : inView(occurrence, line, camera)) camera.include(point);
}

void Annotations::draw(DrawList& list, const Camera& camera) const {
  for (const Occurrence& occurrence : occurrences_)
    for (const jtk::PMILine& line : *occurrence.lines) {
      const Color color{line.color[0], line.color[1], line.color[2], 1};
      const std::vector<Vector> points = inView(occurrence, line, camera);
      for (std::size_t i = 1; i < points.size(); ++i)
        if (points[i - 1][2] < camera.nearLimit() && points[i][2] < camera.nearLimit())
          list.lines.push_back({camera.onScreen(points[i - 1]), camera.onScreen(points[i]), color,
                                std::min(line.width, kWidestLine)});
    }
}

std::size_t Annotations::size() const noexcept {
  std::size_t count = 0;
  for (const Occurrence& occurrence : occurrences_) count += occurrence.lines->size();
  return count;
}

}  // namespace tool
