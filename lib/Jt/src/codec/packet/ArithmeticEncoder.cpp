#include "codec/packet/ArithmeticEncoder.h"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include "base/IndexTable.h"
#include "codec/packet/Arithmetic.h"

namespace jt::codec {

namespace {

constexpr std::size_t kMostEntries = 4000;
constexpr std::uint32_t kMostTotal = 16383;  // 14 bits keep every interval from collapsing
// Overhead of a packet in bits: lengths and table header; and of a packet of outliers.
constexpr double kFixedBits = 150;
constexpr double kOutOfBandBits = 120;

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
    symbol = symbolWidth(kind, table.entries.size());
    occurrences = widthOf(count);
    if (least > most) return;
    min = static_cast<std::int32_t>(least);
    value = widthOf(static_cast<std::uint32_t>(most - least));
  }
  static unsigned symbolWidth(PacketKind kind, std::size_t entries) {
    return kind == PacketKind::mk3 ? 1 : widthOf(static_cast<std::uint32_t>(entries + 2));
  }
};

/// The binary logarithm to a hundredth or so.
double roughLog2(std::uint32_t value) {
  const auto bits = std::bit_cast<std::uint32_t>(static_cast<float>(value));
  const float m = std::bit_cast<float>((bits & 0x7fffff) | 0x3f800000);
  return static_cast<double>(static_cast<float>(bits >> 23) - 127 + (2 - m / 3) * m - 5.0F / 3);
}

/// Scales counts so that they add up to what the registers can resolve; none becomes 0.
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

/// Arithmetic encoder. State: the width of the interval and its low end, including the pending bits
/// that a carry may still change.
class Encoder {
 public:
  explicit Encoder(std::uint32_t total) : divider_(total) {}

  /// Narrows the interval to `from` .. `to` of the total.
  void put(std::uint32_t from, std::uint32_t to) {
    const std::uint32_t start = divider_(width_ * from);
    width_ = divider_(width_ * to) - start;
    low_ += start;
    const unsigned shift = renormalizationShift(low_, width_);
    low_ <<= shift;
    width_ <<= shift;
    waiting_ += shift;
    if (waiting_ >= 32) flush();
  }
  CodeText finish() && {
    // Two more bits name a quarter inside the interval.
    low_ = (low_ + 0x4000) >> 14 << 16;
    waiting_ += 2;
    const std::size_t bits = std::max<std::size_t>(16, 32 * words_.size() + waiting_);
    while (waiting_ > 0) {
      if (waiting_ < 32) low_ <<= 32 - std::exchange(waiting_, 32);
      flush();
    }
    return {std::move(words_), bits};
  }

 private:
  void flush() {
    const std::uint64_t word = low_ >> (waiting_ - 16);
    const bool carries = word >> 32 != 0;
    for (std::size_t i = words_.size(); carries && ++words_[--i] == 0;) {
    }
    words_.push_back(static_cast<std::uint32_t>(word));
    waiting_ -= 32;
    low_ &= (std::uint64_t{1} << (16 + waiting_)) - 1;
  }

  TotalDivider divider_;
  std::uint64_t low_ = 0;
  std::uint32_t width_ = 0x10000;
  unsigned waiting_ = 0;  // pending bits: those of low_ above the lowest 16
  std::vector<std::uint32_t> words_;
};

/// The interval of the total that codes each value.
class IntervalTable {
 public:
  struct Interval {
    std::uint16_t from = 0;
    std::uint16_t to = 0;
  };

