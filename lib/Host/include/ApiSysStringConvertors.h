#pragma once

#include <string_view>

#include "HostExport.h"
#include "RWClassic.h"

/// Conversions between narrow (UTF-8) and wide text. Total functions: nothing throws for odd text.
class HOST_API ApiSysStringConvertors {
 public:
  /// Narrow to wide. A surrogate that was stored as three bytes comes back as that surrogate; each
  /// byte that belongs to no character becomes U+FFFD.
  static RWClassicWString RWCStringToUnicode(std::string_view text);

  /// Wide to narrow, the inverse of RWCStringToUnicode() for every text of Unicode characters and
  /// lone surrogates. A surrogate pair becomes the one character it represents; values that no
  /// character can have become U+FFFD.
  static RWClassicCString UnicodeToRWCString(std::wstring_view text);

  /// True when every character is in 1..127 or the text is empty.
  static bool isAscii(std::string_view text);
  static bool isAscii(std::wstring_view text);

  /// The characters of an ASCII text; every other character becomes '?'.
  static RWClassicCString toAscii(std::wstring_view text);
};
