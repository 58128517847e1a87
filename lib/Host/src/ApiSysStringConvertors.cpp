#include "ApiSysStringConvertors.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isHighSurrogate(char32_t c) { return c >= 0xD800 && c <= 0xDBFF; }
bool isLowSurrogate(char32_t c) { return c >= 0xDC00 && c <= 0xDFFF; }

/// Takes one character off the front of `text`; a byte that starts none is taken alone.
char32_t takeCharacter(std::string_view& text) {
  const auto byteAt = [&text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byteAt(0);
  std::size_t length = 1;
  char32_t value = kReplacement;
  char32_t least = 0;
  if (lead < 0x80) {
    value = lead;
  } else if ((lead & 0xE0) == 0xC0) {
    length = 2, value = lead & 0x1FU, least = 0x80;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, value = lead & 0x0FU, least = 0x800;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, value = lead & 0x07U, least = 0x10000;
  }
  bool valid = length <= text.size();
  for (std::size_t i = 1; valid && i < length; ++i) {
    valid = (byteAt(i) & 0xC0) == 0x80;
    value = (value << 6) | (byteAt(i) & 0x3FU);
  }
  if (!valid || value < least || value > 0x10FFFF) {
    length = 1;
    value = kReplacement;
  }
  text.remove_prefix(length);
  return value;
}

void appendUtf8(RWClassicCString& out, char32_t c) {
  const auto put = [&out](char32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6));
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | (c >> 18));
    put(0x80 | ((c >> 12) & 0x3F));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  }
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
    if (isHighSurrogate(c) && i + 1 < text.size()) {
      const auto next = static_cast<char32_t>(text[i + 1]);
      if (isLowSurrogate(next)) {
        c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
        ++i;
      }
    }
    appendUtf8(narrow, c > 0x10FFFF ? kReplacement : c);
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
