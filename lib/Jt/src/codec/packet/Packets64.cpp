#include "codec/packet/Packets64.h"

#include <algorithm>
#include <array>
#include <bit>

#include "codec/packet/Arithmetic.h"
#include "codec/packet/Packets.h"

namespace jt::codec {

namespace {

using Values = std::vector<std::int64_t>;

std::int64_t plus(std::uint64_t value, std::int64_t base) {
  return static_cast<std::int64_t>(value + static_cast<std::uint64_t>(base));
}

std::int64_t signExtended64(std::uint64_t bits, unsigned width) {
  if (width == 0) return 0;
  const unsigned unused = 64 - width;
  return static_cast<std::int64_t>(bits << unused) >> unused;
}

/// A field of up to 64 bits. @param take takes up to 32 bits
template <class Take>
std::uint64_t wideField(unsigned width, const Take& take) {
  if (width <= 32) return take(width);
  const std::uint64_t low = take(32);
  return low | std::uint64_t{take(width - 32)} << 32;
}

std::uint64_t takeWide(WordBits& bits, unsigned width) {
  return wideField(width, [&](unsigned part) { return bits.take(part); });
}

std::int64_t wideScalar(ByteCursor& cursor, const char* what) {
  const std::uint64_t low = cursor.u32(what);
  return static_cast<std::int64_t>(low | std::uint64_t{cursor.u32(what)} << 32);
}

class Reader {
 public:
  Reader(ByteCursor& cursor, Budget& budget, OutOfBandForm form)
      : cursor_(cursor), budget_(budget), form_(form) {}

  Values packet() {
    constexpr int kDeepest = 8;
    if (++depth_ > kDeepest) fail("bad_packet", "packets nested too deep", cursor_.offset());
    Values values = content();
    --depth_;
    return values;
  }

 private:
  Values make(std::size_t count) {
    budget_.spend(std::uint64_t{count} * sizeof(std::int64_t), cursor_.offset());
    return Values(count);
  }

  Values content() {
    const std::size_t count = cursor_.count("value count");
    if (count == 0) return {};
    const std::uint8_t codec = cursor_.u8("codec");
    switch (codec) {
      case 0:
        cursor_.i32("code text length");  // bits or bytes: producers disagree, the count decides
        return plain(count);
      case 1:
        return bitlength(count);
      case 3:
        return arithmetic(count);
      case 4:
        return chopped(count);
      case 5:
        return movedToFront(count);
      default:
        fail("bad_packet", "integer codec " + std::to_string(codec) + " is not known here",
             cursor_.offset() - 1);
    }
  }

  Values plain(std::size_t count) {
    if (count > cursor_.left() / sizeof(std::int64_t))
      fail("truncated", std::to_string(count) + " values of 64 bits do not fit", cursor_.offset());
    Values values = make(count);
    for (std::int64_t& value : values) value = wideScalar(cursor_, "value");
    return values;
  }

  WordBits codeText() {
    const std::size_t bits = cursor_.count("code text length");
    const std::size_t offset = cursor_.offset();
    return {cursor_.take((bits + 31) / 32 * 4, "code text"), bits, cursor_.bigEndian(), offset};
  }

  Values bitlength(std::size_t count) {
    WordBits bits = codeText();
    Values values = make(count);
    if (bits.take(1) != 0) {
      variableWidth(bits, values);
      return values;
    }
    const auto min = static_cast<std::int64_t>(takeWide(bits, 64));
    const std::uint64_t max = takeWide(bits, 64);
    // Producers size the fields by the low word of the range alone.
    const auto range = static_cast<std::uint32_t>(max - static_cast<std::uint64_t>(min));
    const auto width = static_cast<unsigned>(std::bit_width(range));
    for (std::int64_t& value : values) value = plus(bits.take(width), min);
    return values;
  }

  /// Runs of values of one width. Terminates: each run consumes bits.
  static void variableWidth(WordBits& bits, Values& values) {
    const auto mean = static_cast<std::int64_t>(takeWide(bits, 64));
    std::int32_t width = 0;
    for (std::size_t at = 0; at < values.size();) {
      for (bool more = true; more;) {
        const std::int32_t change = bits.takeSigned(4);
        width += change;
        if (width < 0 || width > 64)
          fail("bad_packet", "a field width of " + std::to_string(width), bits.offset());
        more = change == 7 || change == -8;
      }
      const std::size_t run = bits.take(4);
      if (run > values.size() - at)
        fail("bad_packet", "a run passes the end of the values", bits.offset());
      const auto fieldWidth = static_cast<unsigned>(width);
      for (const std::size_t end = at + run; at < end; ++at)
        values[at] =
            plus(static_cast<std::uint64_t>(signExtended64(takeWide(bits, fieldWidth), fieldWidth)),
                 mean);
    }
  }

  struct Context {
    ContextTable symbols;  ///< the value of an entry is its position
    Values values;         ///< of each entry
    std::vector<bool> escapes;
  };

