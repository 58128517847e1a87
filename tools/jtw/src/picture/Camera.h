#pragma once

#include <array>
#include <limits>
#include <string_view>

namespace tool {

using Vector = std::array<double, 3>;

double dot(const Vector& a, const Vector& b);
Vector cross(const Vector& a, const Vector& b);
/// The vector with length 1; unchanged when it has no length.
Vector unit(const Vector& v);

/// Looks at a scene from far away, without perspective. Up is +z, the front is seen along +y.
class Camera {
 public:
  /// "iso", "front", "back", "top", "bottom", "left" or "right". Throws Failure "usage" for others.
  explicit Camera(std::string_view view);

  /// Coordinates in the picture's plane: to the right, up, towards the eye.
  Vector inView(const Vector& p) const { return {dot(p, right_), dot(p, up_), dot(p, toEye_)}; }
  /// Makes room for a point, given in view coordinates. Points that are no numbers are left out.
  void include(const Vector& inView);
  bool seesNothing() const noexcept { return low_[0] > high_[0]; }
  /// Fits what was included into a picture, with a margin.
  void fit(double width, double height);
  /// Pixels for a unit of length.
  double scale() const noexcept { return scale_; }
  /// Pixels from the left and the top, and the depth: greater is nearer.
  Vector onScreen(const Vector& inView) const {
    return {centreX_ + (inView[0] - middle_[0]) * scale_,
            centreY_ - (inView[1] - middle_[1]) * scale_, inView[2] - middle_[2]};
  }

 private:
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Vector right_{};
  Vector up_{};
  Vector toEye_{};
  Vector low_{kInfinity, kInfinity, kInfinity};
  Vector high_{-kInfinity, -kInfinity, -kInfinity};
  Vector middle_{};
  double scale_ = 1;
  double centreX_ = 0;
  double centreY_ = 0;
};

}  // namespace tool
