#include <algorithm>
#include <array>
#include <bit>
#include <memory>

#include "base/PageMemory.h"
#include "base/ParallelFor.h"
#include "codec/packet/Arithmetic.h"
#include "codec/packet/Packets.h"
#include "codec/packet/PrefixTree.h"

namespace jt::codec {

namespace {

using Values = std::vector<std::int32_t>;

enum class Codec : std::uint8_t {
  null = 0,
  bitlength = 1,
  prefixTree = 2,
  arithmetic = 3,
  chopper = 4,
  moveToFront = 5,
};

constexpr const char* kCodecNames[] = {"null",       "bitlength", "prefix tree",
                                       "arithmetic", "chopper",   "move-to-front"};

std::int32_t plus(std::uint32_t value, std::int32_t base) {
  return static_cast<std::int32_t>(value + static_cast<std::uint32_t>(base));
}

/// A field width that changes by steps.
class Width {
 public:
  void change(std::int32_t by, std::size_t offset) {
    width_ += by;
    if (width_ < 0 || width_ > 32)
      fail("bad_packet", "a field width of " + std::to_string(width_), offset);
  }
  operator unsigned() const noexcept { return static_cast<unsigned>(width_); }

 private:
  std::int32_t width_ = 0;
};

}  // namespace

/// Reads one packet and those nested in it.
class PacketReader {
 public:
  PacketReader(PacketKind kind, ByteCursor& cursor, Budget& budget, PacketBatch& batch,
               OutOfBandForm form)
      : kind_(kind), cursor_(cursor), budget_(budget), batch_(batch), form_(form) {}

  /// Values that are complete when the batch has been finished.
  void packet(Values& values) {
    constexpr int kDeepest = 8;
    if (++depth_ > kDeepest) fail("bad_packet", "packets nested too deep", cursor_.offset());
    if (kind_ == PacketKind::mk1) {
      values = first();
    } else {
      later(values);
    }
    --depth_;
  }

 private:
  Values make(std::size_t count) {
    budget_.spend(std::uint64_t{count} * sizeof(std::int32_t), cursor_.offset());
    Values values;
    storage::fillLarge(values, count);
    return values;
  }

  /// A nested packet that is needed at once.
  Values complete() {
    PacketBatch batch;
    PacketReader reader(kind_, cursor_, budget_, batch, form_);
    reader.depth_ = depth_;
    Values values;
    reader.packet(values);
    ++batch.packets_;
    batch.finish();
    return values;
  }

  /// Nested packets whose values are needed in the end.
  std::shared_ptr<Values> nested() {
    auto values = std::make_shared<Values>();
    packet(*values);
    return values;
  }

  [[noreturn]] void badCodec(unsigned codec) const {
    fail("bad_packet", "integer codec " + std::to_string(codec) + " is not known here",
         cursor_.offset() - 1);
  }

  /// The words of a code text of so many bits.
  WordBits codeText(std::size_t bits) {
    const std::size_t offset = cursor_.offset();
    return {cursor_.take((bits + 31) / 32 * 4, "code text"), bits, cursor_.bigEndian(), offset};
  }

  /// Plain words.
  Values words(std::size_t count) {
    if (count > cursor_.left() / 4)
      fail("truncated",
           "expected " + std::to_string(count) + " words, found " + std::to_string(cursor_.left()) +
               " bytes",
           cursor_.offset());
    Values values = make(count);
    for (std::int32_t& value : values) value = cursor_.i32("value");
    return values;
  }

  // --- Mk.1 ---

