#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

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
  explicit JtString(std::u16string_view units);
  JtString(const JtString& other) : JtString(other.units()) {}
  /// Takes the units over; the other text is empty then.
  JtString(JtString&& other) noexcept
      : units_(std::exchange(other.units_, nullptr)), length_(std::exchange(other.length_, 0)) {}
  JtString& operator=(JtString other) noexcept {
    std::swap(units_, other.units_);
    std::swap(length_, other.length_);
    return *this;
  }
  ~JtString() {
    if (units_) JtAllocHooked::operator delete(units_);
  }
  /// Of `count` units, which fill(char16_t*) puts in place; it must not throw.
  template <class Fill>
  static JtString filled(std::size_t count, const Fill& fill) {
    JtString text;
    if (count > 0) {
      text.allocate(count);
      fill(text.units_);
    }
    return text;
  }

  /// The UTF-8 form.
  std::string stringToMbs() const;
  /// The wide form.
  std::wstring toWide() const;
  /// Bytes of the UTF-8 form, without a terminator.
  std::size_t numBytes() const;
  /// Code units.
  std::size_t length() const noexcept { return length_; }
  bool isEmpty() const noexcept { return length_ == 0; }
  /// True when every unit is below 128.
  bool isAscii() const noexcept;
  /// The units, terminated by 0; valid until the next change.
  const char16_t* getConstPtr() const noexcept { return units_ ? units_ : u""; }
  /// The units; valid until the next change.
  std::u16string_view units() const noexcept { return {getConstPtr(), length_}; }

  /// Inserts `text` before unit `position` (at the end when beyond it).
  void insert(std::size_t position, const JtString& text);
  /// Removes `count` units from `position` on, as far as there are any.
  void remove(std::size_t position, std::size_t count);

  friend bool operator==(const JtString& a, const JtString& b) noexcept {
    return a.units() == b.units();
  }
  friend std::strong_ordering operator<=>(const JtString& a, const JtString& b) noexcept {
    return a.units() <=> b.units();
  }

 private:
  /// Room for that many units and the 0 behind them; the text has none so far.
  void allocate(std::size_t count) {
    units_ = static_cast<char16_t*>(JtAllocHooked::operator new((count + 1) * sizeof(char16_t)));
    units_[count] = 0;
    length_ = count;
  }

  char16_t* units_ = nullptr;  // none for an empty text; beside the object that the text is in
  std::size_t length_ = 0;
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
