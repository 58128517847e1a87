#include "JtString.h"

#include <algorithm>
#include <cstdint>

namespace {

constexpr char32_t kReplacement = 0xfffd;

bool isHighSurrogate(char32_t value) { return (value & ~char32_t{0x3ff}) == 0xd800; }
bool isLowSurrogate(char32_t value) { return (value & ~char32_t{0x3ff}) == 0xdc00; }

/// The code point at `place`, which moves behind it. A surrogate without partner is its own value.
char32_t nextCodePoint(const std::u16string& units, std::size_t& place) {
  const char32_t unit = units[place++];
  if (!isHighSurrogate(unit) || place == units.size() || !isLowSurrogate(units[place])) return unit;
  return 0x10000 + ((unit & 0x3ff) << 10) + (units[place++] & char32_t{0x3ff});
}

void appendUnits(std::u16string& units, char32_t value) {
  if (value > 0x10ffff) value = kReplacement;
  if (value >= 0x10000) {
    units += static_cast<char16_t>(0xd7c0 + (value >> 10));
    value = 0xdc00 | (value & 0x3ff);
  }
  units += static_cast<char16_t>(value);
}

std::size_t utf8Size(char32_t value) {
  return value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
}

void appendUtf8(std::string& text, char32_t value) {
  static constexpr std::uint8_t kLead[] = {0, 0, 0xc0, 0xe0, 0xf0};
  const std::size_t size = utf8Size(value);
  std::size_t shift = 6 * (size - 1);
  text += static_cast<char>(kLead[size] | (value >> shift));
  while (shift > 0) {
    shift -= 6;
    text += static_cast<char>(0x80 | ((value >> shift) & 0x3f));
  }
}

/// Bytes of the sequence at the front of `text` and its value; 0 when no sequence starts there.
/// Surrogates are taken, overlong forms and values beyond U+10FFFF are not.
std::size_t decodeUtf8(std::string_view text, char32_t& value) {
  const auto byte = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  const std::uint8_t lead = byte(0);
  if (lead < 0x80) {
    value = lead;
    return 1;
  }
  const std::size_t size = lead < 0xc2   ? 0
                           : lead < 0xe0 ? 2
                           : lead < 0xf0 ? 3
                           : lead < 0xf5 ? 4
                                         : 0;
  if (size == 0 || size > text.size()) return 0;
  value = lead & (0x7fU >> size);
  for (std::size_t i = 1; i < size; ++i) {
    if ((byte(i) & 0xc0) != 0x80) return 0;
    value = (value << 6) | (byte(i) & 0x3fU);
  }
  return value <= 0x10ffff && utf8Size(value) == size ? size : 0;
}

}  // namespace

JtString::JtString(const char* text)
    : JtString(text ? std::string_view(text) : std::string_view{}) {}

JtString::JtString(std::string_view text) {
  units_.reserve(text.size());
  while (!text.empty()) {
    char32_t value = 0;
    const std::size_t size = decodeUtf8(text, value);
    appendUnits(units_, size ? value : kReplacement);
    text.remove_prefix(std::max<std::size_t>(size, 1));
  }
}

JtString::JtString(std::wstring_view text) {
  units_.reserve(text.size());
  if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
    for (const wchar_t unit : text) units_ += static_cast<char16_t>(unit);
  } else {
    for (const wchar_t value : text) appendUnits(units_, static_cast<char32_t>(value));
  }
}

std::string JtString::stringToMbs() const {
  std::string text;
  text.reserve(units_.size());
  for (std::size_t place = 0; place < units_.size();)
    appendUtf8(text, nextCodePoint(units_, place));
  return text;
}

std::wstring JtString::toWide() const {
  std::wstring text;
  text.reserve(units_.size());
  if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
    for (const char16_t unit : units_) text += static_cast<wchar_t>(unit);
  } else {
    for (std::size_t place = 0; place < units_.size();)
      text += static_cast<wchar_t>(nextCodePoint(units_, place));
  }
  return text;
}

std::size_t JtString::numBytes() const {
  std::size_t count = 0;
  for (std::size_t place = 0; place < units_.size();)
    count += utf8Size(nextCodePoint(units_, place));
  return count;
}

bool JtString::isAscii() const noexcept {
  return std::all_of(units_.begin(), units_.end(), [](char16_t unit) { return unit < 0x80; });
}

void JtString::insert(std::size_t position, const JtString& text) {
  units_.insert(std::min(position, units_.size()), text.units_);
}

void JtString::remove(std::size_t position, std::size_t count) {
  if (position < units_.size()) units_.erase(position, count);
}
