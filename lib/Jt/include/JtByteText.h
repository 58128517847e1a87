#pragma once

#include <string>
#include <string_view>

#include "JtExport.h"
#include "JtString.h"

namespace jt {

/// Bytes as a JT string, such as a path or a text of the host: UTF-8 as a rule. A byte that belongs
/// to no character is kept as the lone surrogate U+DC00 + byte, so that bytesOfText() gives back
/// every sequence of bytes.
JT_API JtString textOfBytes(std::string_view bytes);
/// The inverse. Of texts that are not from textOfBytes(), the UTF-8 form, but for such surrogates.
JT_API std::string bytesOfText(const JtString& text);

}  // namespace jt
