#pragma once

#include <compare>
#include <optional>
#include <string>
#include <string_view>

#include "JtExport.h"

namespace jt {

/// The version of the file format, as the header writes it.
struct FileVersion {
  int major = 10;
  int minor = 0;
  friend auto operator<=>(const FileVersion&, const FileVersion&) = default;
  /// "9.5"
  JT_API std::string text() const;
  /// Reads "9.5"; nothing when it is not of that form.
  JT_API static std::optional<FileVersion> parse(std::string_view text);
};

}  // namespace jt
