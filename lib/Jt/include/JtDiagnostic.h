#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace jt {

/// A finding of reading, checking or saving that did not end the operation.
struct Diagnostic {
  std::string code;     ///< stable
  std::string message;  ///< human-readable
  std::string segment{};
  std::optional<std::uint64_t> offset{};  ///< in the file, or in the inflated segment
  bool isError = false;                   ///< the file violates the format, not just conventions
};

}  // namespace jt
