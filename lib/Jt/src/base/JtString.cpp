#include "JtString.h"

#include <algorithm>

#include "HostUtf8.h"

namespace {

/// The code point at `place`, which moves behind it. A surrogate without partner is its own value.
char32_t nextCodePoint(std::u16string_view units, std::size_t& place) {
  const char32_t unit = units[place++];
  if (!host::isHighSurrogate(unit) || place == units.size() || !host::isLowSurrogate(units[place]))
    return unit;
  return host::characterOf(unit, units[place++]);
}

template <class Units>
void appendUnits(Units& units, char32_t value) {
  if (value > 0x10ffff) value = host::kReplacementCharacter;
  if (value >= 0x10000) {
    units += static_cast<char16_t>(0xd7c0 + (value >> 10));
    value = 0xdc00 | (value & 0x3ff);
  }
  units += static_cast<char16_t>(value);
}

}  // namespace

JtString::JtString(const char* text)
    : JtString(text ? std::string_view(text) : std::string_view{}) {}

JtString::JtString(std::string_view text) {
  units_.reserve(text.size());
  while (!text.empty()) {
    char32_t value = 0;
    const std::size_t size = host::decodeUtf8(text, value);
    appendUnits(units_, size ? value : host::kReplacementCharacter);
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
    host::appendUtf8(text, nextCodePoint(units_, place));
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
    count += host::utf8Size(nextCodePoint(units_, place));
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
