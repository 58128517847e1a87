#pragma once

#include <string>
#include <vector>

#include "Failure.h"

namespace tool {

class Session;

/// A command line for one file of several.
struct CommandPiece {
  std::vector<std::string> arguments;  ///< in the place of those that were given
  std::string file;                    ///< for messages
};

/// Runs the session's command for each of several files, each in a process of its own, with the
/// options that were given but those that choose files. As JSON the result has `files`, a list of
/// what the command prints for one file, an error among it, and `summary`, `{files, failed}`.
/// @param jobs how many run at a time at most
/// @param isQuietWithQuiet --quiet shows failures only
ExitCode runForEach(Session& session, const std::vector<CommandPiece>& pieces, std::size_t jobs,
                    bool isQuietWithQuiet);

}  // namespace tool
