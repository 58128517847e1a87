#pragma once

#include <cstddef>
#include <string_view>

#include "HostUtf8.h"

namespace tool {

/// U+FFFD, which represents bytes that are no character.
inline constexpr std::string_view kReplacement = "\xef\xbf\xbd";

/// Bytes of the character that `text` begins with; 0 when it does not begin with well-formed UTF-8
/// (surrogates and overlong forms are not). @pre `text` is not empty
inline std::size_t utf8Length(std::string_view text) {
  char32_t character = 0;
  const std::size_t size = host::decodeUtf8(text, character);
  const bool isSurrogate = host::isHighSurrogate(character) || host::isLowSurrogate(character);
  return isSurrogate ? 0 : size;
}

}  // namespace tool
