#include <vector>

#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "JtwSelection.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {

ExitCode runFind(Session& session) {
  const jtw::Selection selection(session.argument(1));
  const Component component(session, session.argument(0), false);
  const jtw::Objects& objects = component.objects();
  const jtw::Reading reading(component.root());
  const std::vector<std::size_t> found = selection.of(objects);
  const std::vector<jt::PartFile> parts = component.partFiles();
  if (!session.wantsJson()) {
    const Style& style = session.style();
    for (const std::size_t i : found) {
      const std::string address = objects.address(i);
      session.out().line(style.paint(Ink::yellow, address.empty() ? "-" : address) + "  " +
                         style.paint(Ink::dim, kindName(objects.node(i))) + "  " +
                         printable(objects.path(i)));
    }
    return exitCodeOf(parts);
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  json.member("count", found.size());
  json.key("matches");
  json.beginArray();
  for (const std::size_t i : found) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("key", keyNumber(objects.node(i).key()));
    json.textOrNull("address", objects.address(i));
    json.member("path", objects.path(i));
    json.member("kind", kindName(objects.node(i)));
    json.textOrNull("name", objects.name(i));
    json.end();
  }
  json.end();
  writeFiles(json, parts);
  session.endResult();
  return exitCodeOf(parts);
}

}  // namespace tool
