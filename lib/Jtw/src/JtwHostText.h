#pragma once

#include <string_view>

#include "JtString.h"
#include "RWClassic.h"

// Texts of the host in JT strings. The host's texts are bytes, UTF-8 as a rule; JT strings are
// UTF-16. A byte that belongs to no character is stored as the lone surrogate U+DC00 + byte, so
// that every text comes back as it was.

namespace jtw {

JtString hostTextToJt(std::string_view text);
RWClassicCString hostTextFromJt(const JtString& text);

}  // namespace jtw
