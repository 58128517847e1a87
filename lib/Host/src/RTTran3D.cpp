#include "RTTran3D.h"

#include <algorithm>
#include <numbers>
#include <utility>

namespace {

/// Below this part of the largest possible determinant (or pivot) a matrix counts as singular: well
/// above rounding, well below any transform that a file in single precision can hold on purpose.
constexpr double kSingularPart = 1e-13;

/// Cosine and sine of an angle in degrees, exact for the quarter turns.
std::pair<double, double> cosSin(double degrees) {
  const double turn = std::fmod(degrees, 360.0);
  if (turn == 0.0) return {1.0, 0.0};
  if (turn == 90.0 || turn == -270.0) return {0.0, 1.0};
  if (turn == 180.0 || turn == -180.0) return {-1.0, 0.0};
  if (turn == 270.0 || turn == -90.0) return {0.0, -1.0};
  const double radians = turn * std::numbers::pi / 180.0;
  return {std::cos(radians), std::sin(radians)};
}

bool allFinite(std::span<const double, 16> values) {
  return std::all_of(values.begin(), values.end(), [](double v) { return std::isfinite(v); });
}

/// By cofactors: the rotation part of a rigid transform comes out as its transpose, without drift.
std::optional<RTTran3D> invertAffine(const RTTran3D& t) {
  const RTVec3D x = t.xAxis();
  const RTVec3D y = t.yAxis();
  const RTVec3D z = t.zAxis();
  const RTVec3D yz = cross(y, z);
  const double determinant = dot(x, yz);
  const double volume = x.length() * y.length() * z.length();
  if (!(std::abs(determinant) > kSingularPart * volume)) return std::nullopt;

  const double scale = 1.0 / determinant;
  const RTVec3D rows[3] = {yz * scale, cross(z, x) * scale, cross(x, y) * scale};
  RTTran3D inverse;
  for (std::size_t r = 0; r < 3; ++r) {
    inverse(r, 0) = rows[r].x;
    inverse(r, 1) = rows[r].y;
    inverse(r, 2) = rows[r].z;
    inverse(r, 3) = -dot(rows[r], t.getTranslation());
  }
  return allFinite(inverse.values()) ? std::optional(inverse) : std::nullopt;
}

/// Gauss and Jordan with row pivots; the rows are brought to one scale first.
std::optional<RTTran3D> invertGeneral(RTTran3D left) {
  RTTran3D right;
  for (std::size_t r = 0; r < 4; ++r) {
    double largest = 0.0;
    for (std::size_t c = 0; c < 4; ++c) largest = std::max(largest, std::abs(left(r, c)));
    if (largest == 0.0) return std::nullopt;
    for (std::size_t c = 0; c < 4; ++c) left(r, c) /= largest;
    right(r, r) = 1.0 / largest;
  }
  for (std::size_t column = 0; column < 4; ++column) {
    std::size_t pivot = column;
    for (std::size_t r = column + 1; r < 4; ++r) {
      if (std::abs(left(r, column)) > std::abs(left(pivot, column))) pivot = r;
    }
    if (!(std::abs(left(pivot, column)) > kSingularPart)) return std::nullopt;
    for (std::size_t c = 0; c < 4; ++c) {
      std::swap(left(pivot, c), left(column, c));
      std::swap(right(pivot, c), right(column, c));
    }
    const double scale = 1.0 / left(column, column);
    for (std::size_t c = 0; c < 4; ++c) {
      left(column, c) *= scale;
      right(column, c) *= scale;
    }
    for (std::size_t r = 0; r < 4; ++r) {
      const double factor = r == column ? 0.0 : left(r, column);
      for (std::size_t c = 0; c < 4; ++c) {
        left(r, c) -= factor * left(column, c);
        right(r, c) -= factor * right(column, c);
      }
    }
  }
  return allFinite(right.values()) ? std::optional(right) : std::nullopt;
}

}  // namespace

RTTran3D::RTTran3D(std::span<const double, 16> rowByRow) {
  std::copy(rowByRow.begin(), rowByRow.end(), m_.begin());
}

RTTran3D::RTTran3D(const RTVec3D& xAxis, const RTVec3D& yAxis, const RTVec3D& zAxis,
                   const RTVec3D& origin)
    : m_{xAxis.x, yAxis.x, zAxis.x, origin.x, xAxis.y, yAxis.y, zAxis.y, origin.y,
         xAxis.z, yAxis.z, zAxis.z, origin.z, 0,       0,       0,       1} {}

RTTran3D RTTran3D::fromPlacement(double x, double y, double z, double rx, double ry, double rz) {
  const auto [cx, sx] = cosSin(rx);
  const auto [cy, sy] = cosSin(ry);
  const auto [cz, sz] = cosSin(rz);
  return RTTran3D(RTVec3D(cz * cy, sz * cy, -sy),
                  RTVec3D(cz * sy * sx - sz * cx, sz * sy * sx + cz * cx, cy * sx),
                  RTVec3D(cz * sy * cx + sz * sx, sz * sy * cx - cz * sx, cy * cx),
                  RTVec3D(x, y, z));
}

RTTran3D RTTran3D::fromTranslation(const RTVec3D& move) {
  RTTran3D t;
  t.setTranslation(move);
  return t;
}

void RTTran3D::setTranslation(const RTVec3D& move) {
  m_[3] = move.x;
  m_[7] = move.y;
  m_[11] = move.z;
}

RTVec3D RTTran3D::transformPoint(const RTVec3D& p) const {
  const RTVec3D image = transformDirection(p) + getTranslation();
  if (isAffine()) return image;
  return image * (1.0 / (m_[12] * p.x + m_[13] * p.y + m_[14] * p.z + m_[15]));
}

RTVec3D RTTran3D::transformDirection(const RTVec3D& d) const {
  return xAxis() * d.x + yAxis() * d.y + zAxis() * d.z;
}

RTTran3D RTTran3D::transposed() const {
  RTTran3D t;
  for (std::size_t r = 0; r < 4; ++r) {
    for (std::size_t c = 0; c < 4; ++c) t(c, r) = (*this)(r, c);
  }
  return t;
}

std::optional<RTTran3D> RTTran3D::tryInverse() const {
  if (!allFinite(m_)) return std::nullopt;
  return isAffine() ? invertAffine(*this) : invertGeneral(*this);
}

bool RTTran3D::isAffine() const {
  return m_[12] == 0.0 && m_[13] == 0.0 && m_[14] == 0.0 && m_[15] == 1.0;
}

RTTran3D& RTTran3D::operator*=(const RTTran3D& right) {
  RTTran3D product;
  for (std::size_t r = 0; r < 4; ++r) {
    for (std::size_t c = 0; c < 4; ++c) {
      double sum = 0.0;
      for (std::size_t k = 0; k < 4; ++k) sum += (*this)(r, k) * right(k, c);
      product(r, c) = sum;
    }
  }
  return *this = product;
}
