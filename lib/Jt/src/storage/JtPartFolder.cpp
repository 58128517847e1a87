#include "JtPartFolder.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <unordered_set>

#include "JtAssembly.h"
#include "JtByteText.h"
#include "JtFormatError.h"
#include "storage/OpenWithoutShapes.h"
#include "storage/SaveErrors.h"

namespace fs = std::filesystem;

namespace jt {
namespace {

constexpr std::size_t kMostNameBytes = 120;

/// A byte of a name that may stay: bytes of other than ASCII characters do.
bool isSafe(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || std::isalnum(byte) || c == ' ' || c == '.' || c == '_' || c == '-';
}

std::string lower(std::string text) {
  std::ranges::transform(text, text.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return text;
}

bool isReserved(const std::string& name) {
  constexpr std::array<std::string_view, 4> kDevices{"con", "prn", "aux", "nul"};
  const std::string stem = lower(name.substr(0, name.find('.')));
  if (std::ranges::find(kDevices, stem) != kDevices.end()) return true;
  return stem.size() == 4 && (stem.starts_with("com") || stem.starts_with("lpt")) &&
         std::isdigit(static_cast<unsigned char>(stem[3]));
}

/// Cuts a text in front of a character, never within one.
void cut(std::string& text, std::size_t bytes) {
  if (text.size() <= bytes) return;
  while (bytes > 0 && (static_cast<unsigned char>(text[bytes]) & 0xc0U) == 0x80U) --bytes;
  text.resize(bytes);
}

void trim(std::string& text) {
  while (!text.empty() && (text.back() == ' ' || text.back() == '.')) text.pop_back();
  text.erase(0, std::min(text.find_first_not_of(" ."), text.size()));
}

/// The names of the files that an assembly on disk refers to; none when it cannot be read.
std::vector<std::string> referencesOf(const std::string& path) {
  std::vector<std::string> names;
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return names;
  try {
    const auto place = make<JtFSStorageLocation>(path);
    const Ref<JtPartition> top = storage::openWithoutShapes(*place);
    for (const PartFile& file : partFilesOf(*top)) names.push_back(file.file);
  } catch (const std::exception&) {
    names.clear();
  }
  return names;
}

}  // namespace

std::string safeFileName(const JtString& name) {
  std::string safe = name.stringToMbs();
  std::ranges::replace_if(
      safe, [](char c) { return !isSafe(c); }, '_');
  cut(safe, kMostNameBytes);
  trim(safe);
  if (safe.empty()) safe = "part";
  if (isReserved(safe)) safe.insert(0, "_");
  return safe;
}

void makeFolder(const std::string& path) {
  std::error_code error;
  if (fs::is_directory(path, error)) return;
  fs::create_directory(path, error);
  if (error) storage::SaveErrors(path, 0).failed(error.value(), "making the folder");
}

bool isBeside(const std::string& file, const std::string& base) {
  std::error_code error;
  const fs::path folder = fs::weakly_canonical(fs::absolute(base, error).parent_path(), error);
  if (error) return false;
  const fs::path path = fs::weakly_canonical(fs::absolute(file, error), error);
  if (error) return false;
  const fs::path relative = path.lexically_relative(folder);
  return !relative.empty() && *relative.begin() != ".." && relative.is_relative();
}

std::string partFolderOf(const std::string& assembly) {
  const fs::path path(assembly);
  std::string name = path.stem().string();
  if (name == path.filename().string()) name += "_parts";  // a file without extension
  return (path.parent_path() / name).string();
}

PartFolder::PartFolder(const JtFSStorageLocation& assembly) {
  const fs::path path(assembly.fullFilePath());
  folder_ = partFolderOf(path.string()) + "/";
  prefix_ = fs::path(partFolderOf(path.string())).filename().string() + "/";
  for (const std::string& reference : referencesOf(path.string())) {
    const std::string file = reference.starts_with(prefix_) ? reference.substr(prefix_.size()) : "";
    if (!file.empty() && file.find_first_of("/\\") == std::string::npos && file[0] != '.')
      old_.push_back(folder_ + file);
  }
}

Ref<JtFSStorageLocation> PartFolder::add(const JtString& partName, bool dryRun) {
  std::error_code error;
  if (!dryRun && madeFolder_.path().empty() && added_.empty()) {
    const std::string folder = folder_.substr(0, folder_.size() - 1);
    if (fs::create_directory(folder, error)) madeFolder_.set(folder, TemporaryPath::Kind::folder);
    if (!error && fs::is_symlink(fs::symlink_status(folder)))
      error = {ENOTDIR, std::generic_category()};
    if (error)
      storage::SaveErrors(folder, 0).failed(error.value(), "making the folder of the part files");
  }
  const std::string stem = safeFileName(partName);
  std::string name = stem + ".jt";
  const auto isTaken = [&](const std::string& candidate) {
    std::error_code ignored;
    return used_.contains(lower(candidate)) ||
           fs::exists(fs::symlink_status(folder_ + candidate, ignored));
  };
  for (int& number = numbers_.try_emplace(lower(stem), 1).first->second; isTaken(name);)
    name = stem + " (" + std::to_string(++number) + ").jt";
  used_.insert(lower(name));
  if (!dryRun) added_.emplace_back(folder_ + name);
  reference_ = prefix_ + name;
  return make<JtFSStorageLocation>(textOfBytes(folder_), textOfBytes(name));
}

void PartFolder::commit() noexcept {
  try {
    std::unordered_set<std::string_view> kept;
    for (const TemporaryPath& path : added_) kept.insert(path.path());
    for (const std::string& path : old_)
      if (!kept.contains(path)) ::unlink(path.c_str());
  } catch (const std::exception&) {
    // Out of memory: old part files stay, which nothing refers to any more.
  }
  for (TemporaryPath& path : added_) path.keep();
  added_.clear();
  old_.clear();
  madeFolder_.keep();
}

}  // namespace jt
