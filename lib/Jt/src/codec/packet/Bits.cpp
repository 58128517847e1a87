#include "codec/packet/Bits.h"

namespace jt::codec {

std::vector<std::byte> WordBits::rest() const {
  const auto words = static_cast<std::size_t>(end_ - at_) / 4;
  std::vector<std::byte> bytes(words * 4 + kRestPadding);
  for (std::size_t i = 0; i < words; ++i) {
    std::uint32_t word;
    std::memcpy(&word, at_ + 4 * i, sizeof word);
    word = inFileOrder(inFileOrder(word, bigEndian_), true);
    std::memcpy(bytes.data() + 4 * i, &word, sizeof word);
  }
  return bytes;
}

}  // namespace jt::codec
