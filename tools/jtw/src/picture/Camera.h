#pragma once

#include <limits>
#include <optional>
#include <span>
#include <string_view>

#include "Vector.h"

namespace tool {

/// How a scene is looked at.
struct Viewpoint {
  Vector toEye{1, -1, 0.8};        ///< from what is seen to the eye; of any length but 0
  Vector up{0, 0, 1};              ///< need not be square to it
  std::optional<Vector> eye{};     ///< with perspective, the eye is here and nothing is fitted
  std::optional<Vector> target{};  ///< likewise: in the middle of the picture
  double perspective = 0;          ///< angle that the height of a picture covers, degrees; 0: none
};

/// The named views: the front is seen along +y, and +z is up.
std::span<const std::string_view> viewNames();
/// One of them; nothing for another name.
std::optional<Viewpoint> namedView(std::string_view name);

/// Takes points of a scene to a picture, from far away or with perspective.
class Camera {
 public:
  explicit Camera(const Viewpoint& view);

  /// Coordinates in the picture's plane: to the right, up, towards the eye.
  Vector inView(const Vector& p) const { return {dot(p, right_), dot(p, up_), dot(p, toEye_)}; }
  /// Makes room for a point, given in view coordinates. Points that are no numbers are left out.
  void include(const Vector& inView);
  /// With perspective, once all points are included: makes room for one of them where it is seen.
  /// @param aspect width of the picture by its height
  void reach(const Vector& inView, double aspect);
  bool seesNothing() const noexcept { return low_[0] > high_[0]; }
  /// Fits what was included into a picture, with a margin.
  /// @param below part of the height, at the bottom, that is kept free
  void fit(double width, double height, double below = 0);
  /// Pixels for a unit of length; with perspective, of what is in the middle.
  double scale() const noexcept { return scale_; }
  /// Without perspective: another scale, about the middle.
  void setScale(double scale) noexcept { scale_ = scale; }

  bool hasPerspective() const noexcept { return focal_ > 0; }
  /// What is nearer to the eye than this view coordinate cannot be shown.
  double nearLimit() const noexcept { return nearLimit_; }
  /// Pixels from the left and the top, and the depth: greater is nearer. It is linear on a plane in
  /// the picture; with perspective it is one by the distance.
  Vector onScreen(const Vector& inView) const {
    const double x = inView[0] - middle_[0];
    const double y = inView[1] - middle_[1];
    const double z = inView[2] - middle_[2];
    if (!hasPerspective()) return {centreX_ + x * scale_, centreY_ - y * scale_, z};
    const double depth = 1 / (distance_ - z);
    return {centreX_ + x * focal_ * depth, centreY_ - y * focal_ * depth, depth};
  }
  /// The point moved towards the eye by that many pixels, so that lines on a surface are not
  /// covered by it.
  Vector raised(const Vector& inView, double pixels) const;

 private:
  static constexpr double kInfinity = std::numeric_limits<double>::infinity();
  Viewpoint view_;
  Vector right_{};
  Vector up_{};
  Vector toEye_{};
  Vector low_{kInfinity, kInfinity, kInfinity};
  Vector high_{-kInfinity, -kInfinity, -kInfinity};
  Vector middle_{};
  double scale_ = 1;
  double centreX_ = 0;
  double centreY_ = 0;
  double reach_ = -kInfinity;  ///< how far in front of the middle the eye has to be
  double focal_ = 0;     ///< distance of the picture from the eye, in pixels; 0: no perspective
  double distance_ = 0;  ///< of the middle from the eye
  double nearLimit_ = kInfinity;
};

}  // namespace tool
