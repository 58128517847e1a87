#pragma once

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace jt::storage {

/// What makes one folder, whatever name or link leads to it, and its state.
struct FolderState {
  dev_t device = 0;
  ino_t inode = 0;
  std::int64_t seconds = 0;
  std::int64_t nanoseconds = 0;

  /// Nothing when there is no folder of that name.
  static std::optional<FolderState> of(const std::filesystem::path& folder);
  friend auto operator<=>(const FolderState&, const FolderState&) = default;
};

/// The names in the folder that was looked into last, so that a folder is not read again for each
/// of many names. A folder that changed is read again. Thread-safe.
class FolderNames {
 public:
  /// Entries of a folder that differ from `name` in case at most, the equal one first.
  std::vector<std::string> find(const std::filesystem::path& folder, const FolderState& state,
                                const std::string& name);

 private:
  void read(const std::filesystem::path& folder, const FolderState& state);

  std::mutex mutex_;
  std::optional<FolderState> state_;  // of the folder that was read
  std::unordered_multimap<std::u16string, std::string> names_;
};

}  // namespace jt::storage
