#include "file/container/DeflateBlocks.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "base/ByteOrder.h"

namespace jt::file {

namespace {

/// Bits of a stream, the lowest of a byte first; zeros behind its end.
class BitCursor {
 public:
  explicit BitCursor(std::span<const std::byte> bytes) : bytes_(bytes) {}

  std::size_t position() const noexcept { return position_; }
  bool isBeyondEnd() const noexcept { return position_ > 8 * bytes_.size(); }
  /// At least the next 57 bits.
  std::uint64_t peek() const noexcept {
    const std::size_t at = position_ / 8;
    std::uint64_t word = 0;
    if (at + sizeof word <= bytes_.size())
      word = loadScalar<std::uint64_t>(bytes_.data() + at, false);
    else
      for (std::size_t i = at; i < bytes_.size(); ++i)
        word |= std::to_integer<std::uint64_t>(bytes_[i]) << (8 * (i - at));
    return word >> (position_ % 8);
  }
  void skip(std::size_t count) noexcept { position_ += count; }
  unsigned take(unsigned count) noexcept {
    const std::uint64_t value = peek() & ((std::uint64_t{1} << count) - 1);
    position_ += count;
    return static_cast<unsigned>(value);
  }
  void alignToByte() noexcept { position_ = (position_ + 7) / 8 * 8; }

 private:
  std::span<const std::byte> bytes_;
  std::size_t position_ = 0;
};

/// A prefix code: what its user wants to know of a symbol, by the bits that a stream goes on with.
class CodeTable {
 public:
  /// @param lengths of the codes of all symbols, 0 for those that do not occur, at most 15
  /// @param entryOf (symbol, length of its code) to what the table is to hold, not 0
  /// @return false where there is no such code
  template <class EntryOf>
  bool build(std::span<const std::uint8_t> lengths, EntryOf entryOf) {
    std::array<std::size_t, 16> counts{};
    for (const std::uint8_t length : lengths) ++counts[length];
    counts[0] = 0;
    std::array<std::size_t, 16> next{};
    unsigned longest = 0;
    for (unsigned length = 1; length < next.size(); ++length) {
      next[length] = 2 * (next[length - 1] + counts[length - 1]);
      if (counts[length] > 0) longest = length;
      if (next[length] + counts[length] > std::size_t{1} << length) return false;
    }
    entries_.assign(std::size_t{1} << longest, 0);
    for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
      const unsigned length = lengths[symbol];
      if (length == 0) continue;
      const std::uint8_t entry = entryOf(symbol, length);
      for (std::size_t i = reversed(next[length]++, length); i < entries_.size();
           i += std::size_t{1} << length)
        entries_[i] = entry;
    }
    return true;
  }
  /// 0 for bits that are no code.
  std::uint8_t operator[](std::uint64_t bits) const noexcept {
    return entries_[static_cast<std::size_t>(bits & (entries_.size() - 1))];
  }

 private:
  static std::size_t reversed(std::size_t code, unsigned length) noexcept {
    std::size_t result = 0;
    for (unsigned i = 0; i < length; ++i, code >>= 1U) result = 2 * result + (code & 1U);
    return result;
  }

  std::vector<std::uint8_t> entries_{0};
};

/// The compressed blocks of RFC 1951, stepped through.
class BlockWalk {
 public:
  explicit BlockWalk(std::span<const std::byte> stream) : bits_(stream) {}

  std::optional<LastBlock> run() {
    for (;;) {
      const std::size_t header = bits_.position();
      const bool isLast = bits_.take(1) == 1;
      if (!skipBlock(bits_.take(2)) || bits_.isBeyondEnd()) return {};
      if (isLast) return LastBlock{header, bits_.position()};
    }
  }

 private:
  // Entries of the two tables: how many bits to skip, those of the value behind the code included;
  // of the first one also what the code is.
  static constexpr unsigned kSkip = 0x3f;
  static constexpr unsigned kMatch = 0x40;
  static constexpr unsigned kEnd = 0x80;
  static constexpr std::size_t kEndOfBlock = 256;
  static constexpr std::size_t kMostLengths = 286;
  static constexpr std::size_t kMostDistances = 30;

