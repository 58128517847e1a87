#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "JtwScript.h"

namespace tool {

/// The steps of a script of edits (see schemas/script-1.json). Values may be texts as on the
/// command line, numbers, true and false, lists of numbers, lists of lines and colors {r, g, b, a}.
/// Throws Failure: exit code 3 for what is no JSON, 5 for a script that is wrong; the message names
/// the step and the member. @param file for messages
std::vector<jtw::ScriptStep> readScript(std::string_view text, const std::string& file);

}  // namespace tool
