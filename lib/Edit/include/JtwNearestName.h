#pragma once

#include <span>
#include <string>
#include <string_view>

#include "JtwExport.h"

namespace jtw {

/// The name nearest to a mistyped one; null when none is near. Only the first 32 bytes count.
JTW_API const char* nearestName(std::string_view text, std::span<const char* const> names);

/// "; did you mean 'NAME'?" with the nearest name, or the empty text: the end of a message.
JTW_API std::string suggestion(std::string_view text, std::span<const char* const> names);

/// The same, and where no name is near all of them behind `all`, such as "the fields are".
JTW_API std::string suggestion(std::string_view text, std::span<const char* const> names,
                               const char* all);

}  // namespace jtw
