#include "Command.h"
#include "JtwValueText.h"
#include "NewDocument.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {

ExitCode runNew(Session& session) {
  const std::string& text = session.argument(0);
  const std::string* unit = session.arguments().value("unit");
  const float unitRatio = unit ? jtw::parseUnit("--unit", *unit) : 1.0F;
  const Library library(session);
  const DocumentName name(text);
  NewDocument document(name, openHostDocument(name), session.arguments().has("force"), unitRatio);
  jt::SaveOptions options;
  options.dryRun = session.arguments().has("dry-run");
  const jt::SaveReport report = document.save(options);
  showSaveWarnings(session, report);

  if (!session.wantsJson()) {
    showSaved(session, report, options.dryRun);
    return ExitCode::done;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", text);
  json.member("key", kComponentKey);
  writeSaved(session, report);
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
