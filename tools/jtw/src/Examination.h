#pragma once

#include <functional>
#include <optional>
#include <string>

#include "JtReadLimits.h"
#include "Verdict.h"

namespace tool {

/// How a file is examined.
struct ExaminationRules {
  jt::ReadLimits limits{};
  /// Tolerance of validation properties; nothing: they are not compared.
  std::optional<double> properties{};
};

/// Reads and decodes everything in a JT file and its part files, and looks at what the host keeps
/// in it. What is wrong is in the verdict; throws Failure for a component folder without a JT file.
/// @param progress receives the share that is done, 0..1; may be empty
/// @pre the library is started
Verdict examine(const std::string& path, const ExaminationRules& rules,
                const std::function<void(double share)>& progress);

}  // namespace tool
