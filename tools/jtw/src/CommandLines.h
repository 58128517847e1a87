#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "Failure.h"
#include "FileList.h"

namespace tool {

class Session;

/// What is to be done for several files.
struct CommandBatch {
  /// The file that each makes, named behind it on the command line; may be empty.
  std::vector<std::string> outputs;
  std::size_t jobs = 1;          ///< how many run at a time at most
  bool isQuietWithQuiet = true;  ///< --quiet shows failures only
  const char* ownOption = "";    ///< one that the command has for several files alone
};

/// Runs the session's command for each file of the list, each in a process of its own, with the
/// options that were given but those that are for several files. As JSON the result has `files`, a
/// list of what the command prints for one file, an error among it, and `summary`, `{files,
/// failed}`.
ExitCode runForEach(Session& session, const FileList& list, const CommandBatch& work);

/// Results that go into a folder.
struct FolderResults {
  std::string folder;          ///< of --output-dir
  std::string extension;       ///< of each, with its dot
  bool bringsParts = false;    ///< part files come along, unless --top-only is given
  const char* ownOption = "";  ///< see CommandBatch
};

/// Lists the files that the command line names, and runs the session's command for each of them
/// with the name of its result behind it. Assemblies that bring their part files along are worked
/// on one after the other, since two of them may have one in common. Throws Failure "usage" for
/// results of one name before anything is written.
ExitCode runIntoFolder(Session& session, const FolderResults& results);

}  // namespace tool