  bool skipBlock(unsigned type) {
    switch (type) {
      case 0: {
        bits_.alignToByte();
        const unsigned size = bits_.take(16);
        bits_.skip(16 + 8 * std::size_t{size});
        return true;
      }
      case 1: {
        std::array<std::uint8_t, 288 + kMostDistances> lengths{};
        std::fill_n(lengths.begin(), 288, std::uint8_t{8});
        std::fill(lengths.begin() + 144, lengths.begin() + 256, std::uint8_t{9});
        std::fill(lengths.begin() + 256, lengths.begin() + 280, std::uint8_t{7});
        std::fill(lengths.begin() + 288, lengths.end(), std::uint8_t{5});
        return build(lengths, 288) && skipSymbols();
      }
      case 2:
        return readCodes() && skipSymbols();
      default:
        return false;
    }
  }

  /// The codes in front of a block that brings its own.
  bool readCodes() {
    static constexpr std::array<std::uint8_t, 19> kOrder = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                                            11, 4,  12, 3, 13, 2, 14, 1, 15};
    const std::size_t symbols = 257 + bits_.take(5);
    const std::size_t distances = 1 + bits_.take(5);
    const std::size_t given = 4 + bits_.take(4);
    std::array<std::uint8_t, 19> small{};
    for (std::size_t i = 0; i < given; ++i)
      small[kOrder[i]] = static_cast<std::uint8_t>(bits_.take(3));
    const auto entryOf = [](std::size_t symbol, unsigned length) {
      return static_cast<std::uint8_t>(length << 5U | symbol);
    };
    if (symbols > kMostLengths || !codeLengths_.build(small, entryOf)) return false;
    std::array<std::uint8_t, 286 + 32> lengths{};
    for (std::size_t at = 0; at < symbols + distances;) {
      const unsigned entry = codeLengths_[bits_.peek()];
      if (entry == 0) return false;
      bits_.skip(entry >> 5U);
      const unsigned symbol = entry & 0x1fU;
      if (symbol < 16) {
        lengths[at++] = static_cast<std::uint8_t>(symbol);
        continue;
      }
      if (symbol == 16 && at == 0) return false;
      const std::uint8_t length = symbol == 16 ? lengths[at - 1] : std::uint8_t{0};
      const std::size_t count = symbol == 16   ? 3 + bits_.take(2)
                                : symbol == 17 ? 3 + bits_.take(3)
                                               : 11 + bits_.take(7);
      if (count > symbols + distances - at) return false;
      std::fill_n(lengths.begin() + static_cast<std::ptrdiff_t>(at), count, length);
      at += count;
    }
    return build(std::span(lengths).first(symbols + distances), symbols);
  }

  bool build(std::span<const std::uint8_t> lengths, std::size_t symbols) {
    const auto ofSymbol = [](std::size_t symbol, unsigned length) {
      if (symbol < kEndOfBlock) return static_cast<std::uint8_t>(length);
      if (symbol == kEndOfBlock) return static_cast<std::uint8_t>(kEnd | length);
      // Lengths of matches: four codes to each number of bits, but for the first eight and the
      // last.
      const std::size_t i = symbol - kEndOfBlock - 1;
      const std::size_t behind = i < 8 || i >= 28 ? 0 : i / 4 - 1;
      return static_cast<std::uint8_t>(kMatch | (length + behind));
    };
    const auto ofDistance = [](std::size_t symbol, unsigned length) {
      const std::size_t behind = symbol < 4 ? 0 : symbol / 2 - 1;
      return static_cast<std::uint8_t>(length + behind);
    };
    return symbols_.build(lengths.first(symbols), ofSymbol) &&
           distances_.build(lengths.subspan(symbols), ofDistance);
  }

  bool skipSymbols() {
    // A code and what is behind it take 20 bits at most, a distance 28: one look is enough for
    // both.
    while (!bits_.isBeyondEnd()) {
      const std::uint64_t ahead = bits_.peek();
      const unsigned entry = symbols_[ahead];
      if (entry == 0) return false;
      const unsigned skipped = entry & kSkip;
      bits_.skip(skipped);
      if ((entry & kEnd) != 0) return true;
      if ((entry & kMatch) == 0) continue;
      const unsigned distance = distances_[ahead >> skipped];
      if (distance == 0) return false;
      bits_.skip(distance);
    }
    return false;
  }

  BitCursor bits_;
  CodeTable codeLengths_;
  CodeTable symbols_;
  CodeTable distances_;
};

}  // namespace

std::optional<LastBlock> findLastBlock(std::span<const std::byte> stream) {
  return BlockWalk(stream).run();
}

}  // namespace jt::file
