#pragma once

#include <cstddef>
#include <span>

#include "JtwExport.h"
#include "JtwObjects.h"

namespace jtw {

/// Leaves of a component's scene graph what some objects are, for files and pictures of these
/// alone: they stay whole, with everything below them. The objects above them stay with what they
/// carry themselves (placement, color, properties, frames, annotations), without their geometry and
/// without other objects below. An object stays in all of its places.
///
/// The listing and the wrappers know nothing of it: afterwards only the partition of the root may
/// be used. Linear in the nodes of the scene graph.
/// @param chosen indices of objects
JTW_API void isolate(const Objects& objects, std::span<const std::size_t> chosen);

}  // namespace jtw
