#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

#include "JtExport.h"

/// Text as JT files hold it: UTF-16 code units. Every sequence of units is kept, lone surrogates
/// too; in the multibyte form (UTF-8) a lone surrogate becomes three bytes of its own, so that both
/// conversions are exact.
class JT_API JtString {
 public:
  JtString() = default;
  /// From UTF-8 text (null: empty). Bytes that are not UTF-8 become U+FFFD, one each.
  JtString(const char* text);
  JtString(std::string_view text);
  JtString(const std::string& text) : JtString(std::string_view(text)) {}
  /// From wide text (UTF-16 or UTF-32, whatever the platform's wide character holds).
  explicit JtString(std::wstring_view text);
  explicit JtString(std::u16string units) : units_(std::move(units)) {}

  /// The UTF-8 form.
  std::string stringToMbs() const;
  /// The wide form.
  std::wstring toWide() const;
  /// Bytes of the UTF-8 form, without a terminator.
  std::size_t numBytes() const;
  /// Code units.
  std::size_t length() const noexcept { return units_.size(); }
  bool isEmpty() const noexcept { return units_.empty(); }
  /// True when every unit is below 128.
  bool isAscii() const noexcept;
  /// The units, terminated by 0; valid until the next change.
  const char16_t* getConstPtr() const noexcept { return units_.c_str(); }
  const std::u16string& units() const noexcept { return units_; }

  /// Inserts `text` before unit `position` (at the end when beyond it).
  void insert(std::size_t position, const JtString& text);
  /// Removes `count` units from `position` on, as far as there are any.
  void remove(std::size_t position, std::size_t count);

  friend bool operator==(const JtString&, const JtString&) = default;
  friend auto operator<=>(const JtString&, const JtString&) = default;

 private:
  std::u16string units_;
};
