#include "ApiGlobalUniqueId.h"

#include "HostRandom.h"

ApiGlobalUniqueId ApiGlobalUniqueId::create() {
  std::array<std::uint32_t, 4> words = host::randomBits();
  words[1] = (words[1] & 0xFFFF0FFFU) | 0x00004000U;  // version 4
  words[2] = (words[2] & 0x3FFFFFFFU) | 0x80000000U;  // the variant that has versions

  RWClassicCString text;
  for (std::size_t digit = 0; digit < 32; ++digit) {
    if (digit == 8 || digit == 12 || digit == 16 || digit == 20) text.push_back('-');
    const std::uint32_t word = words[digit / 8];
    text.push_back("0123456789abcdef"[(word >> (28 - 4 * (digit % 8))) & 0xFU]);
  }
  return ApiGlobalUniqueId(std::move(text));
}
