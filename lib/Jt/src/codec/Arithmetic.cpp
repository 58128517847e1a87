#include "Arithmetic.h"

#include <algorithm>
#include <bit>

namespace jt::codec {

namespace {

/// Division by an unchanging total. Exact for what `Registers` divides while the total is below
/// 2^15: numerators n <= 2^16 * total, so n * total < 2^46 and n * reciprocal < 2^63.
class Reciprocal {
 public:
  static constexpr std::uint32_t kTotalLimit = 1U << 15;
  explicit Reciprocal(std::uint32_t total) : factor_((std::uint64_t{1} << kShift) / total + 1) {}
  std::uint32_t divide(std::uint64_t numerator) const noexcept {
    return static_cast<std::uint32_t>((numerator * factor_) >> kShift);
  }

 private:
  static constexpr unsigned kShift = 46;
  std::uint64_t factor_;
};

class PlainDivision {
 public:
  explicit PlainDivision(std::uint32_t total) : total_(total) {}
  std::uint32_t divide(std::uint64_t numerator) const noexcept {
    return static_cast<std::uint32_t>(numerator / total_);
  }

 private:
  std::uint64_t total_;
};

/// Low and high end of the current interval and the code inside it.
class Registers {
 public:
  explicit Registers(WordBits& bits) : bits_(bits), code_(bits.takeOrZeros(16)) {}

  /// Where in 0 .. total-1 the code stands.
  std::uint32_t position(std::uint32_t total) const noexcept {
    const std::uint32_t range = high_ - low_ + 1;
    const std::uint64_t scaled = std::uint64_t{code_ - low_ + 1} * total - 1;
    // A total of 16 bits keeps the product in 32, where division is faster.
    if (total <= 0xffff) return static_cast<std::uint32_t>(scaled) / range;
    return static_cast<std::uint32_t>(scaled / range);
  }

  /// Takes the interval of a symbol, then shifts out what is settled. False when it collapsed.
  template <class Division>
  bool narrow(std::uint32_t from, std::uint32_t to, const Division& byTotal) noexcept {
    const std::uint64_t range = high_ - low_ + 1;
    high_ = low_ + byTotal.divide(range * to) - 1;
    low_ = low_ + byTotal.divide(range * from);
    if (low_ > high_ || code_ < low_ || code_ > high_) return false;
    // Bits in which both ends agree.
    const auto settled = static_cast<unsigned>(std::countl_zero((low_ ^ high_) << 16 | 0x8000U));
    shift(settled);
    // Behind the top bit low has ones where high has zeros: the ends straddle the middle.
    const auto straddling = static_cast<unsigned>(std::countl_one((low_ & ~high_) << 17));
    if (straddling > 0) {
      shift(straddling);
      low_ &= 0x7fff;
      high_ |= 0x8000;
      code_ ^= 0x8000;
    }
    return true;
  }

 private:
  void shift(unsigned count) noexcept {
    low_ = (low_ << count) & 0xffff;
    high_ = ((high_ << count) | ((1U << count) - 1)) & 0xffff;
    code_ = ((code_ << count) | bits_.takeOrZeros(count)) & 0xffff;
  }

  WordBits& bits_;
  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0xffff;
  std::uint32_t code_;
};

/// A context table laid out for decoding.
class SymbolTable {
 public:
  /// @param symbolCount symbols that will be looked up; decides whether a direct table pays
  SymbolTable(const ContextTable& table, std::size_t symbolCount)
      : entries_(table.entries), total_(table.total), starts_(table.entries.size() + 1) {
    for (std::size_t i = 0; i < entries_.size(); ++i)
      starts_[i + 1] = starts_[i] + entries_[i].occurrences;
    if (total_ > 0xffff || symbolCount < total_ / 8) return;
    entryAt_.resize(total_);
    for (std::size_t i = 0; i < entries_.size(); ++i)
      std::fill(entryAt_.begin() + starts_[i], entryAt_.begin() + starts_[i + 1],
                static_cast<std::uint16_t>(i));
  }

  std::uint32_t total() const noexcept { return total_; }
  /// Index of the entry at a position. @pre position < total()
  std::size_t find(std::uint32_t position) const noexcept {
    if (!entryAt_.empty()) return entryAt_[position];
    return static_cast<std::size_t>(std::ranges::upper_bound(starts_, position) - starts_.begin()) -
           1;
  }
  const ContextEntry& entry(std::size_t index) const noexcept { return entries_[index]; }
  std::uint32_t from(std::size_t index) const noexcept { return starts_[index]; }
  std::uint32_t to(std::size_t index) const noexcept { return starts_[index + 1]; }

 private:
  std::span<const ContextEntry> entries_;
  std::uint32_t total_;
  std::vector<std::uint32_t> starts_;
  std::vector<std::uint16_t> entryAt_;
};

template <class Division>
void run(WordBits bits, std::span<const SymbolTable> tables, std::size_t symbolCount,
         OutOfBand& outOfBand, std::span<std::int32_t> out) {
  std::vector<Division> divisions;
  for (const SymbolTable& table : tables) divisions.emplace_back(table.total());
  Registers registers(bits);
  std::size_t current = 0;
  std::size_t produced = 0;
  for (std::size_t i = 0; i < symbolCount; ++i) {
    const SymbolTable& table = tables[current];
    const std::uint32_t position = registers.position(table.total());
    if (position >= table.total())
      fail("bad_packet", "arithmetic code outside its interval", bits.offset());
    const std::size_t index = table.find(position);
    const ContextEntry& entry = table.entry(index);
    if (!registers.narrow(table.from(index), table.to(index), divisions[current]))
      fail("bad_packet", "arithmetic code outside its interval", bits.offset());
    if (!entry.escape || current == 0) {
      if (produced == out.size()) fail("bad_packet", "more symbols than values", bits.offset());
      out[produced++] = entry.escape ? outOfBand.next(bits.offset()) : entry.value;
    }
    current = entry.next;
  }
  if (produced != out.size())
    fail("bad_packet",
         "expected " + std::to_string(out.size()) + " values, found " + std::to_string(produced),
         bits.offset());
}

}  // namespace

void decodeArithmetic(WordBits bits, std::span<const ContextTable> tables, std::size_t symbolCount,
                      OutOfBand& outOfBand, std::span<std::int32_t> out) {
  std::vector<SymbolTable> prepared;
  bool small = true;
  for (const ContextTable& table : tables) {
    prepared.emplace_back(table, symbolCount);
    small = small && table.total < Reciprocal::kTotalLimit;
  }
  if (small) {
    run<Reciprocal>(bits, prepared, symbolCount, outOfBand, out);
  } else {
    run<PlainDivision>(bits, prepared, symbolCount, outOfBand, out);
  }
}

}  // namespace jt::codec
