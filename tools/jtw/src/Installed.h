#pragma once

#include <optional>
#include <string>

namespace tool {

/// A file that belongs to this program: beside it, as in a build tree, or where an installation has
/// it. @param folder of an installation, below its prefix @param mode as for access()
std::optional<std::string> findInstalled(const std::string& name, const std::string& folder,
                                         int mode);

}  // namespace tool
