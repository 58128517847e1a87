#include "ScratchFolder.h"

#include <filesystem>

#include "Failure.h"
#include "HostRandom.h"

namespace tool {

namespace fs = std::filesystem;

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  if (!path_.path().empty()) fs::remove_all(path_.path(), ignored);
}

std::string ScratchFolder::place(const std::string& name) {
  if (path_.path().empty()) {
    const fs::path path =
        fs::temp_directory_path() / ("jtw-" + std::to_string(host::randomBits()[0]));
    std::error_code error;
    if (!fs::create_directory(path, error))
      throw Failure(ExitCode::output, "unwritable", "no folder for temporary files can be made",
                    {.file = path.string()});
    path_.set(path.string(), jt::TemporaryPath::Kind::folder);
    fs::permissions(path, fs::perms::owner_all, error);
  }
  return files_.emplace_back((fs::path(path_.path()) / fs::path(name).filename()).string()).path();
}

}  // namespace tool
