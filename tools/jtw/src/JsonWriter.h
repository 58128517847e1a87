#pragma once

#include <charconv>
#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Output.h"

namespace tool {

/// Writes JSON as it goes, without building a document in memory. Objects and lists are laid out
/// one member a line, or on one line with all that is in them.
class JsonWriter {
 public:
  enum class Layout { lines, line };

  explicit JsonWriter(Output& out) : out_(out) {}

  void beginObject(Layout layout = Layout::lines) { open('{', '}', layout); }
  void beginArray(Layout layout = Layout::lines) { open('[', ']', layout); }
  /// Closes the innermost object or list.
  void end();
  /// Closes everything but the outermost object.
  void endAllButOne();
  std::size_t depth() const noexcept { return levels_.size(); }

  /// The name of the next value.
  void key(std::string_view name);
  void null() { raw("null"); }
  void value(std::string_view text);
  void value(const char* text) { value(std::string_view(text)); }
  void value(const std::string& text) { value(std::string_view(text)); }
  void value(bool truth) { raw(truth ? "true" : "false"); }
  /// Infinities and what is not a number become null.
  void value(float number);
  void value(double number);
  /// A double that was made of a single: see storedText().
  void storedValue(double number, double unit = 1);
  void value(std::integral auto number) {
    char digits[24];
    const char* const end = std::to_chars(digits, digits + sizeof digits, number).ptr;
    raw({digits, static_cast<std::size_t>(end - digits)});
  }
  template <class T>
  void value(const std::optional<T>& maybe) {
    if (maybe)
      value(*maybe);
    else
      null();
  }
  /// Text that is JSON already.
  void raw(std::string_view json);

  template <class T>
  void member(std::string_view name, const T& content) {
    key(name);
    value(content);
  }
  void nullMember(std::string_view name) {
    key(name);
    null();
  }
  /// Null for the empty text.
  void textOrNull(std::string_view name, std::string_view text) {
    key(name);
    if (text.empty())
      null();
    else
      value(text);
  }
  /// A list of numbers on one line.
  template <class Range>
  void numbers(std::string_view name, const Range& range) {
    key(name);
    beginArray(Layout::line);
    for (const auto number : range) value(number);
    end();
  }

 private:
  struct Level {
    char closer;
    bool onOneLine;
    bool isEmpty;
  };
  void open(char opener, char closer, Layout layout);
  void separate();
  void breakLine(std::size_t depth);
  void quoted(std::string_view text);

  Output& out_;
  std::vector<Level> levels_;
  bool afterKey_ = false;
};

}  // namespace tool