  /// @param valueCount values that will be looked for
  IntervalTable(const ContextTable& table, std::size_t valueCount)
      : entries_(table.entries), escapes_(table.hasEscape()) {
    std::uint32_t at = 0;
    for (const ContextEntry& entry : entries_) {
      intervals_.push_back(
          {static_cast<std::uint16_t>(at), static_cast<std::uint16_t>(at + entry.occurrences)});
      at += entry.occurrences;
    }
    if (escapes_) entries_ = entries_.first(entries_.size() - 1);
    if (entries_.empty()) return;
    base_ = static_cast<std::uint32_t>(entries_.front().value);
    const std::uint32_t span = static_cast<std::uint32_t>(entries_.back().value) - base_;
    if (span >= std::max<std::size_t>(2 * valueCount, 4096)) return;
    byValue_.assign(std::size_t{span} + 1, intervals_.back());
    for (std::size_t i = 0; i < entries_.size(); ++i)
      byValue_[static_cast<std::uint32_t>(entries_[i].value) - base_] = intervals_[i];
  }
  /// The escape's interval for a value that is not in the table.
  Interval operator()(std::int32_t value) const {
    if (!byValue_.empty()) {
      const std::uint32_t at = static_cast<std::uint32_t>(value) - base_;
      return at < byValue_.size() ? byValue_[at] : intervals_.back();
    }
    const auto found = std::ranges::lower_bound(entries_, value, {}, &ContextEntry::value);
    return found != entries_.end() && found->value == value
               ? intervals_[static_cast<std::size_t>(found - entries_.begin())]
               : intervals_.back();
  }
  bool isEscape(Interval interval) const noexcept {
    return escapes_ && interval.from == intervals_.back().from;
  }

 private:
  std::span<const ContextEntry> entries_;
  bool escapes_;
  std::vector<Interval> intervals_;  // of the entries
  std::uint32_t base_ = 0;
  std::vector<Interval> byValue_;  // direct table for dense values
};

/// Bits into bytes, each from its most significant bit down.
class ByteBitWriter {
 public:
  explicit ByteBitWriter(Bytes& out) : out_(out) {}
  ByteBitWriter(const ByteBitWriter&) = delete;
  ByteBitWriter& operator=(const ByteBitWriter&) = delete;
  ~ByteBitWriter() {
    if (have_ > 0) out_.push_back(static_cast<std::byte>(bits_ << (8 - have_)));
  }
  /// @pre value has no bits above width
  void put(std::uint32_t value, unsigned width) {
    bits_ = bits_ << width | value;
    for (have_ += width; have_ >= 8; have_ -= 8)
      out_.push_back(static_cast<std::byte>(bits_ >> (have_ - 8)));
  }

 private:
  Bytes& out_;
  std::uint64_t bits_ = 0;
  unsigned have_ = 0;
};

/// Histogram of sparse values, unordered.
std::vector<Histogram::Entry> countScattered(std::span<const std::int32_t> values,
                                             std::size_t step) {
  const std::size_t count = (values.size() + step - 1) / step;
  IndexTable table(count);
  std::vector<Histogram::Entry> entries;
  for (std::size_t i = 0; i < values.size(); i += step) {
    const std::int32_t value = values[i];
    std::uint32_t& entry = table.find(static_cast<std::uint32_t>(value), [&](std::uint32_t index) {
      return entries[index].value == value;
    });
    if (entry == IndexTable::kFree) {
      entry = static_cast<std::uint32_t>(entries.size());
      entries.push_back({value, 0});
    }
    ++entries[entry].count;
  }
  return entries;
}

}  // namespace

Histogram::Histogram(std::span<const std::int32_t> values, std::int32_t least, std::int32_t most,
                     unsigned shift)
    : total_(values.size()) {
  const auto base = static_cast<std::uint32_t>(least);
  std::vector<std::uint32_t> counts(((static_cast<std::uint32_t>(most) - base) >> shift) + 1);
  for (const std::int32_t value : values)
    ++counts[(static_cast<std::uint32_t>(value) - base) >> shift];
  const std::uint32_t first = shift == 0 ? base : 0;
  for (std::uint32_t i = 0; i < counts.size(); ++i)
    if (counts[i] > 0) entries_.push_back({static_cast<std::int32_t>(first + i), counts[i]});
}

std::optional<Histogram> Histogram::ofScattered(std::span<const std::int32_t> values) {
  constexpr std::size_t kSample = 2048;
  if (values.size() > 4 * kSample) {
    const std::size_t step = values.size() / kSample;
    if (countScattered(values, step).size() * 16 > values.size() / step * 15) return {};
  }
  Histogram result;
  result.total_ = values.size();
  result.entries_ = countScattered(values, 1);
  return result;
}

