#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "JtExport.h"
#include "JtHash.h"

/// 128-bit identifier of a segment or an object type, in the field form of ISO 14306: the first
/// three fields follow the byte order of the file, the last eight bytes are stored as they are.
struct JtGuid {
  std::uint32_t data1 = 0;
  std::uint16_t data2 = 0;
  std::uint16_t data3 = 0;
  std::array<std::uint8_t, 8> data4{};

  friend auto operator<=>(const JtGuid&, const JtGuid&) = default;
  /// As two words: ids are compared for every element of a file.
  friend constexpr bool operator==(const JtGuid& a, const JtGuid& b) noexcept {
    using Words = std::array<std::uint64_t, 2>;
    const auto left = std::bit_cast<Words>(a);
    const auto right = std::bit_cast<Words>(b);
    return ((left[0] ^ right[0]) | (left[1] ^ right[1])) == 0;
  }

  /// True when every bit is 0.
  bool isNull() const noexcept { return *this == JtGuid{}; }
  /// The usual text, "10dd1035-2ac8-11d1-9b6b-0080c7bb5997".
  JT_API std::string text() const;
  /// Reads the usual text, with or without braces; nothing when it is not one.
  static constexpr std::optional<JtGuid> parse(std::string_view text) noexcept;
  /// A new random identifier (version 4).
  JT_API static JtGuid random();
  /// An identifier (version 8) that follows from another one and a number: always the same.
  JT_API static JtGuid derived(const JtGuid& from, std::uint64_t number);
};

constexpr std::optional<JtGuid> JtGuid::parse(std::string_view text) noexcept {
  constexpr std::string_view kForm = "00000000-0000-0000-0000-000000000000";
  constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
  if (text.size() == kForm.size() + 2 && text.front() == '{' && text.back() == '}')
    text = text.substr(1, kForm.size());
  if (text.size() != kForm.size()) return std::nullopt;
  std::array<std::uint8_t, 16> bytes{};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if ((text[i] == '-') != (kForm[i] == '-')) return std::nullopt;
    if (text[i] == '-') continue;
    const std::size_t digit = kDigits.find(text[i]);
    if (digit == std::string_view::npos) return std::nullopt;
    std::uint8_t& byte = bytes[digits++ / 2];
    byte = static_cast<std::uint8_t>(std::size_t{byte} << 4 | (digit < 16 ? digit : digit - 6));
  }
  JtGuid guid;
  for (std::size_t i = 0; i < 4; ++i) guid.data1 = guid.data1 << 8 | bytes[i];
  guid.data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
  guid.data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
  for (std::size_t i = 0; i < guid.data4.size(); ++i) guid.data4[i] = bytes[8 + i];
  return guid;
}

template <>
struct std::hash<JtGuid> {
  std::size_t operator()(const JtGuid& id) const noexcept {
    std::uint64_t tail = 0;
    std::memcpy(&tail, id.data4.data(), sizeof tail);
    const std::uint64_t head =
        (std::uint64_t{id.data1} << 32) | (std::uint64_t{id.data2} << 16) | id.data3;
    return static_cast<std::size_t>(jt::mixHash(jt::mixHash(0, head), tail));
  }
};
