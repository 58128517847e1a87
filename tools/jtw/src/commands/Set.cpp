#include <string>

#include "Command.h"
#include "Component.h"
#include "NodeEdits.h"
#include "NodeView.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {

ExitCode runSet(Session& session) {
  const auto& words = session.arguments().positional();
  const bool dryRun = session.arguments().has("dry-run");
  const ObjectName name(words[1]);
  Component component(session, words[0], !dryRun);
  const std::size_t index = component.find(name);
  NodeEdits edits(component, index, std::span(words).subspan(2));
  edits.apply();
  if (!component.ensureKey(index))
    session.warn(component.document() + ": the object has no key, and none could be given to it");
  const jt::SaveReport report = component.save(dryRun);
  showSaveWarnings(session, report);
  if (!session.wantsJson()) {
    showSaved(session, report, dryRun);
    return ExitCode::done;
  }
  JtwNode& node = *component.entries()[index].node;
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  json.key("node");
  json.beginObject();
  writeNodeMembers(json, node, component.listedParent(index));
  json.numbers("absLoc", node.absLoc().values());
  json.end();
  writeSaved(session, report);
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
