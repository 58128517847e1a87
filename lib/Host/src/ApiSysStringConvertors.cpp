#include "ApiSysStringConvertors.h"

#include <algorithm>
#include <cstdint>

#include "HostUtf8.h"

namespace {

/// Takes one character off the front of `text`; a byte that starts none is taken alone.
char32_t takeCharacter(std::string_view& text) {
  char32_t character = 0;
  const std::size_t size = host::decodeUtf8(text, character);
  text.remove_prefix(std::max<std::size_t>(size, 1));
  return size > 0 ? character : host::kReplacementCharacter;
}

void appendWide(RWClassicWString& out, char32_t c) {
  if constexpr (sizeof(wchar_t) == 2) {
    if (c >= 0x10000) {
      out.push_back(static_cast<wchar_t>(0xD800 + ((c - 0x10000) >> 10)));
      c = 0xDC00 + ((c - 0x10000) & 0x3FF);
    }
  }
  out.push_back(static_cast<wchar_t>(c));
}

}  // namespace

RWClassicWString ApiSysStringConvertors::RWCStringToUnicode(std::string_view text) {
  RWClassicWString wide;
  wide.reserve(text.size());
  while (!text.empty()) appendWide(wide, takeCharacter(text));
  return wide;
}

RWClassicCString ApiSysStringConvertors::UnicodeToRWCString(std::wstring_view text) {
  RWClassicCString narrow;
  narrow.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    auto c = static_cast<char32_t>(text[i]);
    const bool isPair = host::isHighSurrogate(c) && i + 1 < text.size() &&
                        host::isLowSurrogate(static_cast<char32_t>(text[i + 1]));
    if (isPair) c = host::characterOf(c, static_cast<char32_t>(text[++i]));
    host::appendUtf8(narrow, c > 0x10FFFF ? host::kReplacementCharacter : c);
  }
  return narrow;
}

bool ApiSysStringConvertors::isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<std::uint8_t>(c) - 1U < 127U; });
}

bool ApiSysStringConvertors::isAscii(std::wstring_view text) {
  return std::all_of(text.begin(), text.end(), [](wchar_t c) { return c >= 1 && c <= 127; });
}

RWClassicCString ApiSysStringConvertors::toAscii(std::wstring_view text) {
  RWClassicCString ascii(text.size(), '?');
  std::transform(text.begin(), text.end(), ascii.begin(),
                 [](wchar_t c) { return c >= 1 && c <= 127 ? static_cast<char>(c) : '?'; });
  return ascii;
}
