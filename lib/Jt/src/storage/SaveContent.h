#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include "JtStorageManager.h"
#include "storage/MappedFile.h"
#include "storage/SaveErrors.h"

namespace jt::storage {

/// Bytes of the new file that lie together in an opened file, or in memory.
struct ContentRun {
  std::uint64_t size = 0;
  const MappedFile* file = nullptr;   ///< null: in memory
  std::uint64_t offset = 0;           ///< in `file`
  const std::byte* memory = nullptr;  ///< when there is no `file`
};

/// The opened file that runs are read from, one at a time: the runs may come from more files than
/// there are descriptors.
class OpenedSource {
 public:
  const MappedFile::Access& of(const MappedFile& file);

 private:
  const MappedFile* file_ = nullptr;
  std::optional<MappedFile::Access> access_;
};

/// What a save writes: the pieces that it was given, neighbours joined.
class SaveContent {
 public:
  explicit SaveContent(std::span<const FilePiece> pieces);
  std::uint64_t size() const noexcept { return size_; }
  const std::vector<ContentRun>& runs() const noexcept { return runs_; }

 private:
  std::vector<ContentRun> runs_;
  std::uint64_t size_ = 0;
};

/// Writes `content` from the start of an empty file and has the system begin early with bringing it
/// to the medium. Takes memory independent of the size.
/// @param progress receives now and then how many bytes the file holds, at the end too
void writeContent(int file, const SaveContent& content, const SaveErrors& errors,
                  const std::function<void(std::uint64_t)>& progress);

}  // namespace jt::storage
