#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

#include "JtWireframe.h"

namespace jt {

namespace {

using Point = std::array<double, 3>;
using Weighted = std::array<double, 4>;  // x, y and z times the weight, the weight

Point minus(const Point& a, const Point& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }
double dot(const Point& a, const Point& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
double length(const Point& a) { return std::sqrt(dot(a, a)); }

bool isFinite(const Point& point) {
  return std::ranges::all_of(point, [](double value) { return std::isfinite(value); });
}

/// Degree that is still evaluated: what takes the square of it for each point.
constexpr int kHighestDegree = 32;

bool canBeEvaluated(const WireCurve& curve) {
  const std::size_t points = curve.points.size();
  const auto order = static_cast<std::size_t>(curve.degree) + 1;
  const std::vector<double>& knots = curve.knots;
  if (curve.degree < 1 || curve.degree > kHighestDegree || knots.size() != points + order)
    return false;
  if (!curve.weights.empty() &&
      (curve.weights.size() != points || !std::ranges::all_of(curve.weights, [](double weight) {
         return weight > 0 && std::isfinite(weight);
       })))
    return false;
  if (!std::ranges::all_of(knots, [](double knot) { return std::isfinite(knot); }) ||
      !std::ranges::is_sorted(knots) || knots.front() == knots.back())
    return false;
  // An inner knot that is repeated more often would tear the curve.
  for (std::size_t i = 1; i < points; ++i)
    if (!(knots[i] < knots[i + order - 1])) return false;
  return true;
}

double boxDiagonal(const std::vector<Point>& points) {
  Point low = points.front();
  Point high = points.front();
  for (const Point& point : points)
    for (std::size_t i = 0; i < 3; ++i) {
      low[i] = std::min(low[i], point[i]);
      high[i] = std::max(high[i], point[i]);
    }
  return length(minus(high, low));
}

/// Walks a curve span by span and splits where the polyline is too far away.
class Sampler {
 public:
  Sampler(const WireCurve& curve, const WireTolerance& tolerance)
      : curve_(curve),
        chord_(tolerance.chord > 0 ? tolerance.chord : boxDiagonal(curve.points) / 1000),
        cosine_(std::cos(tolerance.degrees * std::numbers::pi / 180)),
        most_(std::max<std::size_t>(65536, 16 * curve.points.size())) {}

  std::vector<Point> run() {
    const auto degree = static_cast<std::size_t>(curve_.degree);
    points_.push_back(curve_.points.front());
    for (std::size_t span = degree; span < curve_.points.size(); ++span) {
      const double from = curve_.knots[span];
      const double to = curve_.knots[span + 1];
      if (!(from < to)) continue;
      const std::size_t parts = std::max<std::size_t>(2, degree);
      Point last = at(span, from);
      for (std::size_t i = 1; i <= parts; ++i) {
        const auto parameter = [&](std::size_t part) {
          return from + (to - from) * static_cast<double>(part) / static_cast<double>(parts);
        };
        const Point next = at(span, i == parts ? to : parameter(i));
        split(span, parameter(i - 1), i == parts ? to : parameter(i), last, next, 0);
        points_.push_back(next);
        last = next;
      }
    }
    points_.back() = curve_.points.back();
    return std::move(points_);
  }

 private:
  Weighted control(std::size_t i) const {
    const double weight = curve_.weights.empty() ? 1 : curve_.weights[i];
    const Point& point = curve_.points[i];
    return {point[0] * weight, point[1] * weight, point[2] * weight, weight};
  }

  /// De Boor's recurrence. @param span index of the last knot that is not behind the parameter
  Point at(std::size_t span, double parameter) const {
    const auto degree = static_cast<std::size_t>(curve_.degree);
    std::array<Weighted, kHighestDegree + 1> work;
    for (std::size_t i = 0; i <= degree; ++i) work[i] = control(span - degree + i);
    for (std::size_t round = 1; round <= degree; ++round)
      for (std::size_t i = degree; i >= round; --i) {
        const double low = curve_.knots[span - degree + i];
        const double high = curve_.knots[span + 1 + i - round];
        const double share = (parameter - low) / (high - low);
        for (std::size_t k = 0; k < 4; ++k)
          work[i][k] = (1 - share) * work[i - 1][k] + share * work[i][k];
      }
    const Weighted& result = work[degree];
    return {result[0] / result[3], result[1] / result[3], result[2] / result[3]};
  }

  /// True when the curve between two points is near enough to their chord.
  bool isFlat(const Point& from, const Point& middle, const Point& to) const {
    const Point whole = minus(to, from);
    const Point first = minus(middle, from);
    const Point second = minus(to, middle);
    const double size = length(whole);
    const double share = size > 0 ? std::clamp(dot(first, whole) / (size * size), 0.0, 1.0) : 0;
    const Point foot{from[0] + share * whole[0], from[1] + share * whole[1],
                     from[2] + share * whole[2]};
    if (length(minus(middle, foot)) > chord_) return false;
    const double lengths = length(first) * length(second);
    // Corners and cusps cannot be smoothed: what is smaller than the tolerance is not turned.
    return size <= chord_ || dot(first, second) >= cosine_ * lengths;
  }

  /// Adds the points between two.
  void split(std::size_t span, double from, double to, const Point& start, const Point& end,
             int depth) {
    constexpr int kDeepest = 10;
    if (depth == kDeepest || points_.size() >= most_) return;
    const double parameter = (from + to) / 2;
    const Point middle = at(span, parameter);
    if (isFlat(start, middle, end)) return;
    split(span, from, parameter, start, middle, depth + 1);
    points_.push_back(middle);
    split(span, parameter, to, middle, end, depth + 1);
  }

  const WireCurve& curve_;
  double chord_;
  double cosine_;
  std::size_t most_;
  std::vector<Point> points_;
};

}  // namespace

WireCurve lineCurve(const Point& from, const Point& to) { return polylineCurve({from, to}); }

WireCurve polylineCurve(std::vector<Point> points) {
  WireCurve curve;
  const std::size_t spans = points.size() - 1;
  curve.knots = {0};
  for (std::size_t i = 0; i <= spans; ++i)
    curve.knots.push_back(static_cast<double>(i) / static_cast<double>(spans));
  curve.knots.push_back(1);
  curve.points = std::move(points);
  return curve;
}

WireCurve arcCurve(const Point& from, const Point& corner, const Point& to, double weight) {
  return {2, {from, corner, to}, {1, weight, 1}, {0, 0, 0, 1, 1, 1}, false};
}

std::vector<Point> polylineOf(const WireCurve& curve, const WireTolerance& tolerance) {
  if (curve.points.empty() || !std::ranges::all_of(curve.points, isFinite)) return {};
  if (curve.degree == 1 || !canBeEvaluated(curve)) return curve.points;
  std::vector<Point> points = Sampler(curve, tolerance).run();
  return std::ranges::all_of(points, isFinite) ? points : curve.points;
}

}  // namespace jt
