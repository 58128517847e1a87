#include "Camera.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "Failure.h"

namespace tool {
namespace {

struct View {
  std::string_view name;
  Vector toEye;
  Vector up;
};

constexpr View kViews[] = {
    {"iso", {1, -1, 0.8}, {0, 0, 1}},  {"front", {0, -1, 0}, {0, 0, 1}},
    {"back", {0, 1, 0}, {0, 0, 1}},    {"top", {0, 0, 1}, {0, 1, 0}},
    {"bottom", {0, 0, -1}, {0, 1, 0}}, {"left", {-1, 0, 0}, {0, 0, 1}},
    {"right", {1, 0, 0}, {0, 0, 1}},
};

}  // namespace

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

Vector cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector unit(const Vector& v) {
  const double length = std::sqrt(dot(v, v));
  return length > 0 ? Vector{v[0] / length, v[1] / length, v[2] / length} : v;
}

Camera::Camera(std::string_view name) {
  const auto* view = std::find_if(std::begin(kViews), std::end(kViews),
                                  [name](const View& known) { return known.name == name; });
  if (view == std::end(kViews)) {
    std::string known;
    for (const View& one : kViews) known += (known.empty() ? "" : ", ") + std::string(one.name);
    failUsage("--view is '" + std::string(name) + "'; there are " + known);
  }
  toEye_ = unit(view->toEye);
  right_ = unit(cross(view->up, toEye_));
  up_ = cross(toEye_, right_);
}

void Camera::include(const Vector& inView) {
  if (!std::isfinite(inView[0] + inView[1] + inView[2])) return;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    low_[axis] = std::min(low_[axis], inView[axis]);
    high_[axis] = std::max(high_[axis], inView[axis]);
  }
}

void Camera::fit(double width, double height) {
  centreX_ = width / 2;
  centreY_ = height / 2;
  if (seesNothing()) return;
  constexpr double kFilled = 0.92;
  for (std::size_t axis = 0; axis < 3; ++axis) middle_[axis] = low_[axis] / 2 + high_[axis] / 2;
  const double across = high_[0] - low_[0];
  const double along = high_[1] - low_[1];
  scale_ = kFilled * std::min(width / across, height / along);
  if (!std::isfinite(scale_)) scale_ = 1;  // a single point
}

}  // namespace tool
