#include "MeshInput.h"

#include <filesystem>
#include <fstream>
#include <string_view>

#include "Component.h"
#include "MeshConversion.h"

namespace tool {
namespace {

namespace fs = std::filesystem;

bool isMeshFile(const std::string& path) {
  std::error_code ignored;
  if (path == "-" || path.empty() || DocumentName(path).isJt || !fs::is_regular_file(path, ignored))
    return false;
  constexpr std::string_view kJt = "Version ";  // how a JT file begins
  std::string begin(kJt.size(), '\0');
  std::ifstream file(path, std::ios::binary);
  return file.read(begin.data(), static_cast<std::streamsize>(begin.size())) && begin != kJt;
}

}  // namespace

std::string MeshInputs::jtFileFor(const std::string& path, const std::string& name) {
  if (!isMeshFile(path)) return path;
  std::string file = folders_.emplace_back().place(name + ".jt");
  convertMeshFile(path, file);
  return file;
}

}  // namespace tool