  Context context() {
    ByteBits bits(cursor_);
    const std::uint32_t count = bits.take(16, "context entry count");
    const std::uint32_t occurrenceWidth = bits.take(6, "occurrence width");
    const std::uint32_t valueWidth = bits.take(7, "value width");
    const auto take = [&](unsigned width) { return bits.take(width, "context entry"); };
    const auto min = static_cast<std::int64_t>(wideField(64, take));
    const std::uint64_t entryBits = 1 + std::uint64_t{occurrenceWidth} + valueWidth;
    if (count == 0 || occurrenceWidth > 32 || valueWidth > 64 || count * entryBits > bits.left())
      fail("bad_context", "a context of " + std::to_string(count) + " entries does not fit",
           bits.offset());
    Context context;
    context.values = make(count);
    std::uint64_t total = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
      context.escapes.push_back(take(1) != 0);
      const std::uint32_t occurrences = take(occurrenceWidth);
      total += occurrences;
      context.values[i] = plus(wideField(valueWidth, take), min);
      context.symbols.entries.push_back({false, occurrences, static_cast<std::int32_t>(i), 0});
    }
    if (total == 0 || total > 0x7fffffffU)
      fail("bad_context", "the occurrences of a context add up to " + std::to_string(total),
           bits.offset());
    context.symbols.total = static_cast<std::uint32_t>(total);
    return context;
  }

  Values outOfBand() {
    return form_ == OutOfBandForm::nested ? packet() : plain(cursor_.count("out-of-band count"));
  }

  Values arithmetic(std::size_t count) {
    const WordBits bits = codeText();
    const Context table = context();
    const bool hasEscape = std::ranges::find(table.escapes, true) != table.escapes.end();
    Values rest = hasEscape ? outOfBand() : Values();
    if (bits.left() == 0 && rest.size() == count) return rest;
    Values values = make(count);
    budget_.spend(std::uint64_t{count} * sizeof(std::int32_t), cursor_.offset());
    std::vector<std::int32_t> entries(count);
    OutOfBand none({});
    decodeArithmetic(bits, std::span(&table.symbols, 1), count, none, entries);
    std::size_t used = 0;
    for (std::size_t i = 0; i < count; ++i) {
      const auto entry = static_cast<std::size_t>(entries[i]);
      if (table.escapes[entry] && used == rest.size())
        fail("bad_packet", "more escapes than out-of-band values", cursor_.offset());
      values[i] = table.escapes[entry] ? rest[used++] : table.values[entry];
    }
    return values;
  }

  Values chopped(std::size_t count) {
    const unsigned chop = cursor_.u8("chop bits");
    const std::int64_t bias = wideScalar(cursor_, "value bias");
    const unsigned span = cursor_.u8("value span bits");
    if (chop < 1 || chop > span || span > 64)
      fail("bad_packet",
           std::to_string(chop) + " bits chopped off values of " + std::to_string(span) + " bits",
           cursor_.offset());
    Values values = packet();
    const Values low = packet();
    expectCount(values.size(), count, cursor_);
    expectCount(low.size(), count, cursor_);
    const unsigned shift = span - chop;
    for (std::size_t i = 0; i < count; ++i)
      values[i] =
          plus(static_cast<std::uint64_t>(low[i]) | static_cast<std::uint64_t>(values[i]) << shift,
               bias);
    return values;
  }

  Values movedToFront(std::size_t count) {
    constexpr std::size_t kWindow = 16;
    const Values newValues = packet();
    Values values = packet();
    expectCount(values.size(), count, cursor_);
    std::array<std::int64_t, kWindow> window{};
    std::size_t used = 0;
    std::size_t taken = 0;
    for (std::int64_t& value : values) {
      std::size_t place = 0;
      if (value == -1) {
        if (taken == newValues.size())
          fail("bad_packet", "fewer new values than places for them", cursor_.offset());
        used = std::min(used + 1, kWindow);
        place = used - 1;
        value = newValues[taken++];
      } else {
        if (value < 0 || static_cast<std::size_t>(value) >= used)
          fail("bad_packet", "a window offset of " + std::to_string(value), cursor_.offset());
        place = static_cast<std::size_t>(value);
        value = window[place];
      }
      for (; place > 0; --place) window[place] = window[place - 1];
      window[0] = value;
    }
    return values;
  }

  ByteCursor& cursor_;
  Budget& budget_;
  OutOfBandForm form_;
  int depth_ = 0;
};

}  // namespace

std::vector<std::int64_t> decodePacket64(ByteCursor& cursor, Budget& budget, OutOfBandForm form) {
  return Reader(cursor, budget, form).packet();
}

void encodePacket64(Bytes& out, bool bigEndian, std::span<const std::int64_t> values) {
  append(out, static_cast<std::int32_t>(values.size()), bigEndian);
  if (values.empty()) return;
  // Bitlength of variable width, fixed at 64 bits: the fixed form loses the high words.
  constexpr std::size_t kLongestRun = 15;
  WordBitWriter bits;
  const auto putWide = [&](std::uint64_t value) {
    bits.put(static_cast<std::uint32_t>(value), 32);
    bits.put(static_cast<std::uint32_t>(value >> 32), 32);
  };
  bits.put(1, 1);
  putWide(0);  // mean
  for (int i = 0; i < 9; ++i) bits.put(7, 4);
  for (std::size_t at = 0; at < values.size(); at += kLongestRun) {
    const auto run = values.subspan(at, std::min(kLongestRun, values.size() - at));
    bits.put(at == 0 ? 1 : 0, 4);  // 9 * 7 + 1 is 64
    bits.put(static_cast<std::uint32_t>(run.size()), 4);
    for (const std::int64_t value : run) putWide(static_cast<std::uint64_t>(value));
  }
  const CodeText text = std::move(bits).finish();
  append(out, std::uint8_t{1}, bigEndian);
  append(out, static_cast<std::int32_t>(text.bits), bigEndian);
  text.write(out, bigEndian);
}

}  // namespace jt::codec
