#pragma once

// Fields whose width changes in steps of two bits: the bitlength codec of Mk.1 packets.

#include <span>

#include "codec/packet/Bits.h"

namespace jt::codec {

/// Values as the reader of Mk.1 packets takes them, in about as few bits as there are.
CodeText steppedWidths(std::span<const std::int32_t> values);

}  // namespace jt::codec
