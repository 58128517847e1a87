#include "Command.h"
#include "InputFile.h"
#include "MeshOptions.h"
#include "MeshReport.h"
#include "NewDocument.h"
#include "SaveResult.h"
#include "ScratchFolder.h"
#include "Session.h"

namespace tool {

ExitCode runImport(Session& session) {
  std::string input = session.argument(0);
  ScratchFolder scratch;
  const std::string* from = session.arguments().value("from");
  if ((input == "-") != (from != nullptr))
    failUsage(from ? "--from is for standard input, '-'" : "standard input needs --from FORMAT");
  if (from) {
    input = scratch.place("input." + *from);
    writeBytes(input, readBytes("-"));
  }
  const std::string& document = session.argument(1);
  const Arguments& arguments = session.arguments();
  mesh::Scene scene = loadMeshFile(session, input, session.argument(0));
  const SceneCounts counts(scene);
  const SavedScene saved =
      saveComponent(session, std::move(scene), document, arguments.has("force"));
  if (!session.wantsJson()) {
    showCounts(session, counts);
    showSavedComponent(session, saved.report);
    showRounding(session, saved.rounding);
    return ExitCode::done;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", session.argument(0));
  json.member("document", document);
  json.member("key", kComponentKey);
  writeCounts(session, counts);
  writeSaved(session, saved.report);
  writeRounding(session, saved.rounding);
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
