#pragma once

// Splits triangles into patches that every reader traverses alike.

#include "codec/surface/SurfaceEncoder.h"

namespace jt::codec {

/// Encodes triangles as many small surfaces. Each has at most as many vertices as the window of the
/// walk and no split, so that no variant of the walk can matter; one triangle always is such a
/// surface.
/// @param corners position of each corner, equal ones welded @param groups,records as
/// encodeSurface()
EncodedSurface encodePatches(std::span<const std::uint32_t> corners,
                             std::span<const std::int32_t> groups,
                             std::span<const std::uint32_t> records, Generation generation);

}  // namespace jt::codec
