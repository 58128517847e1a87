#include "Command.h"
#include "MeshOptions.h"
#include "MeshReport.h"
#include "NewDocument.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {

ExitCode runImport(Session& session) {
  const std::string& input = session.argument(0);
  const std::string& document = session.argument(1);
  const Arguments& arguments = session.arguments();
  mesh::Scene scene = loadMeshFile(session, input);
  const SceneCounts counts(scene);
  const jt::SaveReport report =
      saveComponent(session, std::move(scene), document, arguments.has("force"));
  if (!session.wantsJson()) {
    showCounts(session, counts);
    showSavedComponent(session, report);
    return ExitCode::done;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", input);
  json.member("document", document);
  json.member("key", kComponentKey);
  writeCounts(session, counts);
  writeSaved(session, report);
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
