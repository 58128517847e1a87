#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "Arguments.h"
#include "CommandGroup.h"
#include "Failure.h"

namespace tool {

class Session;

/// One row of the table of commands.
struct Command {
  CommandGroup group;
  const char* name;
  const char* usage;    ///< what follows the name
  const char* summary;  ///< one line
  const char* example;
  const char* details;  ///< for `help NAME`, lines of text; may be empty
  std::size_t minArguments;
  std::size_t maxArguments;
  std::span<const Option> options;
  ExitCode (*run)(Session&);  ///< null: planned, not there yet
};

/// All commands, in the order in which help lists those of a group.
std::span<const Command> commands();
/// Throws Failure "usage" for a name that is none.
const Command& findCommand(std::string_view name);

/// What every help has, lines of text: what arguments mean, and how the program ends.
extern const char* const kArgumentsHelp;
extern const char* const kExitCodesHelp;

/// Throws Failure "usage" unless the number of arguments is in this range: for commands that
/// several forms of the command line have.
void requireArguments(const Session& session, std::size_t least, std::size_t most);

/// No limit for `maxArguments`.
inline constexpr std::size_t kManyArguments = static_cast<std::size_t>(-1);

// What the commands do, one file each in commands/.
ExitCode runInfo(Session& session);
ExitCode runGraph(Session& session);
ExitCode runMetadata(Session& session);
ExitCode runExplain(Session& session);
ExitCode runVerify(Session& session);
ExitCode runCopy(Session& session);
ExitCode runDiff(Session& session);
/// diff --patch: the changes from A to B, for apply.
ExitCode runDiffPatch(Session& session);
ExitCode runNew(Session& session);
ExitCode runTree(Session& session);
ExitCode runFind(Session& session);
ExitCode runInspect(Session& session);
ExitCode runGet(Session& session);
ExitCode runSet(Session& session);
ExitCode runAdd(Session& session);
ExitCode runRm(Session& session);
ExitCode runMv(Session& session);
ExitCode runClone(Session& session);
ExitCode runEdit(Session& session);
ExitCode runApply(Session& session);
ExitCode runMerge(Session& session);
ExitCode runGitSetup(Session& session);
ExitCode runFrames(Session& session);
ExitCode runBuffer(Session& session);
ExitCode runExportPartition(Session& session);
ExitCode runExport(Session& session);
ExitCode runAssemble(Session& session);
ExitCode runPmi(Session& session);
ExitCode runWires(Session& session);
ExitCode runSnapshot(Session& session);
ExitCode runView(Session& session);
// These two are in the program jtw-mesh; in jtw itself they start it.
ExitCode runImport(Session& session);
ExitCode runConvert(Session& session);
ExitCode runUpdateMaterials(Session& session);
ExitCode runReport(Session& session);
ExitCode runHelp(Session& session);
ExitCode runCompletion(Session& session);
/// The help of the program, or of one command.
void showHelp(Session& session, const Command* command);

}  // namespace tool
