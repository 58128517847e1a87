#pragma once

// Bit streams of the integer packets.

#include <algorithm>
#include <bit>
#include <utility>

#include "base/Bytes.h"

namespace jt::codec {

/// The low `width` bits as a two's complement number; 0 for a width of 0. @pre width <= 32
inline std::int32_t signExtended(std::uint32_t bits, unsigned width) noexcept {
  if (width == 0) return 0;
  const unsigned unused = 32 - width;
  return static_cast<std::int32_t>(bits << unused) >> unused;
}

/// Bits of a two's complement field that holds the value; none for 0.
inline unsigned signedWidth(std::int32_t value) noexcept {
  if (value == 0) return 0;
  const auto magnitude = static_cast<std::uint32_t>(value < 0 ? ~value : value);
  return static_cast<unsigned>(std::bit_width(magnitude)) + 1;
}

/// Bits of code text: 32-bit words in file order, each from its most significant bit down.
class WordBits {
 public:
  /// @param words whole words @param bits bits that count, at most what the words hold
  WordBits(std::span<const std::byte> words, std::size_t bits, bool bigEndian, std::size_t offset)
      : at_(words.data()),
        end_(words.data() + words.size()),
        bigEndian_(bigEndian),
        bits_(bits),
        left_(bits),
        offset_(offset) {}

  std::size_t left() const noexcept { return left_; }
  /// Byte near the current bit, for messages.
  std::size_t offset() const noexcept { return offset_ + (bits_ - left_) / 8; }

  /// The next bits as a number. Throws JtFormatError "truncated" past the end. @pre width <= 32
  std::uint32_t take(unsigned width) {
    if (width > left_) fail("truncated", "the code text ends inside a value", offset());
    left_ -= width;
    return takeOrZeros(width);
  }
  /// Bytes of the bits that are left, in order, the last one filled with zeros, and kRestPadding
  /// zero bytes. @pre no bit has been taken
  std::vector<std::byte> rest() const;
  static constexpr std::size_t kRestPadding = 8;
  std::int32_t takeSigned(unsigned width) { return signExtended(take(width), width); }

  /// The same with zeros past the end.
  std::uint32_t takeOrZeros(unsigned width) noexcept {
    if (width == 0) return 0;
    if (have_ < width) refill();
    const auto value = static_cast<std::uint32_t>(window_ >> (64 - width));
    window_ <<= width;
    have_ = have_ > width ? have_ - width : 0;
    return value;
  }

 private:
  /// Brings the window to 32 bits at least while there are words; behind them it is zeros.
  void refill() noexcept {
    if (at_ == end_) {
      have_ = 64;
      return;
    }
    std::uint32_t word;
    std::memcpy(&word, at_, sizeof word);
    at_ += sizeof word;
    window_ |= std::uint64_t{inFileOrder(word, bigEndian_)} << (32 - have_);
    have_ += 32;
  }

  const std::byte* at_;
  const std::byte* end_;
  bool bigEndian_;
  std::size_t bits_;
  std::size_t left_;
  std::size_t offset_;
  std::uint64_t window_ = 0;  // the next bits, from the top
  unsigned have_ = 0;         // bits in the window
};

/// Bits of probability contexts: bytes, each from its most significant bit down.
class ByteBits {
 public:
  explicit ByteBits(ByteCursor& cursor) : cursor_(cursor) {}
  /// @pre width <= 32
  std::uint32_t take(unsigned width, const char* what) {
    std::uint64_t value = 0;
    for (unsigned need = width; need > 0;) {
      if (have_ == 0) {
        byte_ = cursor_.u8(what);
        have_ = 8;
      }
      const unsigned now = std::min(need, have_);
      value = value << now | ((byte_ >> (have_ - now)) & ((1U << now) - 1));
      have_ -= now;
      need -= now;
    }
    return static_cast<std::uint32_t>(value);
  }
  /// Bits that the input still has, those of the current byte included.
  std::uint64_t left() const noexcept { return std::uint64_t{cursor_.left()} * 8 + have_; }
  std::size_t offset() const noexcept { return cursor_.offset(); }

 private:
  ByteCursor& cursor_;
  unsigned byte_ = 0;
  unsigned have_ = 0;
};

/// Bits in whole words, the last one filled with zeros.
struct CodeText {
  std::vector<std::uint32_t> words;
  std::size_t bits = 0;

  /// Appends the words.
  void write(Bytes& out, bool bigEndian) const {
    const std::size_t at = out.size();
    out.resize(at + words.size() * 4);
    for (std::size_t i = 0; i < words.size(); ++i) {
      const std::uint32_t word = inFileOrder(words[i], bigEndian);
      std::memcpy(out.data() + at + 4 * i, &word, sizeof word);
    }
  }
};

/// Collects bits into 32-bit words, from the most significant bit down.
class WordBitWriter {
 public:
  /// @pre width <= 32
  void put(std::uint32_t value, unsigned width) {
    if (width == 0) return;
    if (width < 32) value &= (1U << width) - 1;
    bits_ += width;
    if (have_ + width >= 32) {
      const unsigned rest = have_ + width - 32;
      words_.push_back(static_cast<std::uint32_t>(std::uint64_t{pending_} << (width - rest)) |
                       static_cast<std::uint32_t>(std::uint64_t{value} >> rest));
      pending_ = rest == 0 ? 0 : value & ((1U << rest) - 1);
      have_ = rest;
    } else {
      pending_ = pending_ << width | value;
      have_ += width;
    }
  }
  std::size_t count() const noexcept { return bits_; }
  CodeText finish() && {
    if (have_ > 0) words_.push_back(pending_ << (32 - have_));
    return {std::move(words_), bits_};
  }

 private:
  std::vector<std::uint32_t> words_;
  std::uint32_t pending_ = 0;
  unsigned have_ = 0;
  std::size_t bits_ = 0;
};

}  // namespace jt::codec
