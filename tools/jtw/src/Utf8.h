#pragma once

#include <cstddef>
#include <string_view>

namespace tool {

/// U+FFFD, which stands for bytes that are no character.
inline constexpr std::string_view kReplacement = "\xef\xbf\xbd";

/// Bytes of the character that `text` begins with; 0 when it does not begin with well-formed UTF-8
/// (surrogates and overlong forms are not). @pre `text` is not empty
inline std::size_t utf8Length(std::string_view text) {
  const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
  const auto continues = [&](std::size_t index, unsigned low = 0x80, unsigned high = 0xbf) {
    return index < text.size() && byte(index) >= low && byte(index) <= high;
  };
  const unsigned first = byte(0);
  if (first < 0x80) return 1;
  if (first >= 0xc2 && first <= 0xdf) return continues(1) ? 2 : 0;
  if (first >= 0xe0 && first <= 0xef) {
    const unsigned low = first == 0xe0 ? 0xa0 : 0x80;
    const unsigned high = first == 0xed ? 0x9f : 0xbf;
    return continues(1, low, high) && continues(2) ? 3 : 0;
  }
  if (first >= 0xf0 && first <= 0xf4) {
    const unsigned low = first == 0xf0 ? 0x90 : 0x80;
    const unsigned high = first == 0xf4 ? 0x8f : 0xbf;
    return continues(1, low, high) && continues(2) && continues(3) ? 4 : 0;
  }
  return 0;
}

}  // namespace tool
