#include "JtwEditError.h"

namespace jtw {

void failUsage(const std::string& message) {
  throw EditError(EditError::Kind::usage, "usage", message);
}

void failRefused(const std::string& document, const char* code, const std::string& message) {
  throw EditError(EditError::Kind::refused, code, message, document);
}

}  // namespace jtw
