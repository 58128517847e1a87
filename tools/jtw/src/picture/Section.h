#pragma once

#include <array>
#include <optional>
#include <span>
#include <vector>

#include "Vector.h"

namespace tool {

/// Half of the space: all points with dot(normal, p) <= offset.
struct HalfSpace {
  Vector normal;
  double offset;
  /// How far a point lies outside; at most 0 inside. In lengths of the normal.
  double outside(const Vector& p) const { return dot(normal, p) - offset; }
};

/// A plane that a scene is cut along, in the coordinates of the root and millimetres.
struct Section {
  Vector point;
  Vector normal;
  /// What lies on the eye's side is taken away; else what the normal points to. Where the eye looks
  /// along the plane, it is the latter.
  bool isTowardsEye = false;
};

/// A convex polygon, as much of it as lies in all half spaces.
/// @tparam Point  has a `place`, and `mix(a, b, t)` gives the point between two
template <class Point>
void clip(std::vector<Point>& polygon, std::span<const HalfSpace> spaces) {
  std::vector<Point> kept;
  for (const HalfSpace& space : spaces) {
    kept.clear();
    for (std::size_t i = 0; i < polygon.size(); ++i) {
      const Point& a = polygon[i];
      const Point& b = polygon[(i + 1) % polygon.size()];
      const double outA = space.outside(a.place);
      const double outB = space.outside(b.place);
      if (outA <= 0) kept.push_back(a);
      if ((outA <= 0) != (outB <= 0)) kept.push_back(mix(a, b, outA / (outA - outB)));
    }
    polygon.swap(kept);
  }
}

/// The same for a line; false when nothing is left of it.
inline bool clip(Vector& from, Vector& to, std::span<const HalfSpace> spaces) {
  for (const HalfSpace& space : spaces) {
    const double outFrom = space.outside(from);
    const double outTo = space.outside(to);
    if (outFrom > 0 && outTo > 0) return false;
    if (outFrom <= 0 && outTo <= 0) continue;
    const Vector cut = plus(from, minus(to, from), outFrom / (outFrom - outTo));
    (outFrom > 0 ? from : to) = cut;
  }
  return true;
}

}  // namespace tool
