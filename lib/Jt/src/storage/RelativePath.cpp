#include "storage/RelativePath.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "JtPartFolder.h"
#include "storage/FolderNames.h"

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

bool isThere(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

/// Finds the components of a path on disk, whatever their case.
class Matcher {
 public:
  Matcher(Parts& parts, FolderNames& names) : parts_(parts), names_(names) {}

  /// Replaces the components from `index` on by those on disk.
  bool match(const fs::path& folder, std::size_t index) {
    if (index == parts_.size()) return true;
    const auto state = FolderState::of(folder);
    // Links may lead to one folder on many ways; what was not found there is not there.
    if (!state || !tried_.emplace(*state, index).second) return false;
    const std::string wanted = parts_[index];
    for (const std::string& one : names_.find(folder, *state, wanted)) {
      parts_[index] = one;
      if (match(folder / one, index + 1)) return true;
    }
    parts_[index] = wanted;
    return false;
  }

 private:
  Parts& parts_;
  FolderNames& names_;
  std::set<std::pair<FolderState, std::size_t>> tried_;
};

}  // namespace

std::optional<std::string> findRelative(const std::string& folder, std::string_view path,
                                        FolderNames& names) {
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
    if (Matcher(parts, names).match(start, 0)) return join(parts);
  }
  return join(*named);
}

bool leadsOutside(const JtStorageLocation& base, const JtStorageLocation& place) {
  const auto* from = as<JtFSStorageLocation>(&base);
  const auto* to = as<JtFSStorageLocation>(&place);
  if (!from || !to) return false;
  return isThere(to->fullFilePath()) && !isBeside(to->fullFilePath(), from->fullFilePath());
}

}  // namespace jt::storage
