#include <string>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEdits.h"
#include "Session.h"

namespace tool {

ExitCode runMv(Session& session) {
  const Arguments& arguments = session.arguments();
  const jtw::ObjectAddress address(session.argument(1));
  const std::string* parentText = arguments.value("parent");
  if (!parentText) failUsage("--parent names the object that it moves under");
  const jtw::ObjectAddress parent(*parentText);

  Component component(session, session.argument(0), !arguments.has("dry-run"));
  jtw::Objects& objects = component.objects();
  const std::size_t index = objects.find(address);
  const std::uint64_t places = objects.placeCount(index);
  JtwNode& node = objects.node(index);
  const jtw::MoveResult moved = jtw::moveObject(objects, node, parent, arguments.has("keep-place"));
  if (moved.unitChanged)
    session.warn(component.document() + ": object " + address.text() +
                 " has no unit of its own and is read in that of its new parent");
  return saveAndReport(
      session, component,
      "moved " + std::to_string(moved.key.getAsLong()) + " under " +
          std::to_string(moved.parent.getAsLong()),
      [&](JsonWriter& json) {
        json.member("parent", moved.parent.getAsLong());
        writeNodeResult(json, component, objects.indexOf(node));
      },
      places);
}

}  // namespace tool
