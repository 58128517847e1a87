#pragma once

#include <array>
#include <cmath>

#include "JtXform.h"

namespace tool {

using Vector = std::array<double, 3>;

inline double dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline Vector cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
/// The vector with length 1; unchanged when it has no length.
inline Vector unit(const Vector& v) {
  const double length = std::sqrt(dot(v, v));
  return length > 0 ? Vector{v[0] / length, v[1] / length, v[2] / length} : v;
}
/// a + factor * b
inline Vector plus(const Vector& a, const Vector& b, double factor = 1) {
  return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}
inline Vector minus(const Vector& a, const Vector& b) { return plus(a, b, -1); }
inline bool isFinite(const Vector& v) { return std::isfinite(v[0] + v[1] + v[2]); }
/// Image of a point under a matrix for row vectors.
inline Vector transformed(const std::array<float, 3>& point, const jt::Matrix4& m) {
  Vector result{m[12], m[13], m[14]};
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (std::size_t i = 0; i < 3; ++i)
      result[i] += static_cast<double>(point[axis]) * m[axis * 4 + i];
  return result;
}

}  // namespace tool
