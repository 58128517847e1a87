// Of the commands the reader has `view` alone; the table names the others all the same.

#include "Command.h"

namespace tool {
namespace {

ExitCode refuse() { failUsage("only view works here"); }

}  // namespace

ExitCode runInfo(Session& /*session*/) { return refuse(); }
ExitCode runGraph(Session& /*session*/) { return refuse(); }
ExitCode runMetadata(Session& /*session*/) { return refuse(); }
ExitCode runExplain(Session& /*session*/) { return refuse(); }
ExitCode runVerify(Session& /*session*/) { return refuse(); }
ExitCode runCopy(Session& /*session*/) { return refuse(); }
ExitCode runDiff(Session& /*session*/) { return refuse(); }
ExitCode runDiffPatch(Session& /*session*/) { return refuse(); }
ExitCode runNew(Session& /*session*/) { return refuse(); }
ExitCode runTree(Session& /*session*/) { return refuse(); }
ExitCode runFind(Session& /*session*/) { return refuse(); }
ExitCode runInspect(Session& /*session*/) { return refuse(); }
ExitCode runGet(Session& /*session*/) { return refuse(); }
ExitCode runSet(Session& /*session*/) { return refuse(); }
ExitCode runAdd(Session& /*session*/) { return refuse(); }
ExitCode runRm(Session& /*session*/) { return refuse(); }
ExitCode runMv(Session& /*session*/) { return refuse(); }
ExitCode runClone(Session& /*session*/) { return refuse(); }
ExitCode runEdit(Session& /*session*/) { return refuse(); }
ExitCode runApply(Session& /*session*/) { return refuse(); }
ExitCode runMerge(Session& /*session*/) { return refuse(); }
ExitCode runGitSetup(Session& /*session*/) { return refuse(); }
ExitCode runFrames(Session& /*session*/) { return refuse(); }
ExitCode runBuffer(Session& /*session*/) { return refuse(); }
ExitCode runExportPartition(Session& /*session*/) { return refuse(); }
ExitCode runExport(Session& /*session*/) { return refuse(); }
ExitCode runAssemble(Session& /*session*/) { return refuse(); }
ExitCode runPmi(Session& /*session*/) { return refuse(); }
ExitCode runWires(Session& /*session*/) { return refuse(); }
ExitCode runSnapshot(Session& /*session*/) { return refuse(); }
ExitCode runImport(Session& /*session*/) { return refuse(); }
ExitCode runConvert(Session& /*session*/) { return refuse(); }
ExitCode runUpdateMaterials(Session& /*session*/) { return refuse(); }
ExitCode runHelp(Session& /*session*/) { return refuse(); }
ExitCode runCompletion(Session& /*session*/) { return refuse(); }
void showHelp(Session& /*session*/, const Command* /*command*/) { refuse(); }

}  // namespace tool
