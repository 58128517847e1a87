#include "JtGuid.h"

#include "HostRandom.h"

namespace {

/// Mixes every bit into all others.
std::uint64_t mixed(std::uint64_t bits) {
  bits = (bits ^ (bits >> 30)) * 0xbf58476d1ce4e5b9U;
  bits = (bits ^ (bits >> 27)) * 0x94d049bb133111ebU;
  return bits ^ (bits >> 31);
}

void appendHex(std::string& text, std::uint32_t value, int digits) {
  for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
    text += "0123456789abcdef"[(value >> shift) & 15];
}

}  // namespace

std::string JtGuid::text() const {
  std::string result;
  result.reserve(36);
  appendHex(result, data1, 8);
  result += '-';
  appendHex(result, data2, 4);
  result += '-';
  appendHex(result, data3, 4);
  for (std::size_t i = 0; i < data4.size(); ++i) {
    if (i == 0 || i == 2) result += '-';
    appendHex(result, data4[i], 2);
  }
  return result;
}

JtGuid JtGuid::random() {
  const auto bits = host::randomBits();
  JtGuid guid;
  guid.data1 = bits[0];
  guid.data2 = static_cast<std::uint16_t>(bits[1]);
  guid.data3 = static_cast<std::uint16_t>(((bits[1] >> 16) & 0x0fff) | 0x4000);
  std::memcpy(guid.data4.data(), &bits[2], guid.data4.size());
  guid.data4[0] = static_cast<std::uint8_t>((guid.data4[0] & 0x3f) | 0x80);
  return guid;
}

JtGuid JtGuid::derived(const JtGuid& from, std::uint64_t number) {
  std::uint64_t tail = 0;
  for (const std::uint8_t byte : from.data4) tail = tail << 8 | byte;
  const std::uint64_t head =
      std::uint64_t{from.data1} << 32 | std::uint64_t{from.data2} << 16 | from.data3;
  const std::uint64_t first = mixed(mixed(mixed(head) + tail) + number);
  std::uint64_t second = mixed(first + number);
  JtGuid guid;
  guid.data1 = static_cast<std::uint32_t>(first >> 32);
  guid.data2 = static_cast<std::uint16_t>(first >> 16);
  guid.data3 = static_cast<std::uint16_t>((first & 0x0fff) | 0x8000);
  for (std::uint8_t& byte : guid.data4) {
    byte = static_cast<std::uint8_t>(second);
    second >>= 8;
  }
  guid.data4[0] = static_cast<std::uint8_t>((guid.data4[0] & 0x3f) | 0x80);
  return guid;
}
