#pragma once

// Arithmetic code with 16-bit registers, as all generations have it.

#include <span>
#include <vector>

#include "Bits.h"
#include "Contexts.h"

namespace jt::codec {

/// Values that did not fit a context table, taken one by one.
class OutOfBand {
 public:
  explicit OutOfBand(std::vector<std::int32_t> values) : values_(std::move(values)) {}
  std::int32_t next(std::size_t offset) {
    if (at_ == values_.size()) fail("bad_packet", "more escapes than out-of-band values", offset);
    return values_[at_++];
  }
  bool allTaken() const noexcept { return at_ == values_.size(); }
  const std::vector<std::int32_t>& all() const noexcept { return values_; }

 private:
  std::vector<std::int32_t> values_;
  std::size_t at_ = 0;
};

/// Decodes `symbolCount` symbols over the tables into `out`, one value for each but escapes outside
/// the first table, which stand for nothing. Safe on untrusted bytes: throws JtFormatError when the
/// symbols do not give just out.size() values.
void decodeArithmetic(WordBits bits, std::span<const ContextTable> tables, std::size_t symbolCount,
                      OutOfBand& outOfBand, std::span<std::int32_t> out);

}  // namespace jt::codec
