#include "EditResult.h"

#include "Component.h"
#include "NodeView.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {

void writeNodeResult(JsonWriter& json, const Component& component, std::size_t index) {
  const jtw::Objects& objects = component.objects();
  const ListedObject object{.node = &objects.node(index),
                            .parent = objects.listedParent(index),
                            .address = objects.address(index)};
  json.key("node");
  json.beginObject();
  writeNodeMembers(json, object);
  json.numbers("absLoc", object.node->absLoc().values());
  json.end();
}

ExitCode saveAndReport(Session& session, Component& component, const std::string& line,
                       const ResultMembers& members, std::uint64_t places) {
  const bool dryRun = session.arguments().has("dry-run");
  const jt::SaveReport report = component.save(dryRun);
  showSaveWarnings(session, report);
  if (!session.wantsJson()) {
    if (!line.empty()) session.out().line(printable(line));
    if (places > 1) session.out().line("changes the component in " + counted(places, "place"));
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
