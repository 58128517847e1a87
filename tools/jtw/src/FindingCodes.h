#pragma once

#include <span>
#include <string_view>

namespace tool {

/// One kind of finding of `verify`.
struct FindingCode {
  const char* code;  ///< stable
  bool isError;      ///< else a warning
  const char* meaning;
};

/// All of them.
std::span<const FindingCode> findingCodes();
/// The row of a code; null for none.
const FindingCode* findFindingCode(std::string_view code);

}  // namespace tool
