#include "Output.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>

#include "Failure.h"
#include "Utf8.h"

namespace tool {
namespace {

constexpr std::size_t kBufferSize = 1U << 16;

template <class T>
std::string toText(T value) {
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  return {digits, end};
}

/// Characters that take a place on the screen, near enough: bytes that do not continue one.
std::size_t width(std::string_view text) {
  std::size_t count = 0;
  for (const char byte : text) count += (static_cast<unsigned char>(byte) & 0xc0U) != 0x80U ? 1 : 0;
  return count;
}

}  // namespace

void Output::fail() {
  const std::string why = std::strerror(errno);
  hasFailed_ = true;
  buffer_.clear();
  throw Failure(ExitCode::output, "write_failed", "the results cannot be written: " + why);
}

void Output::write(std::string_view text) {
  buffer_.append(text);
  if (file_ && buffer_.size() >= kBufferSize) flush();
}

void Output::flush() {
  if (hasFailed_ || !file_) return;
  if (!buffer_.empty()) {
    hasWritten_ = true;
    if (std::fwrite(buffer_.data(), 1, buffer_.size(), file_) != buffer_.size()) fail();
    buffer_.clear();
  }
  if (std::fflush(file_) != 0) fail();
}

void Output::close() {
  flush();
  if (file_ && !hasFailed_ && std::fclose(file_) != 0) fail();
}

bool Output::isTerminal() const { return file_ && isatty(fileno(file_)) == 1; }

std::string printable(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  std::string out;
  out.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    const auto first = static_cast<unsigned char>(text[0]);
    const bool isC1 = length == 2 && first == 0xc2 && static_cast<unsigned char>(text[1]) < 0xa0;
    if (length == 0) {
      out += kReplacement;
    } else if (isC1 || first < 0x20 || first == 0x7f) {
      const auto code = static_cast<unsigned char>(text[length - 1]);
      out += "\\x";
      out += kHex[code >> 4];
      out += kHex[code & 0x0f];
    } else {
      out.append(text.substr(0, length));
    }
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return out;
}

std::string padRight(std::string text, std::size_t places) {
  const std::size_t taken = width(text);
  if (taken < places) text.append(places - taken, ' ');
  return text;
}

std::string padLeft(std::string text, std::size_t places) {
  const std::size_t taken = width(text);
  if (taken < places) text.insert(0, places - taken, ' ');
  return text;
}

std::string counted(std::size_t count, std::string_view noun) {
  std::string text = std::to_string(count) + " " + std::string(noun);
  if (count != 1) text += 's';
  return text;
}

std::string numberText(double value) { return toText(value); }
std::string numberText(float value) { return toText(value); }

std::string shortText(double value, double noise) {
  return numberText(std::abs(value) < noise ? 0.0F : static_cast<float>(value));
}

std::string storedText(double value, double unit) {
  const auto stored = static_cast<float>(value / unit);
  if (static_cast<double>(stored) * unit != value) return toText(value);
  constexpr int kFewest = 6;
  constexpr int kEnough = 9;  // for every single
  for (int count = kFewest; count <= kEnough; ++count) {
    char digits[32];
    const auto end =
        std::to_chars(digits, digits + sizeof digits, value, std::chars_format::general, count).ptr;
    double read = 0;
    std::from_chars(digits, end, read);
    if (static_cast<float>(read / unit) == stored) return {digits, end};
  }
  return toText(value);
}

std::string Style::paint(Ink ink, std::string_view text) const {
  const char* code = "";
  switch (ink) {
    case Ink::plain:
      break;
    case Ink::dim:
      code = "\x1b[2m";
      break;
    case Ink::bold:
      code = "\x1b[1m";
      break;
    case Ink::red:
      code = "\x1b[31m";
      break;
    case Ink::yellow:
      code = "\x1b[33m";
      break;
    case Ink::green:
      code = "\x1b[32m";
      break;
    case Ink::cyan:
      code = "\x1b[36m";
      break;
  }
  if (!on_ || ink == Ink::plain || text.empty()) return std::string(text);
  return code + std::string(text) + "\x1b[0m";
}

}  // namespace tool
