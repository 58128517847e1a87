#include "Annotations.h"

#include <cmath>

#include "VisMetaDataNode.h"

namespace tool {
namespace {

Vector transformed(const std::array<float, 3>& point, const jt::Matrix4& m) {
  Vector result{m[12], m[13], m[14]};
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (std::size_t i = 0; i < 3; ++i)
      result[i] += static_cast<double>(point[axis]) * m[axis * 4 + i];
  return result;
}

/// By how much a matrix makes things larger.
double scaleOf(const jt::Matrix4& m) { return std::hypot(m[0], m[1], m[2]); }

}  // namespace

void Annotations::add(JtNode& node, const jt::Matrix4& toRoot) {
  auto* holder = jt::as<VisMetaDataNode>(&node);
  const PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  if (!pmi) return;
  Lines& lines = drawn_[pmi];
  if (!lines) lines = std::make_shared<const std::vector<jtk::PMILine>>(jtk::drawnLines(*pmi));
  if (!lines->empty()) occurrences_.push_back({lines, toRoot});
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

void Annotations::draw(Rasterizer& canvas, const Camera& camera, double samples) const {
  for (const Occurrence& occurrence : occurrences_)
    for (const jtk::PMILine& line : *occurrence.lines) {
      const Color color{line.color[0], line.color[1], line.color[2], 1};
      const std::vector<Vector> points = inView(occurrence, line, camera);
      const int width = static_cast<int>(line.width);
      for (std::size_t i = 1; i < points.size(); ++i) {
        const Vector from = camera.onScreen(points[i - 1]);
        const Vector to = camera.onScreen(points[i]);
        // A wide line is several beside each other.
        const double length = std::hypot(to[0] - from[0], to[1] - from[1]);
        const Vector across = length > 0 ? Vector{(from[1] - to[1]) / length * samples,
                                                  (to[0] - from[0]) / length * samples, 0}
                                         : Vector{};
        for (int k = 0; k < width; ++k) {
          const double offset = k - 0.5 * (width - 1);
          const auto moved = [&](const Vector& p) {
            return Vector{p[0] + across[0] * offset, p[1] + across[1] * offset, p[2]};
          };
          canvas.line(moved(from), moved(to), color);
        }
      }
    }
}

std::size_t Annotations::size() const noexcept {
  std::size_t count = 0;
  for (const Occurrence& occurrence : occurrences_) count += occurrence.lines->size();
  return count;
}

}  // namespace tool
