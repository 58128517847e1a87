#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

#include "codec/packet/ArithmeticEncoder.h"
#include "codec/packet/BitFields.h"
#include "codec/packet/Bits.h"
#include "codec/packet/Packets.h"
#include "codec/packet/SteppedWidths.h"
#include "codec/packet/WidthRuns.h"

namespace jt::codec {

namespace {

constexpr std::byte kNull{0};
constexpr std::byte kBitlength{1};
constexpr std::byte kArithmetic{3};
constexpr std::byte kChopper{4};
constexpr std::byte kMoveToFront{5};

constexpr std::size_t kWorthATry = 24;  // values, for arithmetic code

void putNibbles(WordBitWriter& bits, std::int32_t value) {
  const unsigned digits = std::max(1U, (signedWidth(value) + 3) / 4);
  for (unsigned i = 0; i < digits; ++i) {
    bits.put(static_cast<std::uint32_t>(value) >> (4 * i), 4);
    bits.put(i + 1 < digits ? 1 : 0, 1);
  }
}

/// Cost of fixed-width fields that span the least to the greatest value.
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
    codeText(std::move(bits).finish());
  }

  /// The shortest form. @param mostFields bit fields to try at most; 0 in nested packets, which
  /// bounds the nesting
  void small(std::span<const std::int32_t> values, unsigned mostFields) {
    if (values.size() < kWorthATry) return plain(values);
    const Range range(values);
    if (range.width == 0) return plain(values);
    const Choice choice = choose(values, range);
    constexpr std::uint64_t kHeadBits = 80;
    const WidthRuns runs = runsOf(values, range, choice.bits);
    const bool areRunsShorter = runs.bits() < choice.bits - std::min(choice.bits, kHeadBits);
    const std::uint64_t bits = areRunsShorter ? runs.bits() + kHeadBits : choice.bits;
    if (kind_ == PacketKind::mk3 && mostFields > 0 && inFields(values, range, bits, mostFields))
      return;
    if (areRunsShorter) {
      inRuns(values, runs);
    } else if (choice.high == 0) {
      plain(values);
    } else if (choice.high == range.width) {
      arithmetic(values, choice.table, mostFields == 0);
    } else {
      chopped(values, range, choice, mostFields == 0);
    }
  }

 private:
  /// Arithmetic code for the high bits, the low bits as they are.
  struct Choice {
    std::uint64_t bits = 0;  ///< of all values, estimated
    unsigned high = 0;
    ContextTable table;
  };

  Choice choose(std::span<const std::int32_t> values, const Range& range) const {
    constexpr std::uint64_t kChopperBits = 200;
    constexpr unsigned kFewest = 4;
    Choice best{std::uint64_t{range.width} * values.size() + 64, 0, {}};
    const auto consider = [&](const Histogram& histogram, unsigned high) {
      ArithmeticEstimate estimate = estimateArithmetic(kind_, histogram, high);
      if (estimate.leastCount == 0) return;
      const unsigned low = range.width - high;
      if (low > 0) estimate.bits += std::uint64_t{low} * values.size() + kChopperBits;
      if (estimate.bits < best.bits)
        best = {estimate.bits, high, tableOf(histogram, estimate.leastCount)};
    };
    // As many high bits as an array can count.
    const auto countable = std::max(8U, static_cast<unsigned>(std::bit_width(values.size())));
    unsigned high = std::min(range.width, countable);
    if (high < range.width)
      if (const auto scattered = Histogram::ofScattered(values)) consider(*scattered, range.width);
    Histogram histogram(values, range.least, range.most, range.width - high);
    consider(histogram, high);
    for (std::int32_t base = high == range.width ? range.least : 0; high > kFewest; base = 0) {
      histogram.halve(base);
      consider(histogram, --high);
    }
    return best;
  }

  /// Runs, if these may take less than the given number of bits. Not of many values, whose table of
  /// arithmetic code pays, nor where that code is short already.
  static WidthRuns runsOf(std::span<const std::int32_t> values, const Range& range,
                          std::uint64_t bits) {
    constexpr std::size_t kMostValues = 1024;
    const std::uint64_t fewest = std::max(3U, range.width * 3 / 4) * values.size();
    if (values.size() > kMostValues || bits < fewest) return {};
    std::vector<std::int32_t> sorted(values.begin(), values.end());
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::ranges::nth_element(sorted, middle);
    return {values, *middle};
  }

