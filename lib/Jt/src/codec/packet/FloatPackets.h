#pragma once

// Packets of doubles, which 9.x uses for the curves of precise geometry. 10.x stores the bits of
// doubles in packets of 64-bit integers instead.

#include <span>
#include <vector>

#include "base/Bytes.h"

namespace jt::codec {

/// Reads a packet. Safe on untrusted bytes: throws JtFormatError with the offset; takes time and
/// memory linear in the input and in what the budget allows.
std::vector<double> decodeFloatPacket(ByteCursor& cursor, Budget& budget);

/// Appends a packet that every reader understands: the values as they are.
void encodeFloatPacket(Bytes& out, bool bigEndian, std::span<const double> values);

}  // namespace jt::codec
