#pragma once

// Fields whose width changes in steps of two bits: the bitlength codec of Mk.1 packets.

#include <span>

#include "codec/packet/Bits.h"

namespace jt::codec {

/// Encodes values for the bitlength codec of Mk.1, close to the fewest bits possible.
CodeText steppedWidths(std::span<const std::int32_t> values);

}  // namespace jt::codec
