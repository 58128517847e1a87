#pragma once

// Arithmetic code with 16-bit registers, as all generations have it.

#include <array>
#include <bit>
#include <span>
#include <vector>

#include "codec/packet/Bits.h"
#include "codec/packet/Contexts.h"

namespace jt::codec {

/// Out-of-band values, taken one by one.
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

/// Decodes `symbolCount` symbols over the tables into `out`. Each gives one value; escapes outside
/// the first table give none. Safe on untrusted bytes: throws JtFormatError unless the symbols give
/// exactly out.size() values.
void decodeArithmetic(WordBits bits, std::span<const ContextTable> tables, std::size_t symbolCount,
                      OutOfBand& outOfBand, std::span<std::int32_t> out);

/// Bits by which an interval of the 16-bit registers is shifted after a symbol: one for each time
/// that it lies in one half of the range, or straddles the middle within the inner half.
/// @param low its low end; only the lower 15 bits matter @param width 1 .. 2^16
inline unsigned renormalizationShift(std::uint64_t low, std::uint32_t width) noexcept {
  const auto most = static_cast<unsigned>(16 - std::bit_width(width - 1));
  const std::uint64_t end = ((low << most) & 0x7fff) + (std::uint64_t{width} << most);
  return most - (end > 0x10000 ? 1 : 0);
}

/// Divides by the total of a table with a multiplication, which is faster. Exact: numerators n are
/// at most 2^16 * total, so n * total < 2^46 and n * factor < 2^63.
class TotalDivider {
 public:
  static constexpr std::uint32_t kTotalLimit = 1U << 15;

  /// @pre 0 < total < kTotalLimit
  explicit TotalDivider(std::uint32_t total) : factor_((std::uint64_t{1} << kShift) / total + 1) {}
  /// @pre numerator is at most 2^16 * total
  std::uint32_t operator()(std::uint32_t numerator) const noexcept {
    return static_cast<std::uint32_t>((numerator * factor_) >> kShift);
  }

  /// A share of the total, ready to be scaled to an interval.
  class Share {
   public:
    Share(const TotalDivider& divider, std::uint32_t share) : factor_(share * divider.factor_) {}
    /// width * share / total. @pre width is at most 2^16
    std::uint32_t of(std::uint32_t width) const noexcept {
      return static_cast<std::uint32_t>((width * factor_) >> kShift);
    }

   private:
    std::uint64_t factor_;
  };

 private:
  static constexpr unsigned kShift = 46;
  std::uint64_t factor_;
};

/// A decoder of code text over one table with a total below 2^15, which covers all that writers
/// make. Each symbol gives one value.
///
/// A symbol depends on the one before it, so several streams interleaved in one loop take little
/// longer than one: see decodeTogether().
///
/// The state is the low end and the width of the interval, and the distance of the code from the
/// low end. Rounding keeps the code inside the interval whatever the bits are.
class ArithmeticStream {
 public:
  static bool canDecode(const ContextTable& table) noexcept {
    return table.total < TotalDivider::kTotalLimit && table.entries.size() <= 0x10000;
  }
  /// Bytes that a stream holds until it is decoded.
  static std::uint64_t memoryFor(const WordBits& bits, const ContextTable& table) noexcept {
    return bits.left() / 8 + table.total * sizeof(std::uint16_t) +
           table.entries.size() * sizeof(Entry);
  }

  /// @param out where the values go; must outlive the stream @pre canDecode(table)
  ArithmeticStream(WordBits bits, const ContextTable& table, OutOfBand outOfBand,
                   std::span<std::int32_t> out);

  std::size_t left() const noexcept { return out_.size(); }
  /// True when nearly all symbols are the same one.
  bool isUniform() const noexcept { return isUniform_; }
  /// Decodes the next `count` values of each of K streams. Throws JtFormatError when a stream has
  /// more escapes than out-of-band values. @pre count <= left() of each
  /// @tparam areUniform looks for rows of the most frequent symbol: faster when it is nearly always
  /// the one, slower when it is not
  template <std::size_t K, bool areUniform>
  static void run(const std::array<ArithmeticStream*, K>& streams, std::size_t count);

 private:
  static constexpr std::uint32_t kRow = 16;
  struct Entry {
    TotalDivider::Share from;
    TotalDivider::Share to;
    std::int32_t value;
    bool escape;
  };
  struct State {
    std::size_t at = 0;  // bit
    std::uint32_t distance = 0;
    std::uint32_t low = 0;
    std::uint32_t width = 0x10000;
  };
  /// The constant part of a stream.
  struct Code {
    const std::byte* text = nullptr;
    std::size_t end = 0;  // bits
    const Entry* entries = nullptr;
    const std::uint16_t* entryAt = nullptr;
    std::uint32_t total = 0;
    const Entry* usual = nullptr;  // the most frequent one
    bool hasRows = false;          // of it

    std::uint32_t peek(std::size_t at, unsigned width) const noexcept;
    const Entry& next(State& state) const noexcept;
    bool isUsual(State& state) const noexcept;
    bool isRowOfUsual(State& state) const noexcept;
    static bool narrow(State& state, std::uint32_t from, std::uint32_t width) noexcept;
  };

  std::vector<std::byte> text_;  // with zeros behind it
  std::vector<Entry> entries_;
  std::vector<std::uint16_t> entryAt_;  // by position
  OutOfBand outOfBand_;
  std::size_t offset_;
  std::span<std::int32_t> out_;  // values still to decode
  State state_;
  Code code_;
  bool isUniform_;
};

/// Decodes streams to their ends.
void decodeTogether(std::span<ArithmeticStream* const> streams);

}  // namespace jt::codec
