#include "JtByteText.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace jt {
namespace {

constexpr char16_t kByteUnits = 0xdc00;  // plus the byte, which is 0x80 or greater

bool isHighSurrogate(char16_t unit) { return (unit & 0xfc00) == 0xd800; }
bool isByteUnit(char16_t unit) { return unit >= kByteUnits + 0x80 && unit <= kByteUnits + 0xff; }

/// Length of the character that `text` begins with; 0 when it begins with none. Encoded surrogates
/// are none.
std::size_t characterSize(std::string_view text) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byte(0);
  const std::size_t size = lead < 0x80   ? 1
                           : lead < 0xc2 ? 0
                           : lead < 0xe0 ? 2
                           : lead < 0xf0 ? 3
                                         : 4;
  if (size == 0 || size > text.size() || lead > 0xf4) return 0;
  for (std::size_t i = 1; i < size; ++i)
    if ((byte(i) & 0xc0) != 0x80) return 0;
  const bool isOverlong = (lead == 0xe0 && byte(1) < 0xa0) || (lead == 0xf0 && byte(1) < 0x90);
  const bool isSurrogate = lead == 0xed && byte(1) >= 0xa0;
  const bool isBeyond = lead == 0xf4 && byte(1) >= 0x90;
  return isOverlong || isSurrogate || isBeyond ? 0 : size;
}

}  // namespace

JtString textOfBytes(std::string_view bytes) {
  std::u16string units;
  while (!bytes.empty()) {
    std::size_t valid = 0;
    while (valid < bytes.size()) {
      const std::size_t size = characterSize(bytes.substr(valid));
      if (size == 0) break;
      valid += size;
    }
    units += JtString(bytes.substr(0, valid)).units();
    bytes.remove_prefix(valid);
    if (bytes.empty()) break;
    units += static_cast<char16_t>(kByteUnits + static_cast<std::uint8_t>(bytes.front()));
    bytes.remove_prefix(1);
  }
  return JtString(std::move(units));
}

std::string bytesOfText(const JtString& text) {
  const std::u16string_view units = text.units();
  std::string bytes;
  for (std::size_t place = 0; place < units.size();) {
    std::size_t end = place;
    while (end < units.size() &&
           !(isByteUnit(units[end]) && (end == place || !isHighSurrogate(units[end - 1]))))
      ++end;
    bytes += JtString(units.substr(place, end - place)).stringToMbs();
    for (place = end; place < units.size() && isByteUnit(units[place]); ++place)
      bytes += static_cast<char>(units[place] - kByteUnits);
  }
  return bytes;
}

}  // namespace jt
