#include <algorithm>
#include <bit>

#include "Bits.h"
#include "Packets.h"

namespace jt::codec {

namespace {

constexpr std::byte kBitlength{1};

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

}  // namespace

void encodePacket(PacketKind kind, Bytes& out, bool bigEndian, std::vector<std::int32_t> values,
                  Predictor predictor) {
  predict(predictor, values);
  const auto count = static_cast<std::int32_t>(values.size());
  if (kind == PacketKind::mk1) {
    out.push_back(std::byte{0});
    append(out, count, bigEndian);
    for (const std::int32_t value : values) append(out, value, bigEndian);
    return;
  }
  append(out, count, bigEndian);
  if (count == 0) return;
  out.push_back(kBitlength);
  const auto [least, most] = std::ranges::minmax(values);
  WordBitWriter bits;
  bits.put(0, 1);
  if (kind == PacketKind::mk2) {
    bits.put(signedWidth(least), 6);
    bits.put(signedWidth(most), 6);
    bits.put(static_cast<std::uint32_t>(least), signedWidth(least));
    bits.put(static_cast<std::uint32_t>(most), signedWidth(most));
  } else {
    putNibbles(bits, least);
    putNibbles(bits, most);
  }
  const auto min = static_cast<std::uint32_t>(least);
  const auto width = static_cast<unsigned>(std::bit_width(static_cast<std::uint32_t>(most) - min));
  for (const std::int32_t value : values) bits.put(static_cast<std::uint32_t>(value) - min, width);
  bits.finish(out, bigEndian);
}

}  // namespace jt::codec
