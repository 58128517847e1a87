#pragma once

#include <sys/stat.h>

#include <string>
#include <vector>

namespace jt::storage {

/// Gives a new file the owner, group, mode, access list and extended attributes of an old one.
/// Rights that the old content had when executed (set-user-id, set-group-id, capabilities) are not
/// for the new content. Where the group cannot be given, nobody gains rights by it.
/// @param from old file, open for reading; negative when it could not be opened
/// @param info what `stat` says of the old file
/// @param to   new file, open for writing
/// @return what could not be copied, with the reason; empty when all was
std::vector<std::string> copyAttributes(int from, const struct stat& info, int to);

/// Gives a new file the mode and access list that a plain creation in `folder` would have given it.
/// @return what could not be done, with the reason
std::vector<std::string> applyCreationMode(int folder, int file);

}  // namespace jt::storage
