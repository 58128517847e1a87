#pragma once

// How far apart the numbers of two files may be.

#include <algorithm>

namespace jt::compare_detail {

/// Limits for the values of one pair of nodes. All of them grow with the tolerance that was asked
/// for, so that what is the same within one tolerance is the same within every greater one.
struct Tolerance {
  /// Numbers without a unit never differ by more: an angle of a bit more than a degree, five steps
  /// of an eight-bit color. A tolerance of metres is no reason to take red for green.
  static constexpr double kMostPlain = 0.02;

  /// Everything equal.
  Tolerance() = default;
  /// @param millimetres in one unit of length of the node
  /// @param reach how far geometry lies from the node's origin, in that unit
  Tolerance(double tolerance, double millimetres, double reach)
      : length(tolerance / millimetres),
        plain(std::min(tolerance, kMostPlain)),
        rotation(std::min(plain, length / std::max(1.0, reach))) {}

  bool isExact() const noexcept { return length == 0; }

  double length = 0;    ///< lengths, in the unit of the node
  double plain = 0;     ///< normals, colors, texture coordinates, factors
  double rotation = 0;  ///< entries of the linear part of a matrix: geometry moves by `length`
};

}  // namespace jt::compare_detail
