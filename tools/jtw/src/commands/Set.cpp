#include <span>
#include <string>
#include <vector>

#include "Choice.h"
#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEdits.h"
#include "Session.h"

namespace tool {

ExitCode runSet(Session& session) {
  const Choice choice(session, Choice::Others::settings);
  const std::vector<jtw::Setting> settings = jtw::parseSettings(
      std::span(session.arguments().positional()).subspan(choice.firstArgument()));
  if (settings.empty()) failUsage("there is nothing to set: NAME=VALUE");
  Component component(session, session.argument(0), !session.arguments().has("dry-run"));
  jtw::Objects& objects = component.objects();
  const std::vector<std::size_t> chosen = choice.of(objects);
  const std::vector<JtwNode*> nodes = objects.nodes(chosen);
  for (const ApiProtoKey& key : jtw::setObjects(objects, nodes, settings))
    if (key.isNull())
      session.warn(component.document() + ": the object has no key, and none could be given to it");
  return saveAndReport(
      session, component, choice.isSelection() ? "set " + counted(chosen.size(), "object") : "",
      [&](JsonWriter& json) {
        if (choice.isSelection())
          writeNodeResults(json, component, chosen);
        else
          writeNodeResult(json, component, chosen.front());
      },
      choice.isSelection() ? 1 : objects.placeCount(chosen.front()));
}

}  // namespace tool
