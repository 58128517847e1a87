#include <algorithm>
#include <array>
#include <bit>

#include "ArithmeticEncoder.h"
#include "Bits.h"
#include "Packets.h"

namespace jt::codec {

namespace {

constexpr std::byte kBitlength{1};
constexpr std::byte kArithmetic{3};
constexpr std::byte kChopper{4};
constexpr std::byte kMoveToFront{5};

/// Bits of a two's complement field that holds the value; none for 0.
unsigned signedWidth(std::int32_t value) {
  if (value == 0) return 0;
  const auto magnitude = static_cast<std::uint32_t>(value < 0 ? ~value : value);
  return static_cast<unsigned>(std::bit_width(magnitude)) + 1;
}

void putNibbles(WordBitWriter& bits, std::int32_t value) {
  const unsigned digits = std::max(1U, (signedWidth(value) + 3) / 4);
  for (unsigned i = 0; i < digits; ++i) {
    bits.put(static_cast<std::uint32_t>(value) >> (4 * i), 4);
    bits.put(i + 1 < digits ? 1 : 0, 1);
  }
}

/// What fixed width fields take from the least to the greatest value.
struct Range {
  std::int32_t least = 0;
  std::int32_t most = 0;
  unsigned width = 0;

  explicit Range(std::span<const std::int32_t> values) {
    const auto [from, to] = std::ranges::minmax(values);
    least = from;
    most = to;
    width = static_cast<unsigned>(
        std::bit_width(static_cast<std::uint32_t>(to) - static_cast<std::uint32_t>(from)));
  }
};

/// Values by their place among the latest ones.
struct Moves {
  std::vector<std::int32_t> offsets;  ///< place in the window, -1 for a fresh value
  std::vector<std::int32_t> fresh;

  explicit Moves(std::span<const std::int32_t> values) {
    constexpr std::size_t kWindow = 16;
    std::array<std::int32_t, kWindow> window;
    std::size_t used = 0;
    offsets.reserve(values.size());
    for (const std::int32_t value : values) {
      std::size_t place = 0;
      while (place < used && window[place] != value) ++place;
      offsets.push_back(place < used ? static_cast<std::int32_t>(place) : -1);
      if (place == used) {
        fresh.push_back(value);
        if (used < kWindow) ++used;
        place = used - 1;
      }
      for (; place > 0; --place) window[place] = window[place - 1];
      window[0] = value;
    }
  }
};

class PacketEncoder {
 public:
  PacketEncoder(PacketKind kind, Bytes& out, bool bigEndian)
      : kind_(kind), out_(out), bigEndian_(bigEndian) {}

  void plain(std::span<const std::int32_t> values) {
    append(out_, static_cast<std::int32_t>(values.size()), bigEndian_);
    if (values.empty()) return;
    const Range range(values);
    out_.push_back(kBitlength);
    WordBitWriter bits;
    bits.put(0, 1);
    if (kind_ == PacketKind::mk2) {
      bits.put(signedWidth(range.least), 6);
      bits.put(signedWidth(range.most), 6);
      bits.put(static_cast<std::uint32_t>(range.least), signedWidth(range.least));
      bits.put(static_cast<std::uint32_t>(range.most), signedWidth(range.most));
    } else {
      putNibbles(bits, range.least);
      putNibbles(bits, range.most);
    }
    const auto min = static_cast<std::uint32_t>(range.least);
    for (const std::int32_t value : values)
      bits.put(static_cast<std::uint32_t>(value) - min, range.width);
    bits.finish(out_, bigEndian_);
  }

