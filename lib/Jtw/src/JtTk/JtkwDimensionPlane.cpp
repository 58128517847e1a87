// Planes through the lines and arrows of a dimension. All coordinates are first divided by the
// greatest of them, so that no square overflows and the unit of the drawing does not matter.

#include "JtTk/JtkwDimensionPlane.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <vector>

namespace jtw {
namespace {

/// What counts as no distance, as a part of the extent of the drawing.
constexpr double kRelative = 1e-9;
/// Differences of coordinates up to 1 are not known better than this.
constexpr double kRounding = 64 * std::numeric_limits<double>::epsilon();

struct Segment {
  RTVec3D from;
  RTVec3D to;
};

bool isFinite(const RTVec3D& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

double greatestOf(const RTVec3D& v) {
  return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)});
}

/// Not by the inverse: that of a denormal number is infinite.
RTVec3D divided(const RTVec3D& v, double by) { return {v.x / by, v.y / by, v.z / by}; }

RTVec3D perpendicular(const RTVec3D& v, const RTVec3D& unitX) { return v - unitX * dot(v, unitX); }

/// The vector of greatest length, the first of several; one is longer when more than rounding says
/// so.
RTVec3D longestOf(const std::vector<RTVec3D>& vectors) {
  RTVec3D longest;
  for (const RTVec3D& v : vectors)
    if (v.length() > longest.length() * (1 + kRelative)) longest = v;
  return longest;
}

class Drawing {
 public:
  Drawing(const JtkwPMIDimensionData::Lines& lines, const JtkwPMIDimensionData::Arrows& arrows) {
    for (const JtkwPMILine* line : lines) {
      if (!line || !isFinite(line->beginPoint()) || !isFinite(line->endPoint())) continue;
      lines_.push_back({line->beginPoint(), line->endPoint()});
      points_.insert(points_.end(), {line->beginPoint(), line->endPoint()});
    }
    for (const JtkwPMIArrow* arrow : arrows) {
      if (!arrow) continue;
      const std::array corners{arrow->headPoint(), arrow->baseLeftPoint(), arrow->baseRightPoint(),
                               arrow->baseMidPoint()};
      if (!std::ranges::all_of(corners, isFinite)) continue;
      arrows_.push_back({arrow->baseMidPoint(), arrow->headPoint()});
      points_.insert(points_.end(), corners.begin(), corners.end());
    }
    scale();
  }

  std::optional<PlaneAxes> linearPlane() const {
    if (!arrows_.empty()) {
      std::vector<RTVec3D> fromFirst;
      for (const Segment& arrow : arrows_) fromFirst.push_back(arrow.to - arrows_.front().to);
      if (const RTVec3D x = longestOf(fromFirst); isLength(x))
        return towardsFarthest(arrows_.front().to, x);
      for (const Segment& arrow : arrows_)
        if (const RTVec3D x = arrow.to - arrow.from; isLength(x))
          return towardsFarthest(arrow.to, x);
    }
    const Segment line = longestLine();
    return towardsFarthest(line.from, line.to - line.from);
  }

  std::optional<PlaneAxes> angularPlane() const {
    const Segment leg = longestLine();
    const RTVec3D x = leg.to - leg.from;
    if (!isLength(x)) return linearPlane();
    std::vector<RTVec3D> directions;
    for (const Segment& line : lines_) directions.push_back(line.to - line.from);
    if (const auto axes = towardsLongest(x, std::move(directions))) return axes;
    return towardsFarthest(leg.from, x);
  }

 private:
  void scale() {
    double greatest = 0;
    for (const RTVec3D& p : points_) greatest = std::max(greatest, greatestOf(p));
    if (greatest == 0) return;
    for (RTVec3D& p : points_) p = divided(p, greatest);
    for (auto* segments : {&lines_, &arrows_})
      for (Segment& s : *segments) s = {divided(s.from, greatest), divided(s.to, greatest)};
    for (const RTVec3D& p : points_) extent_ = std::max(extent_, (p - points_.front()).length());
    tolerance_ = std::max(kRelative * extent_, kRounding);
  }

  bool isLength(const RTVec3D& v) const { return v.length() > tolerance_; }

  /// The longest line, the first of several; a point where there is none.
  Segment longestLine() const {
    Segment longest;
    for (const Segment& line : lines_)
      if ((line.to - line.from).length() > (longest.to - longest.from).length() * (1 + kRelative))
        longest = line;
    return longest;
  }

  std::optional<PlaneAxes> towardsFarthest(const RTVec3D& base, const RTVec3D& x) const {
    std::vector<RTVec3D> offsets;
    for (const RTVec3D& p : points_) offsets.push_back(p - base);
    return towardsLongest(x, std::move(offsets));
  }

  /// Axes along x and towards that vector which leads farthest away from it.
  std::optional<PlaneAxes> towardsLongest(RTVec3D x, std::vector<RTVec3D> vectors) const {
    if (!isLength(x)) return std::nullopt;
    // A short x has a direction that is known badly, the more so far away from it.
    const double flat = std::max(tolerance_, kRounding * extent_ / x.normalize());
    for (RTVec3D& v : vectors) v = perpendicular(v, x);
    const RTVec3D y = longestOf(vectors);
    return y.length() > flat ? planeAxes(x, y) : std::nullopt;
  }

  std::vector<Segment> lines_;
  std::vector<Segment> arrows_;  // from the middle of the base to the head
  std::vector<RTVec3D> points_;
  double extent_ = 0;
  double tolerance_ = 0;  // what is not longer is no length
};

}  // namespace

std::optional<PlaneAxes> planeAxes(const RTVec3D& x, const RTVec3D& y) {
  const double xScale = greatestOf(x);
  const double yScale = greatestOf(y);
  if (!isFinite(x) || !isFinite(y) || xScale == 0 || yScale == 0) return std::nullopt;
  PlaneAxes axes{divided(x, xScale), divided(y, yScale)};
  axes.x.normalize();
  const double length = axes.y.normalize();
  axes.y = perpendicular(axes.y, axes.x);
  if (!(length > 0) || !(axes.y.normalize() > kRelative)) return std::nullopt;
  axes.y = perpendicular(axes.y, axes.x);  // what the first time left is great for a small angle
  axes.y.normalize();
  return axes;
}

std::optional<PlaneAxes> linearDimensionPlane(const JtkwPMIDimensionData::Lines& lines,
                                              const JtkwPMIDimensionData::Arrows& arrows) {
  return Drawing(lines, arrows).linearPlane();
}

std::optional<PlaneAxes> angularDimensionPlane(const JtkwPMIDimensionData::Lines& lines,
                                               const JtkwPMIDimensionData::Arrows& arrows) {
  return Drawing(lines, arrows).angularPlane();
}

}  // namespace jtw
