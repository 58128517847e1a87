#pragma once

#include <span>
#include <string>

#include "JtStorageManager.h"

namespace jt::storage {

/// Replaces a file, or makes a new one, in one step: whatever happens, the path holds the old bytes
/// or all of the new ones. Links are followed and stay links. Errors and warnings as
/// JtStorageManager::save has them; with strictAttributes also the error "attributes_not_copied".
StorageSaveResult saveFile(const std::string& path, std::span<const FilePiece> pieces,
                           const StorageSaveOptions& options);

}  // namespace jt::storage
