#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace host {

/// U+FFFD, in the place of what is no character.
inline constexpr char32_t kReplacementCharacter = 0xfffd;

/// True for the first unit of a pair of UTF-16 surrogates.
constexpr bool isHighSurrogate(char32_t unit) noexcept { return (unit & ~0x3ffU) == 0xd800; }
/// True for the second unit of a pair.
constexpr bool isLowSurrogate(char32_t unit) noexcept { return (unit & ~0x3ffU) == 0xdc00; }
/// The character of a pair of surrogates.
constexpr char32_t characterOf(char32_t high, char32_t low) noexcept {
  return 0x10000 + ((high & 0x3ff) << 10) + (low & 0x3ff);
}

/// Bytes of a character in UTF-8.
constexpr std::size_t utf8Size(char32_t character) noexcept {
  return character < 0x80 ? 1 : character < 0x800 ? 2 : character < 0x10000 ? 3 : 4;
}

/// Appends a character in UTF-8; a lone surrogate becomes three bytes.
/// @pre character <= 0x10ffff
inline void appendUtf8(std::string& text, char32_t character) {
  constexpr std::uint8_t kLead[] = {0, 0, 0xc0, 0xe0, 0xf0};
  const std::size_t size = utf8Size(character);
  std::size_t shift = 6 * (size - 1);
  text += static_cast<char>(kLead[size] | (character >> shift));
  while (shift > 0) {
    shift -= 6;
    text += static_cast<char>(0x80 | ((character >> shift) & 0x3f));
  }
}

/// Decodes the character at the front of a text. Surrogates are taken, overlong forms and values
/// beyond U+10FFFF are not. @pre `text` is not empty
/// @return its bytes; 0 when no character starts there
inline std::size_t decodeUtf8(std::string_view text, char32_t& character) noexcept {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) {
    character = lead;
    return 1;
  }
  const std::size_t size = lead < 0xc2   ? 0
                           : lead < 0xe0 ? 2
                           : lead < 0xf0 ? 3
                           : lead < 0xf5 ? 4
                                         : 0;
  if (size == 0 || size > text.size()) return 0;
  character = lead & (0x7fU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
    character = (character << 6) | (byte(i) & 0x3fU);
  }
  return character <= 0x10ffff && utf8Size(character) == size ? size : 0;
}

}  // namespace host
