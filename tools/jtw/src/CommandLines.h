#pragma once

#include <cstddef>
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

/// What is to be done for several files.
struct CommandBatch {
  std::vector<CommandPiece> pieces;
  std::size_t jobs = 1;          ///< how many run at a time at most
  bool isQuietWithQuiet = true;  ///< --quiet shows failures only
  const char* ownOption = "";    ///< one that the command has for several files alone
};

/// Runs the session's command for each of several files, each in a process of its own, with the
/// options that were given but those that choose files. As JSON the result has `files`, a list of
/// what the command prints for one file, an error among it, and `summary`, `{files, failed}`.
ExitCode runForEach(Session& session, const CommandBatch& work);

}  // namespace tool
