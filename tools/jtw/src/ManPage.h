#pragma once

#include <string>

namespace tool {

struct Command;

/// The manual page of a command, in roff; of the program for null.
std::string manPage(const Command* command);

}  // namespace tool
