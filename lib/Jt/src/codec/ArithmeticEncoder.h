#pragma once

// Arithmetic code as decodeArithmetic() reads it, over one context table.

#include <optional>
#include <span>

#include "Bits.h"
#include "Contexts.h"

namespace jt::codec {

/// A table for values, and what does not get into it.
struct ArithmeticPlan {
  ContextTable table;
  std::vector<std::int32_t> symbols;    ///< index of the entry of each value
  std::vector<std::int32_t> outOfBand;  ///< the values of the escapes
  std::uint64_t bits = 0;               ///< estimate for code text, table and out-of-band values
};

/// Nothing when arithmetic code does not pay.
std::optional<ArithmeticPlan> planArithmetic(PacketKind kind, std::span<const std::int32_t> values);

/// Length and words of the code text, then the table.
void writeArithmetic(PacketKind kind, const ArithmeticPlan& plan, Bytes& out, bool bigEndian);

}  // namespace jt::codec
