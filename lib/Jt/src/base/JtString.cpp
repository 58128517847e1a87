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

/// The text of characters that `forEach` hands on one by one, the same each time it is called.
template <class ForEach>
JtString textOf(const ForEach& forEach) {
  std::size_t count = 0;
  forEach([&](char32_t value) { count += value < 0x10000 ? 1 : 2; });
  return JtString::filled(count, [&](char16_t* unit) {
    forEach([&](char32_t value) {
      if (value >= 0x10000) {
        *unit++ = static_cast<char16_t>(0xd7c0 + (value >> 10));
        value = 0xdc00 | (value & 0x3ff);
      }
      *unit++ = static_cast<char16_t>(value);
    });
  });
}

}  // namespace

JtString::JtString(const char* text)
    : JtString(text ? std::string_view(text) : std::string_view{}) {}

JtString::JtString(std::string_view text)
    : JtString(textOf([text](const auto& take) {
        for (std::string_view rest = text; !rest.empty();) {
          char32_t value = 0;
          const std::size_t size = host::decodeUtf8(rest, value);
          take(size ? value : host::kReplacementCharacter);
          rest.remove_prefix(std::max<std::size_t>(size, 1));
        }
      })) {}

JtString::JtString(std::wstring_view text)
    : JtString(textOf([text](const auto& take) {
        for (const wchar_t each : text) {
          const auto value = static_cast<char32_t>(each);
          take(value <= 0x10ffff ? value : host::kReplacementCharacter);
        }
      })) {}

JtString::JtString(std::u16string_view units) {
  if (units.empty()) return;
  allocate(units.size());
  units.copy(units_, units.size());
}

std::string JtString::stringToMbs() const {
  std::string text;
  text.reserve(length_);
  for (std::size_t place = 0; place < length_;)
    host::appendUtf8(text, nextCodePoint(units(), place));
  return text;
}

std::wstring JtString::toWide() const {
  std::wstring text;
  text.reserve(length_);
  if constexpr (sizeof(wchar_t) == sizeof(char16_t)) {
    for (const char16_t unit : units()) text += static_cast<wchar_t>(unit);
  } else {
    for (std::size_t place = 0; place < length_;)
      text += static_cast<wchar_t>(nextCodePoint(units(), place));
  }
  return text;
}

std::size_t JtString::numBytes() const {
  std::size_t count = 0;
  for (std::size_t place = 0; place < length_;)
    count += host::utf8Size(nextCodePoint(units(), place));
  return count;
}

bool JtString::isAscii() const noexcept {
  return std::ranges::all_of(units(), [](char16_t unit) { return unit < 0x80; });
}

void JtString::insert(std::size_t position, const JtString& text) {
  std::u16string changed(units());
  changed.insert(std::min(position, length_), text.units());
  *this = JtString(std::u16string_view(changed));
}

void JtString::remove(std::size_t position, std::size_t count) {
  if (position >= length_) return;
  std::u16string changed(units());
  changed.erase(position, count);
  *this = JtString(std::u16string_view(changed));
}
