#pragma once

#include <optional>

#include "JtFormatError.h"

namespace jt {

/// Installs a handler for SIGBUS that keeps the process alive when a page of an opened JT file is
/// gone: the file became shorter, or its medium fails. The missing bytes read as zeros, and
/// FileImage::checkPresent throws from then on. Faults elsewhere go to the handler that was
/// installed before. For programs, which own their signals; the library never calls it. Call it
/// once, before files are opened.
JT_API void guardMappedFiles();

/// The first file of this process that changed in place while it was open ("changed_on_disk"), or
/// that could not be read ("unreadable"), and forgets it. Whatever was read of it meanwhile may be
/// a mixture of old and new bytes, so a program asks at the end of each operation. Also finds files
/// that were closed since; looks at every open file.
JT_API std::optional<JtFormatError> takeFileChange();

}  // namespace jt
