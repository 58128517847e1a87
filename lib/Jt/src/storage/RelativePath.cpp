#include "storage/RelativePath.h"

#include <algorithm>
#include <filesystem>
#include <span>
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

bool sameLetters(const std::string& a, const std::string& b) {
  const JtString left(a), right(b);
  return std::equal(left.units().begin(), left.units().end(), right.units().begin(),
                    right.units().end(),
                    [](char16_t x, char16_t y) { return lower(x) == lower(y); });
}

bool isThere(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

/// Entries of a folder that differ from `name` in case at most, the equal one first.
Parts candidates(const fs::path& folder, const std::string& name) {
  Parts found;
  std::error_code error;
  for (fs::directory_iterator entry(folder, error), end; !error && entry != end;
       entry.increment(error)) {
    std::string other = entry->path().filename().string();
    if (sameLetters(other, name)) found.push_back(std::move(other));
  }
  std::sort(found.begin(), found.end());
  std::stable_partition(found.begin(), found.end(), [&](const auto& one) { return one == name; });
  return found;
}

/// Replaces the components from `index` on by those on disk.
bool matchIgnoringCase(const fs::path& folder, Parts& parts, std::size_t index) {
  if (index == parts.size()) return true;
  const std::string wanted = parts[index];
  for (const std::string& one : candidates(folder, wanted)) {
    parts[index] = one;
    if (matchIgnoringCase(folder / one, parts, index + 1)) return true;
  }
  parts[index] = wanted;
  return false;
}

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
    if (matchIgnoringCase(start, parts, 0)) return join(parts);
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
