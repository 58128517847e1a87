#include "platform/FileSystem.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string_view>

namespace host {
namespace {

bool isRegularFile(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

}  // namespace

bool fileExists(const std::string& path) { return ::access(path.c_str(), F_OK) == 0; }

bool isDirectory(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::string absolutePath(const std::string& path) {
  std::error_code error;
  const std::filesystem::path whole = std::filesystem::absolute(path, error);
  std::string text = (error ? std::filesystem::path(path) : whole).lexically_normal().string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

bool listFolder(const std::string& folder, bool filesOnly, std::vector<std::string>& names) {
  names.clear();
  const auto close = [](DIR* dir) { ::closedir(dir); };
  const std::unique_ptr<DIR, decltype(close)> dir(::opendir(folder.c_str()), close);
  if (!dir) return false;
  errno = 0;
  while (const dirent* entry = ::readdir(dir.get())) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
    errno = 0;
  }
  if (errno != 0) {
    names.clear();
    return false;
  }
  if (filesOnly) {
    std::erase_if(
        names, [&folder](const std::string& name) { return !isRegularFile(folder + "/" + name); });
  }
  return true;
}

bool lastWriteTime(const std::string& path, std::int64_t& nanoseconds) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return false;
  nanoseconds = std::int64_t{info.st_mtim.tv_sec} * 1'000'000'000 + info.st_mtim.tv_nsec;
  return true;
}

bool isSameFile(const std::string& a, const std::string& b) {
  struct stat infoA {};
  struct stat infoB {};
  return ::stat(a.c_str(), &infoA) == 0 && ::stat(b.c_str(), &infoB) == 0 &&
         infoA.st_dev == infoB.st_dev && infoA.st_ino == infoB.st_ino;
}

bool syncFolder(const std::string& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return false;
  const bool synced = ::fsync(descriptor) == 0;
  ::close(descriptor);
  return synced;
}

std::string programFolder() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? std::string() : program.parent_path().string() + "/";
}

}  // namespace host