  Values first() {
    const std::uint8_t codec = cursor_.u8("codec");
    if (codec == static_cast<std::uint8_t>(Codec::null)) return words(cursor_.count("word count"));
    if (codec > static_cast<std::uint8_t>(Codec::arithmetic)) badCodec(codec);
    const bool isBitlength = codec == static_cast<std::uint8_t>(Codec::bitlength);
    std::vector<ContextTable> tables;
    Values outOfBand;
    std::size_t outOfBandCount = 0;
    if (!isBitlength) {
      tables = readContexts(kind_, cursor_, budget_);
      outOfBandCount = cursor_.count("out-of-band count");
      if (outOfBandCount > 0) outOfBand = complete();
    }
    const std::size_t bitCount = cursor_.count("code text length");
    Values values = make(cursor_.count("value count"));
    std::size_t symbolCount = values.size();
    if (tables.size() > 1) {
      symbolCount = cursor_.count("symbol count");
      budget_.spend(symbolCount, cursor_.offset());  // not every symbol need give a value
    }
    const std::size_t wordCount = cursor_.count("word count");
    if (wordCount < (bitCount + 31) / 32)
      fail("bad_packet",
           std::to_string(bitCount) + " bits of code text in " + std::to_string(wordCount) +
               " words",
           cursor_.offset());
    const std::size_t offset = cursor_.offset();
    if (wordCount > cursor_.left() / 4)
      fail("truncated", "the code text is longer than what is left", offset);
    const WordBits bits(cursor_.take(wordCount * 4, "code text"), bitCount, cursor_.bigEndian(),
                        offset);
    if (isBitlength) {
      steppedWidths(bits, values);
    } else if (bitCount == 0 && outOfBand.size() == values.size()) {
      return outOfBand;
    } else if (codec == static_cast<std::uint8_t>(Codec::prefixTree)) {
      decodePrefixTree(bits, tables, symbolCount, outOfBand, values);
    } else {
      OutOfBand queue(std::move(outOfBand));
      decodeArithmetic(bits, tables, symbolCount, queue, values);
    }
    return values;
  }

  /// Bitlength of Mk.1: the width changes in steps of 2 in front of a value.
  static void steppedWidths(WordBits bits, Values& values) {
    Width width;
    for (std::int32_t& value : values) {
      if (bits.take(1) != 0) {
        const std::uint32_t direction = bits.take(1);
        do width.change(direction != 0 ? 2 : -2, bits.offset());
        while (bits.take(1) == direction);
      }
      value = bits.takeSigned(width);
    }
    if (bits.left() > 0)
      fail("bad_packet", std::to_string(bits.left()) + " bits of code text are left over",
           bits.offset());
  }

  // --- Mk.2 and Mk.3 ---

  void later(Values& values) {
    const std::size_t count = cursor_.count("value count");
    values.clear();
    if (count == 0) return;
    const std::uint8_t codec = cursor_.u8("codec");
    const bool isPlain = codec == static_cast<std::uint8_t>(Codec::null) ||
                         codec == static_cast<std::uint8_t>(Codec::bitlength);
    batch_.hasSmall_ = batch_.hasSmall_ || !isPlain;
    switch (static_cast<Codec>(codec)) {
      case Codec::null:
        cursor_.i32("code text length");  // bits or bytes: producers disagree, the count decides
        values = words(count);
        return;
      case Codec::bitlength: {
        WordBits bits = codeText(cursor_.count("code text length"));
        values = make(count);
        if (bits.take(1) == 0) {
          fixedWidth(bits, values);
        } else {
          variableWidth(bits, values);
        }
        return;
      }
      case Codec::arithmetic:
        return arithmetic(values, count);
      case Codec::chopper:
        return chopped(values, count);
      case Codec::moveToFront:
        if (kind_ == PacketKind::mk3) return movedToFront(values, count);
        break;
      default:
        break;
    }
    badCodec(codec);
  }

  /// A number in 4-bit digits, the lowest first, each followed by a bit for "more".
  static std::int32_t nibbles(WordBits& bits) {
    std::uint32_t value = 0;
    for (unsigned width = 4; width <= 32; width += 4) {
      value |= bits.take(4) << (width - 4);
      if (bits.take(1) == 0) return signExtended(value, width);
    }
    fail("bad_packet", "a number of more than 8 digits", bits.offset());
  }

  void fixedWidth(WordBits& bits, Values& values) const {
    std::int32_t min;
    std::int32_t max;
    if (kind_ == PacketKind::mk2) {
      const unsigned minWidth = bits.take(6);
      const unsigned maxWidth = bits.take(6);
      if (minWidth > 32 || maxWidth > 32)
        fail("bad_packet", "a range wider than 32 bits", bits.offset());
      min = bits.takeSigned(minWidth);
      max = bits.takeSigned(maxWidth);
    } else {
      min = nibbles(bits);
      max = nibbles(bits);
    }
    const auto width = static_cast<unsigned>(
        std::bit_width(static_cast<std::uint32_t>(max) - static_cast<std::uint32_t>(min)));
    if (std::uint64_t{width} * values.size() > bits.left())
      fail("truncated",
           std::to_string(values.size()) + " values of " + std::to_string(width) +
               " bits do not fit the " + std::to_string(bits.left()) + " bits that are left",
           bits.offset());
    if (width == 0) {
      std::ranges::fill(values, min);
      return;
    }
    for (std::int32_t& value : values) value = plus(bits.takeOrZeros(width), min);
  }

