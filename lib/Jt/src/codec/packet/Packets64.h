#pragma once

// Packets of 64-bit integers, which 10.x uses for CAD tags. Same logic as Mk.3 packets; fields
// wider than 32 bits are stored low word first.

#include <cstdint>
#include <span>
#include <vector>

#include "codec/packet/Packets.h"

namespace jt::codec {

/// Reads a packet. Safe on untrusted bytes: throws JtFormatError with the offset; takes time and
/// memory linear in the input and in what the budget allows.
std::vector<std::int64_t> decodePacket64(ByteCursor& cursor, Budget& budget, OutOfBandForm form);

/// Appends a packet that every reader understands.
void encodePacket64(Bytes& out, bool bigEndian, std::span<const std::int64_t> values);

}  // namespace jt::codec
