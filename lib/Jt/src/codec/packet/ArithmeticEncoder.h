#pragma once

// Arithmetic code as decodeArithmetic() reads it, over one context table.

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "codec/packet/Bits.h"
#include "codec/packet/Contexts.h"

namespace jt::codec {

/// Values with how often each occurs.
class Histogram {
 public:
  struct Entry {
    std::int32_t value = 0;
    std::uint32_t count = 0;
  };

  /// Of values that lie near each other, or of what is left of them above the least one when
  /// `shift` bits are cut off. Takes memory for everything from the least to the greatest.
  Histogram(std::span<const std::int32_t> values, std::int32_t least, std::int32_t most,
            unsigned shift);
  /// Of values that may be far apart, in no order; nothing when hardly any comes back.
  static std::optional<Histogram> ofScattered(std::span<const std::int32_t> values);
  /// Of what is left of the values above `base` when one more bit is cut off. @pre ascending
  void halve(std::int32_t base);

  const std::vector<Entry>& entries() const noexcept { return entries_; }
  std::size_t total() const noexcept { return total_; }

 private:
  Histogram() = default;
  std::vector<Entry> entries_;
  std::size_t total_ = 0;
};

/// What arithmetic code takes when values that occur less often than `leastCount` go out of band.
struct ArithmeticEstimate {
  std::uint64_t bits = UINT64_MAX;  ///< code text, table and out-of-band values
  std::uint32_t leastCount = 0;
};

/// @param width bits between the least and the greatest value
ArithmeticEstimate estimateArithmetic(PacketKind kind, const Histogram& histogram, unsigned width);

/// A table for values, scaled to what the registers can distinguish: ascending, the entry of the
/// escape, if there is one, comes last.
ContextTable tableOf(const Histogram& histogram, std::uint32_t leastCount);

/// The code text of values.
/// @param outOfBand the values of the escapes are appended to it
CodeText arithmeticText(const ContextTable& table, std::span<const std::int32_t> values,
                        std::vector<std::int32_t>& outOfBand);
/// Appends a table as readContexts() reads it.
void writeContext(PacketKind kind, const ContextTable& table, Bytes& out);

}  // namespace jt::codec
