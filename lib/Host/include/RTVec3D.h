#pragma once

#include <cmath>

/// A point or direction in space, in millimetres unless its user says otherwise.
struct RTVec3D {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;

  constexpr RTVec3D() = default;
  /// The vector of three coordinates.
  constexpr RTVec3D(double xx, double yy, double zz) : x(xx), y(yy), z(zz) {}

  /// The Euclidean length.
  double length() const { return std::sqrt(x * x + y * y + z * z); }

  /// Scales to length 1 and returns the length there was. A vector of length 0 stays as it is.
  double normalize() {
    const double was = length();
    if (was > 0.0) *this = RTVec3D(x / was, y / was, z / was);
    return was;
  }

  friend constexpr bool operator==(const RTVec3D&, const RTVec3D&) = default;
};

constexpr RTVec3D operator+(const RTVec3D& a, const RTVec3D& b) {
  return {a.x + b.x, a.y + b.y, a.z + b.z};
}
constexpr RTVec3D operator-(const RTVec3D& a, const RTVec3D& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}
constexpr RTVec3D operator*(const RTVec3D& v, double s) { return {v.x * s, v.y * s, v.z * s}; }
constexpr RTVec3D operator*(double s, const RTVec3D& v) { return v * s; }

constexpr double dot(const RTVec3D& a, const RTVec3D& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr RTVec3D cross(const RTVec3D& a, const RTVec3D& b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// The host's way to write the cross product.
constexpr RTVec3D operator&&(const RTVec3D& a, const RTVec3D& b) { return cross(a, b); }