void Histogram::halve(std::int32_t base) {
  std::size_t kept = 0;
  for (const Entry& entry : entries_) {
    const auto value = static_cast<std::int32_t>(
        (static_cast<std::uint32_t>(entry.value) - static_cast<std::uint32_t>(base)) >> 1);
    if (kept > 0 && entries_[kept - 1].value == value) {
      entries_[kept - 1].count += entry.count;
    } else {
      entries_[kept++] = {value, entry.count};
    }
  }
  entries_.resize(kept);
}

ArithmeticEstimate estimateArithmetic(PacketKind kind, const Histogram& histogram, unsigned width) {
  constexpr std::uint32_t kOften = 16;
  struct Sum {
    std::size_t entries = 0;
    std::uint64_t values = 0;
    double weight = 0;  // of n log n
  };
  std::array<Sum, kOften + 1> sums;  // by count, the last of all that are more
  std::uint32_t most = 0;
  for (const Histogram::Entry& entry : histogram.entries()) {
    Sum& sum = sums[std::min(entry.count, kOften)];
    ++sum.entries;
    sum.values += entry.count;
    sum.weight += entry.count * roughLog2(entry.count);
    most = std::max(most, entry.count);
  }
  const auto total = static_cast<double>(histogram.total());
  const unsigned countWidth = widthOf(std::min(most, kMostTotal));
  ArithmeticEstimate best;
  Sum in;
  for (std::uint32_t least = kOften; least > 0; --least) {
    const Sum& sum = sums[least];
    in.entries += sum.entries;
    in.values += sum.values;
    in.weight += sum.weight;
    if (sum.entries == 0 || in.entries > kMostEntries) continue;
    const auto out = static_cast<std::uint32_t>(histogram.total() - in.values);
    const std::size_t entries = in.entries + (out > 0 ? 1 : 0);
    double bits = total * roughLog2(static_cast<std::uint32_t>(total)) - in.weight;
    if (out > 0) bits += out * (width - roughLog2(out)) + kOutOfBandBits;
    bits += kFixedBits + static_cast<double>(
                             entries * (Layout::symbolWidth(kind, entries) + countWidth + width));
    if (bits < static_cast<double>(best.bits)) best = {static_cast<std::uint64_t>(bits), least};
  }
  return best;
}

ContextTable tableOf(const Histogram& histogram, std::uint32_t leastCount) {
  ContextTable table;
  std::size_t out = histogram.total();
  for (const Histogram::Entry& entry : histogram.entries()) {
    if (entry.count < leastCount) continue;
    table.entries.push_back({false, entry.count, entry.value, 0});
    out -= entry.count;
  }
  std::ranges::sort(table.entries, {}, &ContextEntry::value);
  if (out > 0) table.entries.push_back({true, static_cast<std::uint32_t>(out), 0, 0});
  scale(table);
  return table;
}

CodeText arithmeticText(const ContextTable& table, std::span<const std::int32_t> values,
                        std::vector<std::int32_t>& outOfBand) {
  const IntervalTable intervalOf(table, values.size());
  Encoder encoder(table.total);
  for (const std::int32_t value : values) {
    const IntervalTable::Interval interval = intervalOf(value);
    if (intervalOf.isEscape(interval)) outOfBand.push_back(value);
    encoder.put(interval.from, interval.to);
  }
  return std::move(encoder).finish();
}

void writeContext(PacketKind kind, const ContextTable& table, Bytes& out) {
  const Layout layout(kind, table);
  const bool hasSymbols = kind != PacketKind::mk3;
  ByteBitWriter bits(out);
  if (kind == PacketKind::mk1) bits.put(1, 8);  // table
  bits.put(static_cast<std::uint32_t>(table.entries.size()), kind == PacketKind::mk1 ? 32 : 16);
  if (hasSymbols) bits.put(layout.symbol, 6);
  bits.put(layout.occurrences, 6);
  bits.put(layout.value, hasSymbols ? 6 : 7);
  if (kind == PacketKind::mk1) bits.put(0, 6);  // no field for the next table: it is the same
  bits.put(static_cast<std::uint32_t>(layout.min), 32);
  std::uint32_t symbol = 2;  // stored with 2 added, so that the escape, -2, is 0
  for (const ContextEntry& entry : table.entries) {
    if (hasSymbols) {
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

}  // namespace jt::codec