  void inRuns(std::span<const std::int32_t> values, const WidthRuns& runs) {
    append(out_, static_cast<std::int32_t>(values.size()), bigEndian_);
    out_.push_back(kBitlength);
    WordBitWriter bits;
    bits.put(1, 1);
    if (kind_ == PacketKind::mk2) {
      bits.put(static_cast<std::uint32_t>(runs.mean()), 32);
      bits.put(WidthRuns::kChangeWidth, 3);
      bits.put(WidthRuns::kLengthWidth, 3);
    } else {
      putNibbles(bits, runs.mean());
    }
    runs.put(values, bits);
    codeText(std::move(bits).finish());
  }

  /// Writes values as bit fields if that is clearly shorter than the given number of bits.
  bool inFields(std::span<const std::int32_t> values, const Range& range, std::uint64_t bits,
                unsigned mostFields) {
    constexpr double kClearly = 0.97;
    constexpr std::uint64_t kWorthATry = 700;
    constexpr std::size_t kWorthDividing = 4096;
    if (bits < kWorthATry + values.size()) return false;
    if (values.size() < kWorthDividing) mostFields = 1;
    const std::int32_t base = std::min(range.least, 0);
    const auto width = static_cast<unsigned>(
        std::bit_width(static_cast<std::uint32_t>(range.most) - static_cast<std::uint32_t>(base)));
    const BitFields best = bestFields(values, base, width, mostFields);
    const double most = kClearly * static_cast<double>(bits);
    if (best.cost * static_cast<double>(values.size()) >= most) return false;
    const std::size_t from = out_.size();
    write(std::vector<std::int32_t>(values.begin(), values.end()), best.fields, base);
    if (8 * static_cast<double>(out_.size() - from) < most) return true;
    out_.resize(from);  // the sample promised too much
    return false;
  }

  void write(std::vector<std::int32_t> values, std::span<const BitField> fields,
             std::int32_t base) {
    const BitField& field = fields.front();
    if (fields.size() == 1) return write(values, field.form);
    chopperHead(values.size(), field.width, base, field.low + field.width);
    std::vector<std::int32_t> high = takeHigh(values, base, field.low);
    write(high, field.form);
    write(std::move(values), fields.subspan(1), 0);
  }
  void write(std::span<const std::int32_t> values, BitField::Form form) {
    switch (form) {
      case BitField::Form::plain:
        return plain(values);
      case BitField::Form::small:
        return small(values, 0);
      case BitField::Form::moved:
        return moved(values);
    }
  }

  void moved(std::span<const std::int32_t> values) {
    append(out_, static_cast<std::int32_t>(values.size()), bigEndian_);
    out_.push_back(kMoveToFront);
    const MoveToFront moves(values);
    small(moves.newValues, 0);
    small(moves.places, 0);
  }

  void arithmetic(std::span<const std::int32_t> values, const ContextTable& table, bool isNested) {
    append(out_, static_cast<std::int32_t>(values.size()), bigEndian_);
    out_.push_back(kArithmetic);
    std::vector<std::int32_t> outOfBand;
    codeText(arithmeticText(table, values, outOfBand));
    writeContext(kind_, table, out_);
    if (kind_ == PacketKind::mk3 && !table.hasEscape()) return;
    isNested ? plain(outOfBand) : small(outOfBand, 0);
  }

  void chopped(std::span<const std::int32_t> values, const Range& range, const Choice& choice,
               bool isNested) {
    chopperHead(values.size(), choice.high, range.least, range.width);
    std::vector<std::int32_t> low(values.begin(), values.end());
    const std::vector<std::int32_t> high = takeHigh(low, range.least, range.width - choice.high);
    arithmetic(high, choice.table, isNested);
    plain(low);
  }
  void chopperHead(std::size_t count, unsigned chop, std::int32_t base, unsigned width) {
    append(out_, static_cast<std::int32_t>(count), bigEndian_);
    out_.push_back(kChopper);
    out_.push_back(static_cast<std::byte>(chop));
    append(out_, base, bigEndian_);
    out_.push_back(static_cast<std::byte>(width));
  }
  /// The bits of `value - base` from `low` up; the lower ones stay in place.
  static std::vector<std::int32_t> takeHigh(std::span<std::int32_t> values, std::int32_t base,
                                            unsigned low) {
    std::vector<std::int32_t> high(values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      const std::uint32_t above =
          static_cast<std::uint32_t>(values[i]) - static_cast<std::uint32_t>(base);
      high[i] = static_cast<std::int32_t>(above >> low);
      values[i] = static_cast<std::int32_t>(above & ((1U << low) - 1));
    }
    return high;
  }

