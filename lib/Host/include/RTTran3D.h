#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <span>

#include "HostExport.h"
#include "RTVec3D.h"

/// A 4x4 transform for COLUMN vectors: p' = M p. Row by row the translation is at places 4, 8 and
/// 12 (counted from 1) and the columns 0 to 2 are the images of the x, y and z axes. In `a * b` the
/// transform b acts first. Lengths are millimetres.
class HOST_API RTTran3D {
 public:
  static const RTTran3D unit;

  /// The identity.
  constexpr RTTran3D() = default;

  /// From 16 numbers, row by row.
  explicit RTTran3D(std::span<const double, 16> rowByRow);

  /// From the images of the three axes and of the origin.
  RTTran3D(const RTVec3D& xAxis, const RTVec3D& yAxis, const RTVec3D& zAxis, const RTVec3D& origin);

  /// A placement: rotated by rx degrees about the fixed x axis, then ry about the fixed y axis,
  /// then rz about the fixed z axis (M = T Rz Ry Rx), then moved by (x, y, z).
  static RTTran3D fromPlacement(double x, double y, double z, double rx, double ry, double rz);

  /// A pure translation.
  static RTTran3D fromTranslation(const RTVec3D& move);

  /// An element of the matrix, for column vectors. @pre row < 4, column < 4
  double operator()(std::size_t row, std::size_t column) const { return m_[row * 4 + column]; }
  double& operator()(std::size_t row, std::size_t column) { return m_[row * 4 + column]; }

  /// The 16 numbers, row by row; valid as long as the transform.
  std::span<const double, 16> values() const { return m_; }

  /// The translation, in millimetres where the host gives lengths.
  RTVec3D getTranslation() const { return {m_[3], m_[7], m_[11]}; }
  void setTranslation(const RTVec3D& move);

  /// Images of the axes, as stored: of unit length only for a rigid transform.
  RTVec3D xAxis() const { return {m_[0], m_[4], m_[8]}; }
  RTVec3D yAxis() const { return {m_[1], m_[5], m_[9]}; }
  RTVec3D zAxis() const { return {m_[2], m_[6], m_[10]}; }

  /// Image of a point. For a projective transform the result is divided by its fourth coordinate.
  RTVec3D transformPoint(const RTVec3D& point) const;

  /// Image of a direction: the translation plays no part.
  RTVec3D transformDirection(const RTVec3D& direction) const;

  /// With rows and columns exchanged.
  RTTran3D transposed() const;

  /// The inverse, for any matrix, affine or not; nothing when the matrix is singular or has a
  /// number that is not finite. "Singular" is judged by the shape of the matrix, not by its scale.
  std::optional<RTTran3D> tryInverse() const;

  /// The inverse, or the identity for a matrix that has none: use tryInverse() where that matters.
  RTTran3D inverse() const { return tryInverse().value_or(RTTran3D()); }

  /// True when the last row is 0 0 0 1.
  bool isAffine() const;

  /// Makes this the product: `right` applies first.
  RTTran3D& operator*=(const RTTran3D& right);
  friend RTTran3D operator*(RTTran3D left, const RTTran3D& right) { return left *= right; }

  /// Exact equality of all 16 numbers.
  friend bool operator==(const RTTran3D&, const RTTran3D&) = default;

 private:
  std::array<double, 16> m_{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

/// The identity.
inline constexpr RTTran3D RTTran3D::unit{};
