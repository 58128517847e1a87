#pragma once

namespace jt::storage {

class MappedFile;

/// The mapped files of the process: what the handler of SIGBUS searches, and what is asked for
/// changes. A file is in the list from its mapping to its end. Nothing here allocates.
void addOpenFile(MappedFile& file) noexcept;
/// Records a change of the file, so that takeFileChange still finds it.
void removeOpenFile(MappedFile& file) noexcept;

}  // namespace jt::storage
