#include "IdxIFile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <utility>

#include "ApiSysStringConvertors.h"

namespace {

bool isBlank(char c) { return c == ' ' || c == '\n' || c == '\r' || c == '\t'; }

/// Reverses the escapes of IdxOFile; false when one is not complete.
bool unescape(std::string_view text, RWClassicCString& out) {
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      out.push_back(text[i]);
      continue;
    }
    if (text.size() - i < 4 || text[i + 1] != 'x') return false;
    std::uint8_t byte = 0;
    const char* digits = text.data() + i + 2;
    const auto read = std::from_chars(digits, digits + 2, byte, 16);
    if (read.ec != std::errc() || read.ptr != digits + 2) return false;
    out.push_back(static_cast<char>(byte));
    i += 3;
  }
  return true;
}

}  // namespace

void IdxIFile::skipBlanks() {
  const auto first = std::find_if_not(rest_.begin(), rest_.end(), isBlank);
  rest_.remove_prefix(static_cast<std::size_t>(first - rest_.begin()));
}

bool IdxIFile::atEnd() {
  skipBlanks();
  return rest_.empty();
}

template <class Number>
bool IdxIFile::number(Number& value) {
  if (!good_) return false;
  skipBlanks();
  Number read{};
  const char* end = rest_.data() + rest_.size();
  const auto [next, error] = std::from_chars(rest_.data(), end, read);
  good_ = error == std::errc() && (next == end || isBlank(*next));
  if (!good_) return false;
  rest_.remove_prefix(static_cast<std::size_t>(next - rest_.data()));
  value = read;
  return true;
}

IdxIFile& IdxIFile::operator>>(bool& value) {
  if (long read = 0; number(read)) value = read != 0;
  return *this;
}

IdxIFile& IdxIFile::operator>>(int& value) {
  number(value);
  return *this;
}

IdxIFile& IdxIFile::operator>>(long& value) {
  number(value);
  return *this;
}

IdxIFile& IdxIFile::operator>>(double& value) {
  number(value);
  return *this;
}

IdxIFile& IdxIFile::operator>>(RWClassicCString& value) {
  if (!good_) return *this;
  skipBlanks();
  std::size_t length = 0;
  const char* end = rest_.data() + rest_.size();
  const auto [colon, error] = std::from_chars(rest_.data(), end, length);
  good_ = error == std::errc() && colon != end && *colon == ':';
  if (!good_) return *this;
  rest_.remove_prefix(static_cast<std::size_t>(colon - rest_.data()) + 1);
  RWClassicCString read;
  good_ = length <= rest_.size() && unescape(rest_.substr(0, length), read);
  if (!good_) return *this;
  rest_.remove_prefix(length);
  good_ = rest_.empty() || isBlank(rest_.front());
  if (good_) value = std::move(read);
  return *this;
}

IdxIFile& IdxIFile::operator>>(RWClassicWString& value) {
  RWClassicCString narrow;
  *this >> narrow;
  if (good_) value = ApiSysStringConvertors::RWCStringToUnicode(narrow);
  return *this;
}

IdxIFile& IdxIFile::operator>>(ApiProtoKey& value) {
  if (long read = 0; number(read)) value = ApiProtoKey(read);
  return *this;
}

IdxIFile& IdxIFile::operator>>(RTTran3D& value) {
  std::array<double, 16> numbers{};
  for (double& each : numbers) *this >> each;
  if (good_) value = RTTran3D(numbers);
  return *this;
}

IdxIFile& IdxIFile::operator>>(ApiGraColor& value) {
  std::array<long, 3> rgb{};
  for (long& each : rgb) *this >> each;
  double alpha = 0.0;
  *this >> alpha;
  const auto isByte = [](long each) { return each >= 0 && each <= 255; };
  good_ = good_ && std::all_of(rgb.begin(), rgb.end(), isByte) && alpha >= 0.0 && alpha <= 1.0;
  if (good_) {
    value = ApiGraColor(static_cast<std::uint8_t>(rgb[0]), static_cast<std::uint8_t>(rgb[1]),
                        static_cast<std::uint8_t>(rgb[2]), static_cast<float>(alpha));
  }
  return *this;
}

IdxIFile& IdxIFile::operator>>(IdxObject& value) {
  if (good_) value.restore(*this);
  return *this;
}
