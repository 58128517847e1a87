#include "EditResult.h"

#include "Component.h"
#include "NodeView.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {

namespace {

void writeNode(JsonWriter& json, const Component& component, std::size_t index) {
  const ListedObject object = component.objects().listed(index);
  json.beginObject();
  writeNodeMembers(json, object);
  writeLocation(json, "absLoc", object.node->absLoc(), *object.node);
  json.end();
}

}  // namespace

void writeNodeResult(JsonWriter& json, const Component& component, std::size_t index) {
  json.key("node");
  writeNode(json, component, index);
}

void writeNodeResults(JsonWriter& json, const Component& component,
                      std::span<const std::size_t> indices) {
  json.key("nodes");
  json.beginArray();
  for (const std::size_t index : indices) writeNode(json, component, index);
  json.end();
}

ExitCode saveAndReport(Session& session, Component& component, const std::string& line,
                       const ResultMembers& members, std::uint64_t places) {
  const bool dryRun = session.arguments().has("dry-run");
  const jt::SaveReport report = component.save(dryRun);
  showSaveWarnings(session, report);
  if (!session.wantsJson()) {
    if (!line.empty()) session.report().line(printable(line));
    if (places > 1) session.report().line("changes the component in " + counted(places, "place"));
    showSaved(session, report, dryRun);
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("document", component.document());
  members(session.json());
  session.json().member("places", places);
  writeSaved(session, report);
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