  /// Runs of values of one width. Terminates: each run consumes bits.
  void variableWidth(WordBits& bits, Values& values) const {
    const std::int32_t mean = kind_ == PacketKind::mk2 ? bits.takeSigned(32) : nibbles(bits);
    const unsigned changeWidth = kind_ == PacketKind::mk2 ? bits.take(3) : 4;
    const unsigned runWidth = kind_ == PacketKind::mk2 ? bits.take(3) : 4;
    if (changeWidth == 1 || runWidth == 0)
      fail("bad_packet", "runs that never give a value", bits.offset());
    const std::int32_t most = changeWidth == 0 ? 1 : (1 << (changeWidth - 1)) - 1;
    const std::int32_t least = -most - 1;
    Width width;
    for (std::size_t at = 0; at < values.size();) {
      for (bool more = true; more;) {
        const std::int32_t change = bits.takeSigned(changeWidth);
        width.change(change, bits.offset());
        more = change == most || change == least;
      }
      const std::size_t run = bits.take(runWidth);
      if (run > values.size() - at)
        fail("bad_packet", "a run passes the end of the values", bits.offset());
      for (const std::size_t end = at + run; at < end; ++at)
        values[at] = plus(static_cast<std::uint32_t>(bits.takeSigned(width)), mean);
    }
  }

  /// Out-of-band values: those without a symbol.
  Values unmatched() {
    const bool isPlain = kind_ == PacketKind::mk3 && form_ == OutOfBandForm::plain;
    return isPlain ? words(cursor_.count("out-of-band count")) : complete();
  }

  void arithmetic(Values& values, std::size_t count) {
    const WordBits bits = codeText(cursor_.count("code text length"));
    const std::vector<ContextTable> tables = readContexts(kind_, cursor_, budget_);
    OutOfBand outOfBand(kind_ == PacketKind::mk2 || tables[0].hasEscape() ? unmatched() : Values());
    if (bits.left() == 0 && outOfBand.all().size() == count) {
      values = outOfBand.all();
      return;
    }
    values = make(count);
    // Batching costs memory and a direct table, which only pays for many values.
    if (ArithmeticStream::canDecode(tables[0]) && count >= tables[0].total / 8 &&
        budget_.trySpend(ArithmeticStream::memoryFor(bits, tables[0]))) {
      batch_.streams_.push_back({batch_.packets_, {bits, tables[0], std::move(outOfBand), values}});
    } else {
      decodeArithmetic(bits, tables, count, outOfBand, values);
    }
  }

  /// High and low bits in packets of their own.
  void chopped(Values& values, std::size_t count) {
    const unsigned chop = cursor_.u8("chop bits");
    if (chop == 0 && kind_ == PacketKind::mk2) {
      packet(values);
      expectCount(values.size(), count, cursor_);
      return;
    }
    const std::int32_t bias = cursor_.i32("value bias");
    const unsigned span = cursor_.u8("value span bits");
    if (chop < 1 || chop > span || span > 32)
      fail("bad_packet",
           std::to_string(chop) + " bits chopped off values of " + std::to_string(span) + " bits",
           cursor_.offset());
    packet(values);
    const std::shared_ptr<const Values> low = nested();
    expectCount(values.size(), count, cursor_);
    expectCount(low->size(), count, cursor_);
    const unsigned shift = span - chop;
    then([&values, low, shift, bias] {
      for (std::size_t i = 0; i < values.size(); ++i) {
        const std::uint32_t high = static_cast<std::uint32_t>(values[i]) << shift;
        values[i] = plus(static_cast<std::uint32_t>((*low)[i]) | high, bias);
      }
    });
  }

  /// Move-to-front indices into a window of the latest values.
  void movedToFront(Values& values, std::size_t count) {
    const std::shared_ptr<Values> newValues = nested();
    packet(values);
    expectCount(values.size(), count, cursor_);
    then([&values, newValues, offset = cursor_.offset()] {
      undoMoves(values, OutOfBand(std::move(*newValues)), offset);
    });
  }

  void then(std::function<void()> step) {
    batch_.steps_.push_back({batch_.packets_, std::move(step)});
  }

