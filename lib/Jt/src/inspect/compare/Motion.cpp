#include "inspect/compare/Motion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace jt::compare_detail {

namespace {

using Vector = std::array<double, 3>;
using Linear = std::array<Vector, 3>;  // for row vectors

Linear linearPart(const Matrix4& matrix) {
  Linear rows{};
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column) rows[row][column] = matrix[4 * row + column];
  return rows;
}

Vector cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

double length(const Vector& a) { return std::sqrt(dot(a, a)); }

double determinant(const Linear& m) { return dot(m[0], cross(m[1], m[2])); }

/// What follows `from` to make `to`. @pre `from` has an inverse
Linear between(const Linear& from, const Linear& to) {
  // Rows of the adjugate's transpose.
  const Linear cofactors{cross(from[1], from[2]), cross(from[2], from[0]), cross(from[0], from[1])};
  const double scale = 1 / determinant(from);
  Linear result{};
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column)
      for (std::size_t k = 0; k < 3; ++k)
        result[row][column] += scale * cofactors[k][row] * to[k][column];
  return result;
}

bool isRotation(const Linear& m) {
  constexpr double kMost = 1e-4;  // matrices are in single precision in most files
  for (std::size_t i = 0; i < 3; ++i)
    for (std::size_t j = i; j < 3; ++j)
      if (!(std::abs(dot(m[i], m[j]) - (i == j ? 1 : 0)) <= kMost)) return false;
  return determinant(m) > 0;
}

/// Twice the sine of the angle, times the axis.
Vector skewPart(const Linear& m) {
  return {m[1][2] - m[2][1], m[2][0] - m[0][2], m[0][1] - m[1][0]};
}

/// The axis of half a turn: the longest row of the rotation plus the identity.
Vector axisOfHalfTurn(const Linear& m) {
  Vector longest{};
  for (std::size_t i = 0; i < 3; ++i) {
    Vector row = m[i];
    row[i] += 1;
    if (length(row) > length(longest)) longest = row;
  }
  return longest;
}

}  // namespace

std::optional<PlacementChange> motionBetween(const Matrix4& from, const Matrix4& to,
                                             double millimetres) {
  for (const Matrix4* matrix : {&from, &to})
    if ((*matrix)[3] != 0 || (*matrix)[7] != 0 || (*matrix)[11] != 0 || (*matrix)[15] != 1)
      return {};
  const Linear before = linearPart(from);
  if (!(std::abs(determinant(before)) > 0)) return {};
  const Linear turn = between(before, linearPart(to));
  if (!isRotation(turn)) return {};

  PlacementChange change;
  for (std::size_t i = 0; i < 3; ++i)
    change.translation[i] = (to[12 + i] - from[12 + i]) * millimetres;
  constexpr double kStill = 1e-6;  // of a radian: what rounding of stored singles looks like
  const Vector skew = skewPart(turn);
  const double cosine = (turn[0][0] + turn[1][1] + turn[2][2] - 1) / 2;
  const double angle = std::atan2(length(skew) / 2, cosine);
  if (angle <= kStill) return change;
  change.degrees = angle * 180 / std::numbers::pi;
  const Vector axis = length(skew) > kStill ? skew : axisOfHalfTurn(turn);
  for (std::size_t i = 0; i < 3; ++i) change.axis[i] = axis[i] / length(axis);
  return change;
}

}  // namespace jt::compare_detail
