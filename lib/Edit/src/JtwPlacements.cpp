#include "JtwPlacements.h"

#include <cmath>
#include <numbers>

#include "JtwEditError.h"

namespace jtw {
namespace {

/// Throws EditError "singular" when there is none.
RTTran3D inversePlace(const Objects& objects, std::size_t index) {
  const auto inverse = objects.node(index).absLoc().tryInverse();
  if (!inverse)
    failRefused(objects.document(), "singular",
                "object " + objectText(objects.node(index)) +
                    " is placed by a matrix that has no inverse: nothing can be seen from it");
  return *inverse;
}

bool isRigid(const RTTran3D& placement) {
  constexpr double kSlack = 1e-5;
  const RTVec3D x = placement.xAxis();
  const RTVec3D y = placement.yAxis();
  const RTVec3D z = placement.zAxis();
  const RTVec3D difference = cross(x, y) - z;  // none for a right-handed frame
  return placement.isAffine() && std::abs(dot(x, x) - 1) < kSlack &&
         std::abs(dot(y, y) - 1) < kSlack && std::abs(dot(x, y)) < kSlack &&
         std::sqrt(dot(difference, difference)) < kSlack;
}

}  // namespace

RTTran3D placementFrom(const Objects& objects, std::size_t from, std::size_t to) {
  const RTTran3D toFrom = inversePlace(objects, from);
  inversePlace(objects, to);  // refused as well
  return toFrom * objects.node(to).absLoc();
}

std::optional<RTVec3D> rotationOf(const RTTran3D& placement) {
  if (!isRigid(placement)) return {};
  constexpr double kDegrees = 180 / std::numbers::pi;
  constexpr double kPole = 1e-6;  // seen along z, the x axis has no direction there
  const auto m = [&](std::size_t row, std::size_t column) { return placement(row, column); };
  const double cosine = std::hypot(m(0, 0), m(1, 0));
  const double y = std::atan2(-m(2, 0), cosine);
  const bool isPole = cosine < kPole;
  const double x = isPole ? std::atan2(-m(1, 2), m(1, 1)) : std::atan2(m(2, 1), m(2, 2));
  const double z = isPole ? 0 : std::atan2(m(1, 0), m(0, 0));
  return RTVec3D(x * kDegrees, y * kDegrees, z * kDegrees);
}

}  // namespace jtw
