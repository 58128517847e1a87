#pragma once

#include <cstddef>
#include <optional>

#include "JtwExport.h"
#include "JtwObjects.h"
#include "RTTran3D.h"
#include "RTVec3D.h"

namespace jtw {

/// Where an object lies, seen from another one: in millimetres, along the axes of that. It takes
/// coordinates in `to` to coordinates in `from`; its translation is the way from the one origin to
/// the other. Of an object in several places the first one counts.
/// @param from, to indices of objects of any kind
/// Throws EditError of the kind "refused", "singular", when one of them is placed by a matrix that
/// has no inverse.
JTW_API RTTran3D placementFrom(const Objects& objects, std::size_t from, std::size_t to);

/// The rotation of a placement in degrees about the fixed x axis, then the fixed y axis, then the
/// fixed z axis, as RTTran3D::fromPlacement() takes them; nothing when the placement scales,
/// mirrors or shears by more than single precision explains.
JTW_API std::optional<RTVec3D> rotationOf(const RTTran3D& placement);

}  // namespace jtw
