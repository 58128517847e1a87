#include "Camera.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace tool {
namespace {

constexpr std::string_view kNames[] = {"iso", "front", "back", "top", "bottom", "left", "right"};
constexpr Viewpoint kViews[] = {
    {.toEye = {1, -1, 0.8}},
    {.toEye = {0, -1, 0}},
    {.toEye = {0, 1, 0}},
    {.toEye = {0, 0, 1}, .up = {0, 1, 0}},
    {.toEye = {0, 0, -1}, .up = {0, 1, 0}},
    {.toEye = {-1, 0, 0}},
    {.toEye = {1, 0, 0}},
};
static_assert(std::size(kNames) == std::size(kViews));

constexpr double kFilled = 0.92;

double tangentOf(double degrees) { return std::tan(degrees * M_PI / 360); }

}  // namespace

std::span<const std::string_view> viewNames() { return kNames; }

std::optional<Viewpoint> namedView(std::string_view name) {
  const auto* found = std::ranges::find(kNames, name);
  if (found == std::end(kNames)) return std::nullopt;
  return kViews[found - std::begin(kNames)];
}

Camera::Camera(const Viewpoint& view) : view_(view), toEye_(unit(view.toEye)) {
  Vector right = cross(unit(view.up), toEye_);
  // Looking along what is up: as the top view has it.
  constexpr double kParallel = 1e-9;
  if (dot(right, right) < kParallel) right = cross({0, 1, 0}, toEye_);
  if (dot(right, right) < kParallel) right = cross({0, 0, 1}, toEye_);
  right_ = unit(right);
  up_ = cross(toEye_, right_);
}

void Camera::include(const Vector& inView) {
  if (!isFinite(inView)) return;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    low_[axis] = std::min(low_[axis], inView[axis]);
    high_[axis] = std::max(high_[axis], inView[axis]);
  }
}

void Camera::reach(const Vector& inView, double aspect) {
  if (!isFinite(inView)) return;
  const auto middle = [this](std::size_t i) { return low_[i] / 2 + high_[i] / 2; };
  const double half =
      std::max(std::abs(inView[0] - middle(0)) / aspect, std::abs(inView[1] - middle(1)));
  const double away = half / tangentOf(view_.perspective) / kFilled;
  reach_ = std::max(reach_, away + inView[2] - middle(2));
}

void Camera::fit(double width, double height, double below) {
  centreX_ = width / 2;
  centreY_ = (height - below) / 2;
  height -= below;
  if (seesNothing()) return;
  for (std::size_t axis = 0; axis < 3; ++axis) middle_[axis] = low_[axis] / 2 + high_[axis] / 2;
  const double across = high_[0] - low_[0];
  const double along = high_[1] - low_[1];
  if (view_.perspective > 0) {
    const double tangent = tangentOf(view_.perspective);
    focal_ = height / 2 / tangent;
    if (view_.eye) {
      const Vector eye = inView(*view_.eye);
      const Vector target = inView(view_.target.value_or(*view_.eye));
      middle_ = {eye[0], eye[1], target[2]};
      distance_ = eye[2] - target[2];
    } else {
      // Where nothing was reached for, all of the box is seen when its nearest side is.
      const double half = std::max(along, across * height / width) / 2;
      distance_ =
          std::isfinite(reach_) ? reach_ : half / tangent / kFilled + (high_[2] - low_[2]) / 2;
    }
    if (!(distance_ > 0)) distance_ = 1;  // a single point
    constexpr double kNearest = 1e-4;
    const double extent = std::max({across, along, high_[2] - low_[2], distance_});
    nearLimit_ = middle_[2] + distance_ - kNearest * extent;
    scale_ = focal_ / distance_;
    return;
  }
  scale_ = kFilled * std::min(width / across, height / along);
  if (!std::isfinite(scale_)) scale_ = 1;  // a single point
}

Vector Camera::raised(const Vector& inView, double pixels) const {
  if (!hasPerspective()) return {inView[0], inView[1], inView[2] + pixels / scale_};
  // Along the ray to the eye, so that it stays where it is in the picture.
  const double away = distance_ - (inView[2] - middle_[2]);
  const double share = std::min(0.5, pixels / focal_);
  return {inView[0] + (middle_[0] - inView[0]) * share,
          inView[1] + (middle_[1] - inView[1]) * share, inView[2] + away * share};
}

}  // namespace tool
