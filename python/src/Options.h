#pragma once

#include <optional>
#include <string>

#include "JtSave.h"

namespace binding {

/// Options of a save. Throws Failure "usage" for a version that there is not.
jt::SaveOptions saveOptions(const std::optional<std::string>& version, bool dryRun);

}  // namespace binding
