#include "Options.h"

#include "Failure.h"

namespace binding {

jt::SaveOptions saveOptions(const std::optional<std::string>& version, bool dryRun) {
  jt::SaveOptions options;
  options.dryRun = dryRun;
  if (!version) return options;
  options.version = jt::FileVersion::parse(*version);
  if (!options.version) tool::failUsage("version is '" + *version + "', not a version such as 9.5");
  return options;
}

}  // namespace binding
