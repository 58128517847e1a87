#include "Validation.h"

#include "InputFile.h"
#include "JtFormatError.h"
#include "JtValidation.h"
#include "Session.h"

namespace tool {

void storeValidations(Session& session, JtPartition& top, const std::string& file) {
  try {
    if (jt::storeValidations(top) == 0)
      session.warn(file + ": no part has triangles; nothing to check later", "no_validation");
  } catch (const JtFormatError& error) {
    throw readFailure(error, file);
  }
}

}  // namespace tool
