#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "JtwSelection.h"

namespace jtw {

/// How a field is compared with a value.
enum class Comparison : std::uint8_t { equal, unequal, less, lessOrEqual, greater, greaterOrEqual };

/// A field of an expression with what it is compared with.
struct FieldTest {
  std::string field;
  std::string property{};  ///< behind "property."
  Comparison comparison = Comparison::equal;
  std::optional<std::string> value{};
};

/// Throws EditError "usage" for a field that there is not.
void checkField(const std::string& name);

/// What a test asks of each object. Throws EditError "usage" for a field that there is not, and for
/// a value that the field cannot have.
Selection::Evaluate fieldEvaluation(const FieldTest& test);

}  // namespace jtw
