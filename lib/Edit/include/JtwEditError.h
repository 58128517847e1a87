#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include "JtwExport.h"

namespace jtw {

/// A request on a component that cannot be done. Nothing has changed when it is thrown, unless the
/// function says otherwise.
class JTW_API EditError : public std::runtime_error {
 public:
  /// Whose fault it is.
  enum class Kind : std::uint8_t {
    usage,    ///< the request is malformed
    refused,  ///< the component refuses it: an unknown key, a key in use, a cycle, ...
    input,    ///< something that the file stores cannot be read
  };

  /// @param code     stable and meant for programs, such as "unknown_key"
  /// @param document what the component is called in messages; may be empty
  /// @param offset   byte of the request's text at which the fault is
  EditError(Kind kind, std::string code, const std::string& message, std::string document = {},
            std::optional<std::size_t> offset = {})
      : std::runtime_error(message),
        kind_(kind),
        code_(std::move(code)),
        document_(std::move(document)),
        offset_(offset) {}

  /// Whose fault it is.
  Kind kind() const noexcept { return kind_; }
  /// Stable name of the reason.
  const std::string& code() const noexcept { return code_; }
  /// What the component is called; empty when the fault is in the request alone.
  const std::string& document() const noexcept { return document_; }
  /// Where in the text of the request the fault is.
  std::optional<std::size_t> offset() const noexcept { return offset_; }

 private:
  Kind kind_;
  std::string code_;
  std::string document_;
  std::optional<std::size_t> offset_;
};

/// Throws EditError of the kind "usage", with that code.
[[noreturn]] JTW_API void failUsage(const std::string& message);
/// Throws EditError of the kind "refused".
[[noreturn]] JTW_API void failRefused(const std::string& document, const char* code,
                                      const std::string& message);

}  // namespace jtw
