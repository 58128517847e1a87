#include "IdxOFile.h"

#include <array>
#include <charconv>

#include "ApiSysStringConvertors.h"

namespace {

/// The text of a number: locale-free, and for a double the shortest that reads back exactly.
template <class Number>
std::string_view format(std::array<char, 32>& buffer, Number value) {
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value).ptr;
  return {buffer.data(), static_cast<std::size_t>(end - buffer.data())};
}

void appendEscaped(RWClassicCString& out, std::string_view text) {
  constexpr const char* kDigits = "0123456789abcdef";
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte < 0x7F && c != '\\') {
      out.push_back(c);
    } else {
      out.append({'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xFU]});
    }
  }
}

}  // namespace

void IdxOFile::token(std::string_view token) {
  if (!first_) {
    const bool fits = column_ + 1 + token.size() <= lineWidth_;
    text_.push_back(fits ? ' ' : '\n');
    column_ = fits ? column_ + 1 : 0;
  }
  first_ = false;
  text_.append(token);
  column_ += token.size();
}

IdxOFile& IdxOFile::operator<<(long value) {
  std::array<char, 32> buffer;
  token(format(buffer, value));
  return *this;
}

IdxOFile& IdxOFile::operator<<(double value) {
  std::array<char, 32> buffer;
  token(format(buffer, value));
  return *this;
}

IdxOFile& IdxOFile::operator<<(std::string_view value) {
  RWClassicCString escaped;
  escaped.reserve(value.size());
  appendEscaped(escaped, value);
  std::array<char, 32> buffer;
  escaped.insert(0, 1, ':');
  escaped.insert(0, format(buffer, escaped.size() - 1));
  token(escaped);
  return *this;
}

IdxOFile& IdxOFile::operator<<(std::wstring_view value) {
  return *this << std::string_view(ApiSysStringConvertors::UnicodeToRWCString(value));
}

IdxOFile& IdxOFile::operator<<(const RTTran3D& value) {
  for (const double number : value.values()) *this << number;
  return *this;
}

IdxOFile& IdxOFile::operator<<(const ApiGraColor& value) {
  // A reader stops at an alpha outside 0..1, and with it at everything behind.
  const float alpha = ApiGraColor::fromUnit(0, 0, 0, value.getAlpha()).getAlpha();
  return *this << int{value.red()} << int{value.green()} << int{value.blue()}
               << static_cast<double>(alpha);
}

IdxOFile& IdxOFile::operator<<(const IdxObject& value) {
  value.save(*this);
  return *this;
}
