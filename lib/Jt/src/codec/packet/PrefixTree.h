#pragma once

// Prefix-tree (Huffman) code text of 8.x packets.

#include <array>
#include <span>

#include "codec/packet/Arithmetic.h"

namespace jt::codec {

/// Decodes code text over one tree a context table, symbols and values as in decodeArithmetic. How
/// ties between equal weights fall is tried out: the decoding that uses up code text and
/// out-of-band values counts. Throws JtFormatError.
void decodePrefixTree(WordBits bits, std::span<const ContextTable> tables, std::size_t symbolCount,
                      const std::vector<std::int32_t>& outOfBand, std::span<std::int32_t> out);

}  // namespace jt::codec