  void small(std::span<const std::int32_t> values, bool isNested = false) {
    constexpr std::size_t kWorthATry = 24;
    if (values.size() < kWorthATry) return plain(values);
    const Range range(values);
    const Histogram histogram(values);
    std::uint64_t least = std::uint64_t{range.width} * values.size() + 64;
    auto best = planArithmetic(kind_, histogram);
    if (best && best->bits < least) {
      least = best->bits;
    } else {
      best.reset();
    }
    // High bits that arithmetic code may shorten, low bits as they are.
    unsigned chop = 0;
    for (const unsigned high : {6U, 9U, 12U}) {
      if (high >= range.width) break;
      auto plan = planArithmetic(kind_, histogram.shifted(range.least, range.width - high));
      if (!plan) continue;
      const std::uint64_t bits =
          plan->bits + std::uint64_t{range.width - high} * values.size() + 200;
      if (bits >= least) continue;
      least = bits;
      chop = high;
      best = std::move(plan);
    }
    if (kind_ == PacketKind::mk3 && !isNested && movedToFront(values, range, least)) return;
    if (chop > 0) {
      chopped(values, range, chop, *best);
    } else if (best) {
      arithmetic(values, *best);
    } else {
      plain(values);
    }
  }

 private:
  /// Writes values by their places among the latest ones, where that is shorter than `least` bits.
  bool movedToFront(std::span<const std::int32_t> values, const Range& range, std::uint64_t least) {
    constexpr std::size_t kSample = 1024;
    constexpr std::uint64_t kWorthATry = 6;  // bits a value
    if (least < kWorthATry * values.size()) return false;
    const Moves sample(values.subspan(values.size() / 2)
                           .first(std::min(kSample, values.size() - values.size() / 2)));
    if (2 * sample.fresh.size() > sample.offsets.size()) return false;
    const Moves moves(values);
    const auto places = planArithmetic(kind_, Histogram(moves.offsets));
    if (!places || places->bits + range.width * moves.fresh.size() >= least) return false;
    append(out_, static_cast<std::int32_t>(values.size()), bigEndian_);
    out_.push_back(kMoveToFront);
    small(moves.fresh, true);
    small(moves.offsets, true);
    return true;
  }

  void arithmetic(std::span<const std::int32_t> values, const ArithmeticPlan& plan) {
    append(out_, static_cast<std::int32_t>(values.size()), bigEndian_);
    out_.push_back(kArithmetic);
    std::vector<std::int32_t> outOfBand;
    writeArithmetic(kind_, plan, values, out_, bigEndian_, outOfBand);
    if (kind_ == PacketKind::mk2 || plan.table.hasEscape()) plain(outOfBand);
  }

  /// @param plan for the high bits
  void chopped(std::span<const std::int32_t> values, const Range& range, unsigned chop,
               const ArithmeticPlan& plan) {
    append(out_, static_cast<std::int32_t>(values.size()), bigEndian_);
    out_.push_back(kChopper);
    out_.push_back(static_cast<std::byte>(chop));
    append(out_, range.least, bigEndian_);
    out_.push_back(static_cast<std::byte>(range.width));
    const unsigned shift = range.width - chop;
    std::vector<std::int32_t> high(values.size());
    std::vector<std::int32_t> low(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      const std::uint32_t above =
          static_cast<std::uint32_t>(values[i]) - static_cast<std::uint32_t>(range.least);
      high[i] = static_cast<std::int32_t>(above >> shift);
      low[i] = static_cast<std::int32_t>(above & ((1U << shift) - 1));
    }
    arithmetic(high, plan);
    plain(low);
  }

  PacketKind kind_;
  Bytes& out_;
  bool bigEndian_;
};

}  // namespace

void encodePacket(PacketKind kind, Bytes& out, bool bigEndian, std::vector<std::int32_t> values,
                  Predictor predictor, PacketStyle style) {
  predict(predictor, values);
  if (kind == PacketKind::mk1) {
    out.push_back(std::byte{0});
    append(out, static_cast<std::int32_t>(values.size()), bigEndian);
    for (const std::int32_t value : values) append(out, value, bigEndian);
    return;
  }
  PacketEncoder encoder(kind, out, bigEndian);
  if (style == PacketStyle::small) {
    encoder.small(values);
  } else {
    encoder.plain(values);
  }
}

}  // namespace jt::codec
