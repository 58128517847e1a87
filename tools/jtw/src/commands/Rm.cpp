#include <string>
#include <vector>

#include "Choice.h"
#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEdits.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {

ExitCode runRm(Session& session) {
  const Choice choice(session, Choice::Others::keys);
  Component component(session, session.argument(0), !session.arguments().has("dry-run"));
  jtw::Objects& objects = component.objects();
  const std::vector<std::size_t> chosen = choice.of(objects);
  const std::uint64_t places = choice.isSelection() ? 1 : objects.placeCount(chosen.front());
  std::string line = "removed ";
  if (!choice.isSelection())
    line += std::string(kindName(objects.node(chosen.front()))) + " " + choice.text();
  const jtw::RemoveResult result = jtw::removeObjects(objects, objects.nodes(chosen));
  if (choice.isSelection())
    line += counted(result.count, "object");
  else if (result.count > 1)
    line += " and " + std::to_string(result.count - 1) + " below it";
  if (!result.detached.empty())
    line +=
        "; " + counted(result.detached.size(), "object") + " no longer attached to what is gone";
  return saveAndReport(
      session, component, line,
      [&](JsonWriter& json) {
        json.numbers("removed", result.removed);
        json.numbers("detached", result.detached);
      },
      places);
}

}  // namespace tool
