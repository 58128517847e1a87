// One integer packet; the first byte chooses its form, byte order and predictor. What was decoded
// is encoded and decoded again.

#include <cstdio>
#include <cstdlib>

#include "JtFormatError.h"
#include "codec/packet/Packets.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace jt::codec;
  if (size == 0) return 0;
  const auto kind = static_cast<PacketKind>((data[0] & 3) % 3);
  const bool bigEndian = (data[0] & 4) != 0;
  const auto predictor = static_cast<Predictor>((data[0] >> 4) % 9);
  const auto packet = std::as_bytes(std::span(data, size).subspan(1));
  std::vector<std::int32_t> values;
  try {
    ByteCursor cursor(packet, bigEndian);
    Budget budget = Budget::forInput(packet.size());
    values = decodePacket(kind, cursor, budget, predictor);
  } catch (const JtFormatError&) {
    return 0;
  }
  Bytes again;
  encodePacket(kind, again, bigEndian, values, predictor);
  ByteCursor cursor(again, bigEndian);
  Budget budget(4 * values.size());
  if (decodePacket(kind, cursor, budget, predictor) != values || cursor.left() != 0) {
    std::fprintf(stderr, "the encoded packet means something else\n");
    std::abort();
  }
  return 0;
}
