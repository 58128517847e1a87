#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

#include "JtAllocHooked.h"
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
  explicit JtString(std::u16string_view units) : units_(units) {}
  /// Of `count` units, which fill(char16_t*) puts in place.
  template <class Fill>
  static JtString filled(std::size_t count, const Fill& fill) {
    JtString text;
    text.units_.resize(count);
    fill(text.units_.data());
    return text;
  }

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
  /// The units; valid until the next change.
  std::u16string_view units() const noexcept { return units_; }

  /// Inserts `text` before unit `position` (at the end when beyond it).
  void insert(std::size_t position, const JtString& text);
  /// Removes `count` units from `position` on, as far as there are any.
  void remove(std::size_t position, std::size_t count);

  friend bool operator==(const JtString&, const JtString&) = default;
  friend auto operator<=>(const JtString&, const JtString&) = default;

 private:
  using Units =
      std::basic_string<char16_t, std::char_traits<char16_t>, jt::ObjectAllocator<char16_t>>;
  Units units_;
};

namespace jt {

/// For tables of texts.
struct TextHash {
  /// A hash of the units.
  std::size_t operator()(const JtString& text) const noexcept {
    return std::hash<std::u16string_view>{}(text.units());
  }
};

}  // namespace jt
