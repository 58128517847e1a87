#include "ArithmeticEncoder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

namespace jt::codec {

namespace {

constexpr std::size_t kMostEntries = 4000;
constexpr std::uint32_t kMostTotal = 16383;  // 14 bits keep every interval wider than nothing

unsigned widthOf(std::uint32_t value) { return static_cast<unsigned>(std::bit_width(value)); }

/// Widths of the fields of a table's entries, and the least value.
struct Layout {
  unsigned symbol = 0;
  unsigned occurrences = 0;
  unsigned value = 0;
  std::int32_t min = 0;

  Layout(PacketKind kind, const ContextTable& table) {
    std::int64_t least = INT32_MAX;
    std::int64_t most = INT32_MIN;
    std::uint32_t count = 0;
    for (const ContextEntry& entry : table.entries) {
      count = std::max(count, entry.occurrences);
      if (entry.escape) continue;
      least = std::min<std::int64_t>(least, entry.value);
      most = std::max<std::int64_t>(most, entry.value);
    }
    symbol =
        kind == PacketKind::mk3 ? 1 : widthOf(static_cast<std::uint32_t>(table.entries.size() + 2));
    occurrences = widthOf(count);
    if (least > most) return;
    min = static_cast<std::int32_t>(least);
    value = widthOf(static_cast<std::uint32_t>(most - least));
  }
  std::uint64_t entryBits() const noexcept { return symbol + occurrences + value; }
};

/// Counts scaled so that they add up to what the registers can tell apart; none becomes 0.
void scale(ContextTable& table) {
  std::uint64_t total = 0;
  for (const ContextEntry& entry : table.entries) total += entry.occurrences;
  if (total > kMostTotal) {
    const std::uint64_t room = kMostTotal - table.entries.size();
    for (ContextEntry& entry : table.entries)
      entry.occurrences = 1 + static_cast<std::uint32_t>(entry.occurrences * room / total);
    total = 0;
    for (const ContextEntry& entry : table.entries) total += entry.occurrences;
  }
  table.total = static_cast<std::uint32_t>(total);
}

class Encoder {
 public:
  Encoder(WordBitWriter& bits, std::uint32_t total)
      : bits_(bits), factor_((std::uint64_t{1} << kShift) / total + 1) {}

  void put(std::uint32_t from, std::uint32_t to) {
    const std::uint32_t range = high_ - low_ + 1;
    high_ = low_ + dividedByTotal(range * to) - 1;
    low_ = low_ + dividedByTotal(range * from);
    // Bits in which both ends agree are settled.
    const auto settled = static_cast<unsigned>(std::countl_zero((low_ ^ high_) << 16 | 0x8000U));
    if (settled > 0) {
      emit(low_ >> (16 - settled), settled);
      shift(settled);
    }
    // Behind the top bit low has ones where high has zeros: which way they go is told later.
    const auto straddling = static_cast<unsigned>(std::countl_one((low_ & ~high_) << 17));
    if (straddling > 0) {
      pending_ += straddling;
      shift(straddling);
      low_ &= 0x7fff;
      high_ |= 0x8000;
    }
  }
  void finish() {
    ++pending_;
    emit((low_ >> 14) & 1, 1);
    while (bits_.count() < 16) bits_.put(0, 1);
  }

 private:
  static constexpr unsigned kShift = 46;

  /// Exact: numerators n are at most 2^16 * total and total < 2^15.
  std::uint32_t dividedByTotal(std::uint32_t numerator) const noexcept {
    return static_cast<std::uint32_t>((numerator * factor_) >> kShift);
  }
  void shift(unsigned count) noexcept {
    low_ = (low_ << count) & 0xffff;
    high_ = ((high_ << count) | ((1U << count) - 1)) & 0xffff;
  }
  /// Settled bits; those that waited go behind the first.
  void emit(std::uint32_t settled, unsigned count) {
    if (pending_ == 0) return bits_.put(settled, count);
    const std::uint32_t first = settled >> (count - 1) & 1;
    bits_.put(first, 1);
    for (; pending_ > 0; --pending_) bits_.put(first ^ 1, 1);
    bits_.put(settled, count - 1);
  }

  WordBitWriter& bits_;
  std::uint64_t factor_;
  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0xffff;
  std::size_t pending_ = 0;
};

/// Finds the entry of a value: by a table where values are near each other, else by search.
class EntryOf {
 public:
  /// @param entries ascending
  EntryOf(std::span<const ContextEntry> entries, std::size_t valueCount) : entries_(entries) {
    if (entries.empty()) return;
    const auto span = static_cast<std::uint32_t>(entries.back().value) - base();
    if (span >= std::max<std::size_t>(2 * valueCount, 4096)) return;
    byValue_.assign(std::size_t{span} + 1, kNone);
    for (std::uint32_t i = 0; i < entries.size(); ++i)
      byValue_[static_cast<std::uint32_t>(entries[i].value) - base()] = i;
  }
  /// Index of the entry, or the number of entries.
  std::size_t operator()(std::int32_t value) const {
    if (!byValue_.empty()) {
      const std::uint32_t at = static_cast<std::uint32_t>(value) - base();
      return at < byValue_.size() && byValue_[at] != kNone ? byValue_[at] : entries_.size();
    }
    const auto found = std::ranges::lower_bound(entries_, value, {}, &ContextEntry::value);
    return found != entries_.end() && found->value == value
               ? static_cast<std::size_t>(found - entries_.begin())
               : entries_.size();
  }

 private:
  static constexpr std::uint32_t kNone = 0xffffffffU;
  std::uint32_t base() const { return static_cast<std::uint32_t>(entries_.front().value); }

