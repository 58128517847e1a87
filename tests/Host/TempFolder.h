#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

/// A new folder that is removed with all that is in it.
class TempFolder {
 public:
  TempFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "host-XXXXXX").string();
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

  std::string folder(const std::string& name) const {
    std::filesystem::create_directories(at(name));
    return at(name);
  }
  std::string file(const std::string& name, std::string_view content = {}) const {
    std::ofstream(at(name), std::ios::binary) << content;
    return at(name);
  }

 private:
  std::string path_;
};
