#include "storage/FolderNames.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>

#include "JtByteText.h"

namespace jt::storage {
namespace {

namespace fs = std::filesystem;

/// Lower case of the Latin, Greek and Cyrillic letters; independent of the locale.
char16_t lower(char16_t c) {
  const bool shifted = (c >= u'A' && c <= u'Z') || (c >= 0xc0 && c <= 0xde && c != 0xd7) ||
                       (c >= 0x391 && c <= 0x3a9) || (c >= 0x410 && c <= 0x42f);
  if (shifted) return static_cast<char16_t>(c + 0x20);
  if (c >= 0x400 && c <= 0x40f) return static_cast<char16_t>(c + 0x50);
  if (c >= 0x100 && c <= 0x137) return static_cast<char16_t>(c | 1);
  return c;
}

/// A name in lower case.
std::u16string folded(const std::string& name) {
  std::u16string units(textOfBytes(name).units());
  std::ranges::transform(units, units.begin(), lower);
  return units;
}

}  // namespace

std::optional<FolderState> FolderState::of(const fs::path& folder) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return std::nullopt;
  return FolderState{status.st_dev, status.st_ino, status.st_mtim.tv_sec, status.st_mtim.tv_nsec};
}

std::vector<std::string> FolderNames::find(const fs::path& folder, const FolderState& state,
                                           const std::string& name) {
  const std::lock_guard lock(mutex_);
  if (!state_ || *state_ != state) read(folder, state);
  std::vector<std::string> found;
  for (auto [at, end] = names_.equal_range(folded(name)); at != end; ++at)
    found.push_back(at->second);
  std::ranges::sort(found);
  std::stable_partition(found.begin(), found.end(),
                        [&](const std::string& one) { return one == name; });
  return found;
}

void FolderNames::read(const fs::path& folder, const FolderState& state) {
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

}  // namespace jt::storage
