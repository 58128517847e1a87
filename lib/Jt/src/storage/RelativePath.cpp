#include "storage/RelativePath.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <mutex>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "JtString.h"

namespace jt::storage {
namespace {

namespace fs = std::filesystem;
using Parts = std::vector<std::string>;

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool hasDriveOrScheme(std::string_view path) {
  if (path.size() >= 2 && isLetter(path[0]) && path[1] == ':') return true;
  const auto isSchemeLetter = [](char c) {
    return isLetter(c) || (c >= '0' && c <= '9') || c == '+' || c == '-' || c == '.';
  };
  const auto end = std::find_if_not(path.begin(), path.end(), isSchemeLetter);
  const std::string_view rest = path.substr(static_cast<std::size_t>(end - path.begin()));
  return rest.size() < path.size() && (rest.starts_with("://") || rest.starts_with(":\\\\"));
}

/// The components without "." and ".."; nothing when the path leads out of its start.
std::optional<Parts> split(std::string_view path) {
  Parts parts;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find_first_of("/\\"), path.size());
    const std::string_view part = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    if (part == "..") {
      if (parts.empty()) return std::nullopt;
      parts.pop_back();
    } else if (!part.empty() && part != ".") {
      parts.emplace_back(part);
    }
  }
  return parts.empty() ? std::nullopt : std::optional(std::move(parts));
}

std::string join(std::span<const std::string> parts) {
  std::string path;
  for (const std::string& part : parts) path += (path.empty() ? "" : "/") + part;
  return path;
}

/// Lower case of the Latin, Greek and Cyrillic letters; independent of the locale.
char16_t lower(char16_t c) {
  const bool shifted = (c >= u'A' && c <= u'Z') || (c >= 0xc0 && c <= 0xde && c != 0xd7) ||
                       (c >= 0x391 && c <= 0x3a9) || (c >= 0x410 && c <= 0x42f);
  if (shifted) return static_cast<char16_t>(c + 0x20);
  if (c >= 0x400 && c <= 0x40f) return static_cast<char16_t>(c + 0x50);
  if (c >= 0x100 && c <= 0x137) return static_cast<char16_t>(c | 1);
  return c;
}

bool isThere(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

/// A name in lower case.
std::u16string folded(const std::string& name) {
  std::u16string units = JtString(name).units();
  std::ranges::transform(units, units.begin(), lower);
  return units;
}

/// What makes one folder, whatever name or link leads to it, and its state.
struct FolderState {
  dev_t device = 0;
  ino_t inode = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;
  friend auto operator<=>(const FolderState&, const FolderState&) = default;
};

std::optional<FolderState> stateOf(const fs::path& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
  return FolderState{status.st_dev, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

/// Names in the folders that were looked into last, so that a folder is not read again for each of
/// many names. A folder that changed is read again.
class FolderNames {
 public:
  /// Entries of a folder that differ from `name` in case at most, the equal one first.
  Parts find(const fs::path& folder, const FolderState& state, const std::string& name) {
    const std::lock_guard lock(mutex_);
    if (!state_ || *state_ != state) read(folder, state);
    Parts found;
    for (auto [at, end] = names_.equal_range(folded(name)); at != end; ++at)
      found.push_back(at->second);
    std::ranges::sort(found);
    std::stable_partition(found.begin(), found.end(),
                          [&](const std::string& one) { return one == name; });
    return found;
  }

 private:
  void read(const fs::path& folder, const FolderState& state) {
    state_.reset();
    names_.clear();
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
         entry.increment(error)) {
      std::string name = entry->path().filename().string();
      std::u16string key = folded(name);
      names_.emplace(std::move(key), std::move(name));
    }
    // The clock of a file system ticks slowly: what changes within a tick does not show.
    constexpr std::int64_t kSettled = 2;
    if (std::time(nullptr) - state.seconds >= kSettled) state_ = state;
  }

  std::mutex mutex_;
  std::optional<FolderState> state_;  // of the folder that was read
  std::unordered_multimap<std::u16string, std::string> names_;
};

/// Finds the components of a path on disk, whatever their case.
class Matcher {
 public:
  explicit Matcher(Parts& parts) : parts_(parts) {}

  /// Replaces the components from `index` on by those on disk.
  bool match(const fs::path& folder, std::size_t index) {
    static FolderNames names;
    if (index == parts_.size()) return true;
    const auto state = stateOf(folder);
    // Links may lead to one folder on many ways; what was not found there is not there.
    if (!state || !tried_.emplace(*state, index).second) return false;
    const std::string wanted = parts_[index];
    for (const std::string& one : names.find(folder, *state, wanted)) {
      parts_[index] = one;
      if (match(folder / one, index + 1)) return true;
    }
    parts_[index] = wanted;
    return false;
  }

 private:
  Parts& parts_;
  std::set<std::pair<FolderState, std::size_t>> tried_;
};

}  // namespace

std::optional<std::string> findRelative(const std::string& folder, std::string_view path) {
  if (path.empty() || path[0] == '/' || path[0] == '\\' || hasDriveOrScheme(path) ||
      path.find('\0') != path.npos)
    return std::nullopt;
  const std::optional<Parts> named = split(path);
  if (!named) return std::nullopt;

  const fs::path start(folder.empty() ? "." : folder);
  const Parts last{named->back()};
  for (const Parts& wanted : {*named, last}) {
    if (isThere(start / join(wanted))) return join(wanted);
    Parts parts = wanted;
    if (Matcher(parts).match(start, 0)) return join(parts);
  }
  return join(*named);
}

bool leadsOutside(const JtStorageLocation& base, const JtStorageLocation& place) {
  const auto* from = as<JtFSStorageLocation>(&base);
  const auto* to = as<JtFSStorageLocation>(&place);
  if (!from || !to) return false;
  std::error_code error;
  const fs::path folder =
      fs::canonical(fs::absolute(from->fullFilePath(), error).parent_path(), error);
  const fs::path target = error ? fs::path() : fs::canonical(to->fullFilePath(), error);
  if (error) return false;
  return std::mismatch(folder.begin(), folder.end(), target.begin(), target.end()).first !=
         folder.end();
}

}  // namespace jt::storage
