#include "Installed.h"

#include <unistd.h>

#include <filesystem>

#include "ApiSysFileAccess.h"

namespace tool {

namespace fs = std::filesystem;

std::optional<std::string> findInstalled(const std::string& name, const std::string& folder,
                                         int mode) {
  const fs::path own = fs::path(ApiSysFileAccess::programFolder()).parent_path();
  // Without a folder of its own the file would be looked for in the current one, and trusted.
  for (const fs::path& candidate : {own / name, own.parent_path() / folder / name})
    if (candidate.is_absolute() && access(candidate.c_str(), mode) == 0) return candidate.string();
  return std::nullopt;
}

}  // namespace tool
