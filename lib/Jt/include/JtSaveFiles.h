#pragma once

#include <span>
#include <string>
#include <vector>

#include "JtStorageManager.h"

namespace jt {

/// A file of several that belong together.
struct NewFile {
  std::string path;
  std::span<const std::byte> content;
};

/// Replaces several files of the file system, or makes new ones, as JtStorageManager::save does
/// one: all are written, brought to the medium and compared before the first is put in its place.
/// After an error all places are as they were, where the file system can exchange two files; a
/// process that is killed between two of these renames leaves the first ones new. Throws
/// JtFormatError as JtStorageManager::save.
JT_API std::vector<StorageSaveResult> saveFilesTogether(std::span<const NewFile> files);

}  // namespace jt
