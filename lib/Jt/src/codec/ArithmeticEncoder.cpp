#include "ArithmeticEncoder.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

namespace jt::codec {

namespace {

constexpr std::size_t kMostEntries = 4000;
constexpr std::uint32_t kMostTotal = 16383;  // 14 bits keep every interval wider than nothing

struct Frequency {
  std::int32_t value = 0;
  std::uint32_t count = 0;
};

/// Values with their counts, ascending.
std::vector<Frequency> frequenciesOf(std::span<const std::int32_t> values) {
  std::vector<std::int32_t> sorted(values.begin(), values.end());
  std::ranges::sort(sorted);
  std::vector<Frequency> frequencies;
  for (const std::int32_t value : sorted) {
    if (frequencies.empty() || frequencies.back().value != value) frequencies.push_back({value, 0});
    ++frequencies.back().count;
  }
  return frequencies;
}

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
  explicit Encoder(WordBitWriter& bits) : bits_(bits) {}

  void put(std::uint32_t from, std::uint32_t to, std::uint32_t total) {
    const std::uint64_t range = high_ - low_ + 1;
    high_ = low_ + static_cast<std::uint32_t>(range * to / total) - 1;
    low_ = low_ + static_cast<std::uint32_t>(range * from / total);
    for (;;) {
      if (((low_ ^ high_) & 0x8000) == 0) {
        emit(low_ >> 15);
      } else if ((low_ & ~high_ & 0x4000) != 0) {
        ++pending_;
        low_ &= 0x3fff;
        high_ |= 0x4000;
      } else {
        return;
      }
      low_ = (low_ << 1) & 0xffff;
      high_ = ((high_ << 1) & 0xffff) | 1;
    }
  }
  void finish() {
    ++pending_;
    emit((low_ >> 14) & 1);
    while (bitCount_ < 16) raw(0);
  }

 private:
  void raw(std::uint32_t bit) {
    bits_.put(bit, 1);
    ++bitCount_;
  }
  /// A settled bit, and the ones that waited for it.
  void emit(std::uint32_t bit) {
    raw(bit & 1);
    for (; pending_ > 0; --pending_) raw(~bit & 1);
  }

  WordBitWriter& bits_;
  std::uint32_t low_ = 0;
  std::uint32_t high_ = 0xffff;
  std::size_t pending_ = 0;
  std::size_t bitCount_ = 0;
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

std::optional<ArithmeticPlan> planArithmetic(PacketKind kind,
                                             std::span<const std::int32_t> values) {
  std::vector<Frequency> frequencies = frequenciesOf(values);
  // Values that occur once cost less out of band than in the table.
  std::vector<Frequency> kept;
  std::ranges::copy_if(frequencies, std::back_inserter(kept),
                       [](const Frequency& f) { return f.count > 1; });
  if (frequencies.size() <= 16) kept = frequencies;
  if (kept.empty() || kept.size() > kMostEntries) return {};
  ArithmeticPlan plan;
  std::uint32_t inTable = 0;
  for (const Frequency& f : kept) {
    plan.table.entries.push_back({false, f.count, f.value, 0});
    inTable += f.count;
  }
  const auto escapes = static_cast<std::uint32_t>(values.size()) - inTable;
  if (escapes > 0) plan.table.entries.push_back({true, escapes, 0, 0});
  const auto escapeIndex = static_cast<std::int32_t>(kept.size());
  plan.symbols.reserve(values.size());
  for (const std::int32_t value : values) {
    const auto found = std::ranges::lower_bound(kept, value, {}, &Frequency::value);
    const bool isKept = found != kept.end() && found->value == value;
    plan.symbols.push_back(isKept ? static_cast<std::int32_t>(found - kept.begin()) : escapeIndex);
    if (!isKept) plan.outOfBand.push_back(value);
  }
  double bits = 16;
  for (const ContextEntry& entry : plan.table.entries)
    bits += entry.occurrences * std::log2(static_cast<double>(values.size()) / entry.occurrences);
  scale(plan.table);
  unsigned outWidth = 0;
  if (!plan.outOfBand.empty()) {
    const auto [least, most] = std::ranges::minmax(plan.outOfBand);
    outWidth = widthOf(static_cast<std::uint32_t>(most) - static_cast<std::uint32_t>(least));
  }
  plan.bits = static_cast<std::uint64_t>(bits) + 66 +
              plan.table.entries.size() * Layout(kind, plan.table).entryBits() + 150 +
              std::uint64_t{outWidth} * plan.outOfBand.size();
  return plan;
}

void writeArithmetic(PacketKind kind, const ArithmeticPlan& plan, Bytes& out, bool bigEndian) {
  std::vector<std::uint32_t> starts{0};
  for (const ContextEntry& entry : plan.table.entries)
    starts.push_back(starts.back() + entry.occurrences);
  WordBitWriter bits;
  Encoder encoder(bits);
  for (const std::int32_t symbol : plan.symbols) {
    const auto index = static_cast<std::size_t>(symbol);
    encoder.put(starts[index], starts[index + 1], plan.table.total);
  }
  encoder.finish();
  bits.finish(out, bigEndian);
  writeTable(kind, plan.table, out);
}

}  // namespace jt::codec
