#include <string>
#include <vector>

#include "Choice.h"
#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEdits.h"
#include "Session.h"

namespace tool {

ExitCode runMv(Session& session) {
  const Arguments& arguments = session.arguments();
  const Choice choice(session, Choice::Others::keys);
  const std::string* parentText = arguments.value("parent");
  if (!parentText) failUsage("--parent names the object that it moves under");
  const jtw::ObjectAddress parent(*parentText);

  Component component(session, session.argument(0), !arguments.has("dry-run"));
  jtw::Objects& objects = component.objects();
  const std::vector<std::size_t> chosen = choice.of(objects);
  const std::uint64_t places = choice.isSelection() ? 1 : objects.placeCount(chosen.front());
  const std::vector<JtwNode*> nodes = objects.nodes(chosen);
  const std::vector<jtw::MoveResult> moved =
      jtw::moveObjects(objects, nodes, parent, arguments.has("keep-place"));
  for (const jtw::MoveResult& one : moved)
    if (one.unitChanged)
      session.warn(component.document() + ": object " + std::to_string(one.key.getAsLong()) +
                   " has no unit of its own and is read in that of its new parent");
  const long under = moved.front().parent.getAsLong();
  return saveAndReport(
      session, component,
      "moved " +
          (choice.isSelection() ? counted(moved.size(), "object")
                                : std::to_string(moved.front().key.getAsLong())) +
          " under " + std::to_string(under),
      [&](JsonWriter& json) {
        json.member("parent", under);
        if (!choice.isSelection())
          return writeNodeResult(json, component, objects.indexOf(*nodes.front()));
        std::vector<long> keys;
        keys.reserve(moved.size());
        for (const jtw::MoveResult& one : moved) keys.push_back(one.key.getAsLong());
        json.numbers("moved", keys);
      },
      places);
}

}  // namespace tool
