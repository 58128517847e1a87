#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "JtStorageLocation.h"

namespace jt::storage {

class FolderNames;

/// Finds the file that another file names by a path relative to its folder. Names in files come
/// from other systems: either separator, and letters of the wrong case, are accepted.
/// @param folder the folder, empty for the current one
/// @param path   UTF-8
/// @param names  of the folders that are looked into
/// @return the path from `folder` on: of the file named, else the one whose components differ in
///   case only, else the one of that name in `folder` itself; when there is no file, as it is
///   named. Nothing for absolute paths, drive letters, URLs and paths that leave `folder`.
std::optional<std::string> findRelative(const std::string& folder, std::string_view path,
                                        FolderNames& names);

/// True when symbolic links lead from `place` to something outside the folder of `base`. False for
/// places that are no files, or not there.
bool leadsOutside(const JtStorageLocation& base, const JtStorageLocation& place);

}  // namespace jt::storage
