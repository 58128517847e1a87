#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "HostExport.h"

/// A regular expression in the ECMAScript grammar: std::regex behind a header that is cheap to
/// include. Cheap to copy; matching is safe from several threads at once.
class HOST_API RWCRegexp {
 public:
  /// Longest text that is searched. Matching takes stack and time with the text, and the texts may
  /// come from damaged files; no file name and no sensible node name is longer.
  static constexpr std::size_t TEXT_LIMIT = 4096;

  /// A pattern that is not valid is found nowhere.
  explicit RWCRegexp(const std::string& pattern);

  /// False for a pattern that could not be understood, which matches nothing.
  bool isValid() const { return compiled_ != nullptr; }

  /// Where the pattern is found first: the place of its first byte, or std::string::npos when it is
  /// not found or the text is longer than TEXT_LIMIT.
  /// @param length set to the length of what was found, 0 if nothing; may be null
  std::size_t index(std::string_view text, std::size_t* length = nullptr) const;

  /// True when the pattern is found somewhere in the text.
  bool isFoundIn(std::string_view text) const { return index(text) != std::string::npos; }

 private:
  struct Compiled;
  std::shared_ptr<const Compiled> compiled_;
};
