#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "ApiGraColor.h"
#include "ApiProtoKey.h"
#include "HostExport.h"
#include "IdxObject.h"
#include "RTTran3D.h"
#include "RWClassic.h"

/// Writes an indexed text stream: tokens with one blank, or one line break, between them. The text
/// is printable ASCII whatever the values are, so that it survives every later conversion.
///
/// A number is its shortest text that reads back as the same value. A string is `N:characters`, N
/// being the count of characters that follow the colon; in them a backslash, and every byte that is
/// not printable ASCII, is `\xHH`.
class HOST_API IdxOFile {
 public:
  /// @param text receives the tokens at its end; must outlive the stream
  /// @param lineWidth a line is broken before a token that would go beyond it; tokens are never
  /// broken
  explicit IdxOFile(RWClassicCString& text, std::size_t lineWidth = 80)
      : text_(text), lineWidth_(lineWidth) {}

  /// True as long as everything could be written: always, for a stream in memory.
  bool good() const { return true; }

  /// 1 or 0. A template, so that no pointer turns into a bool.
  template <std::same_as<bool> Bool>
  IdxOFile& operator<<(Bool value) {
    return *this << (value ? 1 : 0);
  }
  IdxOFile& operator<<(int value) { return *this << static_cast<long>(value); }
  IdxOFile& operator<<(long value);
  IdxOFile& operator<<(double value);
  IdxOFile& operator<<(std::string_view value);
  /// As the UTF-8 form of the text.
  IdxOFile& operator<<(std::wstring_view value);
  IdxOFile& operator<<(const char* value) { return *this << std::string_view(value); }
  IdxOFile& operator<<(const wchar_t* value) { return *this << std::wstring_view(value); }
  IdxOFile& operator<<(const ApiProtoKey& value) { return *this << value.getAsLong(); }
  /// 16 numbers, row by row.
  IdxOFile& operator<<(const RTTran3D& value);
  /// Red, green and blue as bytes 0..255, then alpha.
  IdxOFile& operator<<(const ApiGraColor& value);
  IdxOFile& operator<<(const IdxObject& value);

 private:
  void token(std::string_view token);

  RWClassicCString& text_;
  std::size_t lineWidth_;
  std::size_t column_ = 0;
  bool first_ = true;
};
