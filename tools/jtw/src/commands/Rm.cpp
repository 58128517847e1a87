#include <span>
#include <string>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEdits.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {

ExitCode runRm(Session& session) {
  const jtw::ObjectAddress address(session.argument(1));
  Component component(session, session.argument(0), !session.arguments().has("dry-run"));
  jtw::Objects& objects = component.objects();
  const std::size_t index = objects.find(address);
  const std::uint64_t places = objects.placeCount(index);
  std::string line = "removed " + std::string(kindName(objects.node(index))) + " " + address.text();
  const jtw::RemoveResult result = jtw::removeObjects(objects, std::span(&index, 1));
  if (result.count > 1) line += " and " + std::to_string(result.count - 1) + " below it";
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
