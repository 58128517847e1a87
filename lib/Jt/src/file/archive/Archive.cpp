#include "file/archive/Archive.h"

#include <cstdio>
#include <limits>

namespace jt::file {

void throwTruncated(const char* name, std::size_t size, std::size_t left, std::size_t offset) {
  throw JtFormatError(
      "truncated",
      "expected " + std::to_string(size) + " bytes for " + name + ", found " + std::to_string(left),
      {.element = name, .offset = offset});
}

void throwBadVersion(const char* name, std::int16_t version, std::size_t offset) {
  throw JtFormatError("bad_value", "a version cannot be " + std::to_string(version),
                      {.element = name, .offset = offset});
}

void throwBadCount(const char* name, std::int32_t count, std::size_t room, std::size_t offset) {
  throw JtFormatError("bad_count",
                      std::string("the count of ") + name + " is " + std::to_string(count) +
                          ", but there is room for " + std::to_string(room),
                      {.element = name, .offset = offset});
}

std::string valueText(double value, bool isFloat) {
  char text[40];
  std::snprintf(text, sizeof text, isFloat ? "%.9g" : "%.17g", value);
  return text;
}

std::string valueText(std::uint64_t value) { return std::to_string(value); }

std::string valueText(std::int64_t value) { return std::to_string(value); }

std::string valueText(const std::byte* bytes, std::size_t size) {
  constexpr std::size_t kShown = 16;
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (std::size_t i = 0; i < size && i < kShown; ++i) {
    const auto byte = std::to_integer<unsigned>(bytes[i]);
    if (i) text += ' ';
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  if (size > kShown) text += " ...";
  return text;
}

void Writer::operator()(const char*, const JtGuid& value) {
  put(value.data1);
  put(value.data2);
  put(value.data3);
  append(std::as_bytes(std::span(value.data4)));
}

void Writer::operator()(const char*, const JtString& value) {
  putCount(value.length());
  std::byte* to = out_.extend(2 * value.length());
  for (const char16_t unit : value.units()) {
    const auto stored = inFileOrder(static_cast<std::uint16_t>(unit), format_.bigEndian);
    std::memcpy(to, &stored, sizeof stored);
    to += sizeof stored;
  }
}

void Writer::putCount(std::size_t count) {
  if (count > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
    throw JtFormatError("too_large", "a list of " + std::to_string(count) +
                                         " items cannot be stored; the format allows 2147483647");
  put(static_cast<std::int32_t>(count));
}

}  // namespace jt::file