  static void undoMoves(Values& values, OutOfBand newValues, std::size_t offset) {
    // Values stay in their slots; only the order of the slots changes, a digit for each, the latest
    // one lowest.
    constexpr std::size_t kWindow = 16;
    std::array<std::int32_t, kWindow> slots;
    std::uint64_t order = 0xfedcba9876543210;
    std::size_t used = 0;
    for (std::int32_t& value : values) {
      std::size_t place;
      if (value == -1) {
        if (used < kWindow) ++used;
        place = used - 1;
      } else {
        if (value < 0 || static_cast<std::size_t>(value) >= used)
          fail("bad_packet", "a window offset of " + std::to_string(value), offset);
        place = static_cast<std::size_t>(value);
      }
      const std::uint64_t slot = order >> (4 * place) & 0xf;
      const std::uint64_t newer = (std::uint64_t{1} << (4 * place)) - 1;
      order = (order & ~newer & ~(std::uint64_t{0xf} << (4 * place))) | (order & newer) << 4 | slot;
      if (value == -1) slots[slot] = newValues.next(offset);
      value = slots[slot];
    }
  }

  PacketKind kind_;
  ByteCursor& cursor_;
  Budget& budget_;
  PacketBatch& batch_;
  OutOfBandForm form_;
  int depth_ = 0;
};

void PacketBatch::add(PacketKind kind, ByteCursor& cursor, Budget& budget, Predictor predictor,
                      std::vector<std::int32_t>& values, OutOfBandForm form) {
  PacketReader(kind, cursor, budget, *this, form).packet(values);
  if (predictor != Predictor::none && !values.empty())
    steps_.push_back({packets_, [predictor, &values] { undoPrediction(predictor, values); }});
  ++packets_;
}

void expectCount(std::size_t found, std::size_t expected, const ByteCursor& cursor) {
  if (found != expected)
    fail("bad_packet",
         "expected a nested packet of " + std::to_string(expected) + " values, found " +
             std::to_string(found),
         cursor.offset());
}

/// Which packets are the second half of a large batch; the longest ones are dealt first. Empty
/// where halves would not pay: on one core streams are faster together.
std::vector<bool> PacketBatch::halfOf() const {
  constexpr std::size_t kLarge = std::size_t{1} << 17U;
  std::size_t all = 0;
  for (const Stream& stream : streams_) all += stream.decoder.left();
  if (packets_ < 2 || all < kLarge || file::parallelThreadCount() < 2) return {};
  struct Packet {
    std::size_t index = 0;
    std::size_t symbols = 0;
  };
  std::vector<Packet> packets(packets_);
  for (std::size_t i = 0; i < packets_; ++i) packets[i].index = i;
  for (const Stream& stream : streams_)
    packets[stream.packet].symbols += stream.decoder.left() / (stream.decoder.isUniform() ? 4 : 1);
  std::ranges::stable_sort(packets, std::ranges::greater(), &Packet::symbols);
  std::vector<bool> isSecond(packets_);
  std::array<std::size_t, 2> dealt{};
  for (const Packet& packet : packets) {
    const std::size_t half = dealt[1] < dealt[0] ? 1 : 0;
    isSecond[packet.index] = half == 1;
    dealt[half] += packet.symbols;
  }
  return isSecond;
}

template <class IsWanted>
void PacketBatch::finish(const IsWanted& isWanted) {
  std::vector<ArithmeticStream*> decoders;
  for (Stream& stream : streams_)
    if (isWanted(stream.packet)) decoders.push_back(&stream.decoder);
  decodeTogether(decoders);
  for (const Step& step : steps_)
    if (isWanted(step.packet)) step.run();
}

void PacketBatch::finish() {
  if (const std::vector<bool> isSecond = halfOf(); !isSecond.empty()) {
    file::sideBySide(
        true, [&] { finish([&](std::size_t packet) { return !isSecond[packet]; }); },
        [&] { finish([&](std::size_t packet) { return isSecond[packet]; }); });
  } else {
    finish([](std::size_t) { return true; });
  }
  streams_.clear();
  steps_.clear();
  packets_ = 0;
}

std::vector<std::int32_t> decodePacket(PacketKind kind, ByteCursor& cursor, Budget& budget,
                                       Predictor predictor, OutOfBandForm form) {
  Values values;
  PacketBatch batch;
  batch.add(kind, cursor, budget, predictor, values, form);
  batch.finish();
  return values;
}

const char* packetCodecName(PacketKind kind, std::span<const std::byte> packet) {
  const std::size_t at = kind == PacketKind::mk1 ? 0 : 4;
  if (packet.size() <= at) return "empty";
  const auto codec = std::to_integer<std::size_t>(packet[at]);
  return codec < std::size(kCodecNames) ? kCodecNames[codec] : "unknown";
}

}  // namespace jt::codec
