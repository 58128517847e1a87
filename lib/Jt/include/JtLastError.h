#pragma once

#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "JtExport.h"
#include "JtFormatError.h"

namespace jt {

/// Why the last operation of this thread that reports by its result failed: the file and the
/// reason. Operations that can fail begin by clearing it. Valid until the next operation.
JT_API const std::string& lastError();
/// The stable code that came with lastError(); empty for none.
JT_API const std::string& lastErrorCode();
/// The exception that lastError() has its text from; nothing when it has it from elsewhere.
JT_API const std::optional<JtFormatError>& lastFormatError();
/// To be called by what reports by its result.
JT_API void setLastError(std::string text, std::string code = {});
/// The same for an exception: its text, behind the name of the file unless it names it already.
JT_API void setLastError(const std::exception& failure, const std::string& file);

/// True for the code of an error that a system call or another program caused, whatever is in the
/// file: "unreadable", "changed_on_disk", "out_of_memory".
JT_API bool isReadFailure(std::string_view code) noexcept;

}  // namespace jt
