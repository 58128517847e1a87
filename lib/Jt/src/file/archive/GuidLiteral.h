#pragma once

#include <stdexcept>
#include <string_view>

#include "JtGuid.h"

namespace jt::file {

/// An identifier that the code knows, "10dd1035-2ac8-11d1-9b6b-0080c7bb5997"_guid: read by the
/// compiler, which refuses any other form. Reading those of a table when the program starts would
/// cost more than reading a small file.
consteval JtGuid operator""_guid(const char* text, std::size_t size) {
  constexpr std::string_view kForm = "00000000-0000-0000-0000-000000000000";
  if (size != kForm.size()) throw std::invalid_argument("length");
  std::array<std::uint8_t, 16> bytes{};
  std::size_t digits = 0;
  for (std::size_t i = 0; i < size; ++i) {
    if ((text[i] == '-') != (kForm[i] == '-')) throw std::invalid_argument("dashes");
    if (text[i] == '-') continue;
    const std::size_t digit = std::string_view("0123456789abcdef").find(text[i]);
    if (digit == std::string_view::npos) throw std::invalid_argument("digit");
    auto& byte = bytes[digits++ / 2];
    byte = static_cast<std::uint8_t>(std::size_t{byte} << 4 | digit);
  }
  JtGuid id;
  for (std::size_t i = 0; i < 4; ++i) id.data1 = id.data1 << 8 | bytes[i];
  id.data2 = static_cast<std::uint16_t>(bytes[4] << 8 | bytes[5]);
  id.data3 = static_cast<std::uint16_t>(bytes[6] << 8 | bytes[7]);
  for (std::size_t i = 0; i < id.data4.size(); ++i) id.data4[i] = bytes[8 + i];
  return id;
}

}  // namespace jt::file
