#include "codec/packet/Arithmetic.h"

#include <algorithm>
#include <bit>

namespace jt::codec {

namespace {

/// Low and high end of the current interval and the code inside it.
class Registers {
 public:
  explicit Registers(WordBits& bits) : bits_(bits), code_(bits.takeOrZeros(16)) {}

  /// The code scaled to 0 .. total - 1.
  std::uint32_t position(std::uint32_t total) const noexcept {
    const std::uint32_t range = high_ - low_ + 1;
    const std::uint64_t scaled = std::uint64_t{code_ - low_ + 1} * total - 1;
    // A total of 16 bits keeps the product in 32, where division is faster.
    if (total <= 0xffff) return static_cast<std::uint32_t>(scaled) / range;
    return static_cast<std::uint32_t>(scaled / range);
  }

  /// Narrows to the interval of a symbol and shifts out settled bits. False if it collapsed.
  bool narrow(std::uint32_t from, std::uint32_t to, std::uint32_t total) noexcept {
    const std::uint64_t range = high_ - low_ + 1;
    high_ = low_ + static_cast<std::uint32_t>(range * to / total) - 1;
    low_ = low_ + static_cast<std::uint32_t>(range * from / total);
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

/// Any tables.
void run(WordBits bits, std::span<const SymbolTable> tables, std::size_t symbolCount,
         OutOfBand& outOfBand, std::span<std::int32_t> out) {
  Registers registers(bits);
  std::size_t current = 0;
  std::size_t produced = 0;
  for (std::size_t i = 0; i < symbolCount; ++i) {
    const SymbolTable& table = tables[current];
    const std::size_t index = table.find(registers.position(table.total()));
    const ContextEntry& entry = table.entry(index);
    if (!registers.narrow(table.from(index), table.to(index), table.total()))
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
  for (const ContextTable& table : tables) prepared.emplace_back(table, symbolCount);
  run(bits, prepared, symbolCount, outOfBand, out);
}

ArithmeticStream::ArithmeticStream(WordBits bits, const ContextTable& table, OutOfBand outOfBand,
                                   std::span<std::int32_t> out)
    : text_(bits.rest()),
      entryAt_(table.total),
      outOfBand_(std::move(outOfBand)),
      offset_(bits.offset()),
      out_(out) {
  const TotalDivider divider(table.total);
  entries_.reserve(table.entries.size());
  std::uint32_t from = 0;
  for (const ContextEntry& entry : table.entries) {
    const std::uint32_t to = from + entry.occurrences;
    std::fill(entryAt_.begin() + from, entryAt_.begin() + to,
              static_cast<std::uint16_t>(entries_.size()));
    entries_.push_back({{divider, from}, {divider, to}, entry.value, entry.escape});
    from = to;
  }
  const auto usual = std::ranges::max_element(table.entries, {}, &ContextEntry::occurrences);
  const std::uint32_t others = table.total - usual->occurrences;
  isUniform_ = others * 16 <= table.total;
  code_ = {text_.data(),
           (text_.size() - WordBits::kRestPadding) * 8,
           entries_.data(),
           entryAt_.data(),
           table.total,
           &entries_[static_cast<std::size_t>(usual - table.entries.begin())],
           others * 100 <= table.total && !usual->escape};
  state_.distance = code_.peek(0, 16);
  state_.at = std::min<std::size_t>(16, code_.end);
}

/// The next bits, zeros past the end. @pre width is 0..32
inline std::uint32_t ArithmeticStream::Code::peek(std::size_t at, unsigned width) const noexcept {
  std::uint64_t eight;
  std::memcpy(&eight, text + at / 8, sizeof eight);
  eight = inFileOrder(eight, true) << (at % 8);
  return static_cast<std::uint32_t>((eight >> 32) >> (32 - width));
}

inline const ArithmeticStream::Entry& ArithmeticStream::Code::next(State& s) const noexcept {
  const std::uint32_t position = ((s.distance + 1) * total - 1) / s.width;
  const Entry& entry = entries[entryAt[position]];
  const std::uint32_t from = entry.from.of(s.width);
  const std::uint32_t to = entry.to.of(s.width);
  const std::uint32_t low = s.low + from;
  const std::uint32_t width = to - from;
  const unsigned shift = renormalizationShift(low, width);
  s.distance = (s.distance - from) << shift | peek(s.at, shift);
  s.at = std::min(s.at + shift, end);
  s.width = width << shift;
  s.low = (low << shift) & 0x7fff;
  return entry;
}

/// Narrows the interval to a part of it if the code is inside and that settles no bit.
inline bool ArithmeticStream::Code::narrow(State& s, std::uint32_t from,
                                           std::uint32_t width) noexcept {
  const std::uint32_t low = s.low + from;
  const std::uint32_t distance = s.distance - from;
  // Same as renormalizationShift() == 0: the ends differ in their top bits and do not straddle the
  // middle.
  const std::uint32_t high = low + width - 1;
  const std::uint32_t open = (low ^ high) & ~((low & ~high) << 1);
  if (distance >= width || (open & 0x8000) == 0) return false;
  s = {s.at, distance, low, width};
  return true;
}

/// Fast path: takes the most frequent symbol if it comes next and settles no bit. Needs neither a
/// division nor the table.
inline bool ArithmeticStream::Code::isUsual(State& s) const noexcept {
  const std::uint32_t from = usual->from.of(s.width);
  return narrow(s, from, usual->to.of(s.width) - from);
}

/// The same for a whole row of it. Each interval lies in the one before it: a code in the last one
/// is in all of them.
inline bool ArithmeticStream::Code::isRowOfUsual(State& s) const noexcept {
  std::uint32_t width = s.width;
  std::uint32_t from = usual->from.of(width);
  const std::uint32_t behind = width - usual->to.of(width);
  // What a step cuts off shrinks with the width: where the last one cuts off as much, all do.
  const std::uint32_t last = width - (kRow - 1) * (from + behind);
  if (usual->from.of(last) == from && last - usual->to.of(last) == behind)
    return narrow(s, kRow * from, last - from - behind);
  from = 0;
  for (std::size_t i = 0; i < kRow; ++i) {
    const std::uint32_t more = usual->from.of(width);
    width = usual->to.of(width) - more;
    from += more;
  }
  return narrow(s, from, width);
}

template <std::size_t K, bool areUniform>
void ArithmeticStream::run(const std::array<ArithmeticStream*, K>& streams, std::size_t count) {
  // Local copies: the compiler cannot rule out that stores to `out` alias the streams.
  std::array<State, K> states;
  std::array<Code, K> codes;
  std::array<std::int32_t*, K> out;
  for (std::size_t k = 0; k < K; ++k) {
    states[k] = streams[k]->state_;
    codes[k] = streams[k]->code_;
    out[k] = streams[k]->out_.data();
  }
  const auto step = [&](std::size_t k, std::size_t i) {
    const Entry& entry =
        areUniform && codes[k].isUsual(states[k]) ? *codes[k].usual : codes[k].next(states[k]);
    out[k][i] = entry.value;
    if (entry.escape)
      out[k][i] = streams[k]->outOfBand_.next(streams[k]->offset_ + states[k].at / 8);
  };
  std::size_t done = 0;
  for (; areUniform && done + kRow <= count; done += kRow)
    for (std::size_t k = 0; k < K; ++k) {
      if (codes[k].hasRows && codes[k].isRowOfUsual(states[k])) {
        std::fill_n(out[k] + done, kRow, codes[k].usual->value);
      } else {
        for (std::size_t i = done; i < done + kRow; ++i) step(k, i);
      }
    }
  for (std::size_t i = done; i < count; ++i) [&]<std::size_t... k>(std::index_sequence<k...>) {
      (step(k, i), ...);
    }
  (std::make_index_sequence<K>());
  for (std::size_t k = 0; k < K; ++k) {
    streams[k]->state_ = states[k];
    streams[k]->out_ = streams[k]->out_.subspan(count);
  }
}

namespace {

template <bool areUniform>
void decodeAll(std::span<ArithmeticStream* const> streams) {
  std::vector<ArithmeticStream*> open;
  for (ArithmeticStream* stream : streams)
    if (stream->isUniform() == areUniform && stream->left() > 0) open.push_back(stream);
  while (!open.empty()) {
    std::ranges::sort(open, std::ranges::greater(), &ArithmeticStream::left);
    const std::size_t together = std::min<std::size_t>(open.size(), 4);
    const std::size_t count = open[together - 1]->left();
    if (together == 4) {
      ArithmeticStream::run<4, areUniform>({open[0], open[1], open[2], open[3]}, count);
    } else if (together == 3) {
      ArithmeticStream::run<3, areUniform>({open[0], open[1], open[2]}, count);
    } else if (together == 2) {
      ArithmeticStream::run<2, areUniform>({open[0], open[1]}, count);
    } else {
      ArithmeticStream::run<1, areUniform>({open[0]}, count);
    }
    std::erase_if(open, [](const ArithmeticStream* stream) { return stream->left() == 0; });
  }
}

}  // namespace

void decodeTogether(std::span<ArithmeticStream* const> streams) {
  decodeAll<true>(streams);
  decodeAll<false>(streams);
}

}  // namespace jt::codec
