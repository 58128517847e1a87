#include "JsonWriter.h"

#include <algorithm>
#include <cmath>

#include "Utf8.h"

namespace tool {

void JsonWriter::breakLine(std::size_t depth) {
  constexpr std::size_t kMostIndented = 20;  // a deep tree would be made of blanks
  out_.write("\n");
  for (std::size_t i = 0; i < std::min(depth, kMostIndented); ++i) out_.write("  ");
}

void JsonWriter::separate() {
  if (afterKey_) {
    afterKey_ = false;
    return;
  }
  if (levels_.empty()) return;
  Level& level = levels_.back();
  if (!level.isEmpty) out_.write(level.onOneLine ? ", " : ",");
  if (!level.onOneLine) breakLine(levels_.size());
  level.isEmpty = false;
}

void JsonWriter::open(char opener, char closer, Layout layout) {
  separate();
  const bool outerOnOneLine = !levels_.empty() && levels_.back().onOneLine;
  levels_.push_back({closer, outerOnOneLine || layout == Layout::line, true});
  out_.write({&opener, 1});
}

void JsonWriter::end() {
  if (afterKey_) null();
  const Level level = levels_.back();
  levels_.pop_back();
  if (!level.isEmpty && !level.onOneLine) breakLine(levels_.size());
  out_.write({&level.closer, 1});
  if (levels_.empty()) out_.write("\n");
}

void JsonWriter::endAllButOne() {
  while (levels_.size() > 1) end();
  if (afterKey_) null();
}

void JsonWriter::key(std::string_view name) {
  separate();
  quoted(name);
  out_.write(": ");
  afterKey_ = true;
}

void JsonWriter::raw(std::string_view json) {
  separate();
  out_.write(json);
}

void JsonWriter::value(std::string_view text) {
  separate();
  quoted(text);
}

void JsonWriter::value(float number) {
  if (std::isfinite(number))
    raw(numberText(number));
  else
    null();
}

void JsonWriter::value(double number) {
  if (std::isfinite(number))
    raw(numberText(number));
  else
    null();
}

void JsonWriter::storedValue(double number, double unit) {
  if (std::isfinite(number))
    raw(storedText(number, unit));
  else
    null();
}

void JsonWriter::quoted(std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  out_.write("\"");
  std::size_t plain = 0;  // characters at the front that need no change
  const auto flushPlain = [&] {
    out_.write(text.substr(0, plain));
    text.remove_prefix(plain);
    plain = 0;
  };
  while (plain < text.size()) {
    const auto byte = static_cast<unsigned char>(text[plain]);
    const std::size_t length = utf8Length(text.substr(plain));
    if (length != 0 && byte >= 0x20 && byte != '"' && byte != '\\') {
      plain += length;
      continue;
    }
    flushPlain();
    text.remove_prefix(1);
    if (length == 0) {
      out_.write(kReplacement);
    } else if (byte == '\n') {
      out_.write("\\n");
    } else if (byte < 0x20) {
      const char escape[] = {'\\', 'u', '0', '0', kHex[byte >> 4], kHex[byte & 0x0f]};
      out_.write({escape, sizeof escape});
    } else {
      const char escape[] = {'\\', static_cast<char>(byte)};
      out_.write({escape, sizeof escape});
    }
  }
  flushPlain();
  out_.write("\"");
}

}  // namespace tool