  std::span<const ContextEntry> entries_;
  std::vector<std::uint32_t> byValue_;
};

/// Bits into bytes, each from its most significant bit down.
class ByteBitWriter {
 public:
  explicit ByteBitWriter(Bytes& out) : out_(out) {}
  void put(std::uint32_t value, unsigned width) {
    while (width-- > 0) {
      if (used_ == 0) out_.push_back(std::byte{0});
      if ((value >> width & 1) != 0) out_.back() |= std::byte{0x80} >> used_;
      used_ = (used_ + 1) % 8;
    }
  }

 private:
  Bytes& out_;
  unsigned used_ = 0;
};

void writeTable(PacketKind kind, const ContextTable& table, Bytes& out) {
  const Layout layout(kind, table);
  ByteBitWriter bits(out);
  bits.put(static_cast<std::uint32_t>(table.entries.size()), 16);
  if (kind == PacketKind::mk2) bits.put(layout.symbol, 6);
  bits.put(layout.occurrences, 6);
  bits.put(layout.value, kind == PacketKind::mk2 ? 6 : 7);
  bits.put(static_cast<std::uint32_t>(layout.min), 32);
  std::uint32_t symbol = 2;  // stored with 2 added, so that the escape, -2, is 0
  for (const ContextEntry& entry : table.entries) {
    if (kind == PacketKind::mk2) {
      bits.put(entry.escape ? 0 : symbol++, layout.symbol);
    } else {
      bits.put(entry.escape ? 1 : 0, 1);
    }
    bits.put(entry.occurrences, layout.occurrences);
    bits.put(entry.escape
                 ? 0
                 : static_cast<std::uint32_t>(entry.value) - static_cast<std::uint32_t>(layout.min),
             layout.value);
  }
}

}  // namespace

Histogram::Histogram(std::span<const std::int32_t> values) : total_(values.size()) {
  if (values.empty()) return;
  const auto [least, most] = std::ranges::minmax(values);
  const auto base = static_cast<std::uint32_t>(least);
  const std::uint32_t span = static_cast<std::uint32_t>(most) - base;
  if (span < 2 * values.size() || span < 256) {
    std::vector<std::uint32_t> counts(std::size_t{span} + 1);
    for (const std::int32_t value : values) ++counts[static_cast<std::uint32_t>(value) - base];
    for (std::uint32_t i = 0; i < counts.size(); ++i)
      if (counts[i] > 0) entries_.push_back({static_cast<std::int32_t>(base + i), counts[i]});
    return;
  }
  std::vector<std::int32_t> sorted(values.begin(), values.end());
  std::ranges::sort(sorted);
  for (const std::int32_t value : sorted) {
    if (entries_.empty() || entries_.back().value != value) entries_.push_back({value, 0});
    ++entries_.back().count;
  }
}

Histogram Histogram::shifted(std::int32_t base, unsigned shift) const {
  Histogram result;
  result.total_ = total_;
  for (const Entry& entry : entries_) {
    const std::uint32_t above =
        static_cast<std::uint32_t>(entry.value) - static_cast<std::uint32_t>(base);
    const auto value = static_cast<std::int32_t>(above >> shift);
    if (result.entries_.empty() || result.entries_.back().value != value)
      result.entries_.push_back({value, 0});
    result.entries_.back().count += entry.count;
  }
  return result;
}

std::optional<ArithmeticPlan> planArithmetic(PacketKind kind, const Histogram& histogram) {
  constexpr std::size_t kFew = 16;
  ArithmeticPlan plan;
  std::uint32_t inTable = 0;
  std::int64_t least = INT32_MAX;  // of the values out of band
  std::int64_t most = INT32_MIN;
  for (const Histogram::Entry& entry : histogram.entries()) {
    // Values that occur once cost less out of band than in the table.
    if (entry.count > 1 || histogram.entries().size() <= kFew) {
      plan.table.entries.push_back({false, entry.count, entry.value, 0});
      inTable += entry.count;
    } else {
      least = std::min<std::int64_t>(least, entry.value);
      most = std::max<std::int64_t>(most, entry.value);
    }
  }
  if (plan.table.entries.empty() || plan.table.entries.size() > kMostEntries) return {};
  const auto escapes = static_cast<std::uint32_t>(histogram.total()) - inTable;
  if (escapes > 0) plan.table.entries.push_back({true, escapes, 0, 0});
  double bits = 16;
  for (const ContextEntry& entry : plan.table.entries)
    bits +=
        entry.occurrences * std::log2(static_cast<double>(histogram.total()) / entry.occurrences);
  scale(plan.table);
  const unsigned outWidth = escapes > 0 ? widthOf(static_cast<std::uint32_t>(most - least)) : 0;
  plan.bits = static_cast<std::uint64_t>(bits) + 66 +
              plan.table.entries.size() * Layout(kind, plan.table).entryBits() + 150 +
              std::uint64_t{outWidth} * escapes;
  return plan;
}

void writeArithmetic(PacketKind kind, const ArithmeticPlan& plan,
                     std::span<const std::int32_t> values, Bytes& out, bool bigEndian,
                     std::vector<std::int32_t>& outOfBand) {
  const ContextTable& table = plan.table;
  std::vector<std::uint32_t> starts{0};
  for (const ContextEntry& entry : table.entries)
    starts.push_back(starts.back() + entry.occurrences);
  const std::size_t known = table.entries.size() - (table.hasEscape() ? 1 : 0);
  const EntryOf entryOf(std::span(table.entries).first(known), values.size());
  WordBitWriter bits;
  Encoder encoder(bits, table.total);
  for (const std::int32_t value : values) {
    const std::size_t index = entryOf(value);
    if (index == known) outOfBand.push_back(value);
    encoder.put(starts[index], starts[index + 1]);
  }
  encoder.finish();
  bits.finish(out, bigEndian);
  writeTable(kind, table, out);
}

}  // namespace jt::codec