  void codeText(const CodeText& text) {
    append(out_, static_cast<std::int32_t>(text.bits), bigEndian_);
    text.write(out_, bigEndian_);
  }

  PacketKind kind_;
  Bytes& out_;
  bool bigEndian_;
};

/// Packets of Mk.1, whose layout differs.
class FirstPacketEncoder {
 public:
  FirstPacketEncoder(Bytes& out, bool bigEndian) : out_(out), bigEndian_(bigEndian) {}

  void plain(std::span<const std::int32_t> values) {
    values.empty() ? words(values) : stepped(values.size(), steppedWidths(values));
  }

  void small(std::span<const std::int32_t> values) {
    const CodeText text = steppedWidths(values);
    const std::uint64_t least = std::min<std::uint64_t>(text.bits + 64, 32 * values.size());
    const std::size_t from = out_.size();
    if (const auto table = worthwhileTable(values, least)) {
      arithmetic(values, *table);
      if ((out_.size() - from) * 8 < least) return;  // the estimate may have been too low
      out_.resize(from);
    }
    direct(values, text);
  }

 private:
  /// A table that makes arithmetic code shorter than the given number of bits, by estimate.
  static std::optional<ContextTable> worthwhileTable(std::span<const std::int32_t> values,
                                                     std::uint64_t bits) {
    if (values.size() < kWorthATry) return {};
    const Range range(values);
    const bool isCountable = (std::uint64_t{1} << range.width) <= 4 * values.size() + 256;
    const auto histogram = isCountable ? Histogram(values, range.least, range.most, 0)
                                       : Histogram::ofScattered(values);
    if (!histogram) return {};
    const auto estimate = estimateArithmetic(PacketKind::mk1, *histogram, range.width);
    if (estimate.bits >= bits) return {};
    return tableOf(*histogram, estimate.leastCount);
  }

  void words(std::span<const std::int32_t> values) {
    out_.push_back(kNull);
    number(values.size());
    for (const std::int32_t value : values) append(out_, value, bigEndian_);
  }

  /// The shorter of stepped widths and plain words.
  void direct(std::span<const std::int32_t> values, const CodeText& text) {
    constexpr std::size_t kHead = 2;  // extra header words of stepped widths
    text.words.size() + kHead < values.size() ? stepped(values.size(), text) : words(values);
  }

  void stepped(std::size_t count, const CodeText& text) {
    out_.push_back(kBitlength);
    codeText(count, text);
  }

  void arithmetic(std::span<const std::int32_t> values, const ContextTable& table) {
    out_.push_back(kArithmetic);
    writeContext(PacketKind::mk1, table, out_);
    std::vector<std::int32_t> outOfBand;
    const CodeText text = arithmeticText(table, values, outOfBand);
    number(outOfBand.size());
    if (!outOfBand.empty()) direct(outOfBand, steppedWidths(outOfBand));
    codeText(values.size(), text);
  }

  void codeText(std::size_t count, const CodeText& text) {
    number(text.bits);
    number(count);
    number(text.words.size());
    text.write(out_, bigEndian_);
  }
  void number(std::size_t value) { append(out_, static_cast<std::int32_t>(value), bigEndian_); }

  Bytes& out_;
  bool bigEndian_;
};

}  // namespace

void encodePacket(PacketKind kind, Bytes& out, bool bigEndian, std::span<const std::int32_t> values,
                  Predictor predictor, PacketStyle style) {
  std::vector<std::int32_t> residuals;
  if (predictor != Predictor::none) {
    residuals.assign(values.begin(), values.end());
    predict(predictor, residuals);
    values = residuals;
  }
  const bool isPlain = style == PacketStyle::plain;
  if (kind == PacketKind::mk1) {
    FirstPacketEncoder encoder(out, bigEndian);
    return isPlain ? encoder.plain(values) : encoder.small(values);
  }
  PacketEncoder encoder(kind, out, bigEndian);
  if (isPlain) return encoder.plain(values);
  // Residuals have no fields that mean something.
  encoder.small(values, predictor == Predictor::none ? kMostBitFields : 1);
}

}  // namespace jt::codec
