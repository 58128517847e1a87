#pragma once

#include <cstdint>

#include "IStream.h"

namespace host {

/// The position that a seek leads to. On failure `position` is unchanged.
/// @param end size of the stream
IStreamResult seekPosition(std::int64_t move, IStreamOrigin origin, std::uint64_t end,
                           std::uint64_t& position);

}  // namespace host
