#pragma once

#include <optional>

#include "JtkwPMIDimensionData.h"

namespace jtw {

/// Two perpendicular directions of length 1.
struct PlaneAxes {
  RTVec3D x;
  RTVec3D y;
};

/// Axes along x and towards y; nothing when one is zero or not finite or they are parallel,
/// whatever their lengths.
std::optional<PlaneAxes> planeAxes(const RTVec3D& x, const RTVec3D& y);

/// The plane of a linear dimension, JtkwPMIDimensionData::calculateDimensionPlane().
std::optional<PlaneAxes> linearDimensionPlane(const JtkwPMIDimensionData::Lines& lines,
                                              const JtkwPMIDimensionData::Arrows& arrows);
/// The plane of an angular dimension, JtkwPMIDimensionData::calculateAngularDimensionPlane().
std::optional<PlaneAxes> angularDimensionPlane(const JtkwPMIDimensionData::Lines& lines,
                                               const JtkwPMIDimensionData::Arrows& arrows);

}  // namespace jtw
