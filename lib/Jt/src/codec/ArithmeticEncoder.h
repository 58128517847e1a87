#pragma once

// Arithmetic code as decodeArithmetic() reads it, over one context table.

#include <optional>
#include <span>

#include "Bits.h"
#include "Contexts.h"

namespace jt::codec {

/// Values with how often each occurs, ascending.
class Histogram {
 public:
  struct Entry {
    std::int32_t value = 0;
    std::uint32_t count = 0;
  };

  /// Takes time linear in the values, but for a sort where they are many and far apart.
  explicit Histogram(std::span<const std::int32_t> values);
  /// Of what is left of the values above `base` when `shift` bits are cut off.
  Histogram shifted(std::int32_t base, unsigned shift) const;

  const std::vector<Entry>& entries() const noexcept { return entries_; }
  std::size_t total() const noexcept { return total_; }

 private:
  Histogram() = default;
  std::vector<Entry> entries_;
  std::size_t total_ = 0;
};

/// A table for values; those that it does not have go out of band.
struct ArithmeticPlan {
  ContextTable table;      ///< ascending; the entry of the escape, if there is one, comes last
  std::uint64_t bits = 0;  ///< estimate for code text, table and out-of-band values
};

/// Nothing when arithmetic code does not pay.
std::optional<ArithmeticPlan> planArithmetic(PacketKind kind, const Histogram& histogram);

/// Length and words of the code text of values, then the table.
/// @param outOfBand the values of the escapes are appended to it
void writeArithmetic(PacketKind kind, const ArithmeticPlan& plan,
                     std::span<const std::int32_t> values, Bytes& out, bool bigEndian,
                     std::vector<std::int32_t>& outOfBand);

}  // namespace jt::codec
