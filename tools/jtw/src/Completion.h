#pragma once

#include <string>
#include <string_view>

namespace tool {

/// The script with which a shell completes command lines of jtw, made of the table of commands.
/// @param shell "bash", "zsh" or "fish"; throws Failure "usage" for another one
std::string completionScript(std::string_view shell);

}  // namespace tool
