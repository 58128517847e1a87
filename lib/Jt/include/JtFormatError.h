#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>

#include "JtDiagnostic.h"
#include "JtExport.h"

namespace jt {

/// Where in a file something was found.
struct FilePosition {
  std::string file{};     ///< path, or a name for a stream; empty when not known yet
  std::string segment{};  ///< segment id and kind; empty in the container itself
  std::string element{};  ///< element and field; may be empty
  std::optional<std::uint64_t> offset{};  ///< byte in the file, or in the inflated segment
};

}  // namespace jt

/// A JT file that cannot be read, or an operation on it that cannot be done. Says where, what was
/// expected and what was found; `code()` is stable and meant for programs.
class JT_API JtFormatError : public std::runtime_error {
 public:
  /// @param code stable short code, such as "truncated"
  /// @param message what was expected, what was found, what to do; without the position
  JtFormatError(std::string code, std::string message, jt::FilePosition where = {});

  /// The stable code.
  const std::string& code() const noexcept { return code_; }
  /// The message without the position.
  const std::string& message() const noexcept { return message_; }
  const jt::FilePosition& where() const noexcept { return where_; }
  /// The same error with what is missing of the position filled in from `outer`.
  JtFormatError within(const jt::FilePosition& outer) const;
  /// The error as a finding, for a caller that goes on without what failed.
  jt::Diagnostic diagnostic() const;

 private:
  std::string code_;
  std::string message_;
  jt::FilePosition where_;
};
