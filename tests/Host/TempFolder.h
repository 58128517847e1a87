#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>

/// A new folder that is removed with all that is in it.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "jtw-test-XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
    path_ = name;
  }
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  std::string at(const std::string& name) const { return path_ + "/" + name; }
  const std::string& path() const { return path_; }
  /// What is directly in the folder.
  std::set<std::string> names() const {
    std::set<std::string> result;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      result.insert(entry.path().filename().string());
    return result;
  }

  /// Makes a folder, with those above it, and returns its path.
  std::string folder(const std::string& name) const {
    std::filesystem::create_directories(at(name));
    return at(name);
  }
  /// Writes a file, with the folders above it, and returns its path.
  std::string file(const std::string& name, std::string_view content = {}) const {
    std::filesystem::create_directories(std::filesystem::path(at(name)).parent_path());
    std::ofstream(at(name), std::ios::binary) << content;
    return at(name);
  }

 private:
  std::string path_;
};

/// Empty for a file that cannot be read.
inline std::string contentOf(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}
