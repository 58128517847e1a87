#include <span>
#include <string>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEdits.h"
#include "Session.h"

namespace tool {
namespace {

std::string valueOr(const Arguments& arguments, const char* option, const char* fallback) {
  const std::string* value = arguments.value(option);
  return value ? *value : fallback;
}

/// The words behind the kind, and those options that are short for one.
std::vector<jtw::Setting> settingsOf(const Arguments& arguments) {
  std::vector<jtw::Setting> settings =
      jtw::parseSettings(std::span(arguments.positional()).subspan(2));
  for (const char* name : {"name", "loc", "size", "layer", "plane"})
    if (const std::string* value = arguments.value(name)) settings.push_back({name, *value});
  std::string text;
  for (const std::string& line : arguments.values("text"))
    text += (text.empty() ? "" : "\n") + line;
  if (!text.empty()) settings.push_back({"text", text});
  return settings;
}

}  // namespace

ExitCode runAdd(Session& session) {
  const Arguments& arguments = session.arguments();
  const jtw::AddRequest request{.kind = session.argument(1),
                                .key = valueOr(arguments, "key", "auto"),
                                .parent = valueOr(arguments, "parent", "root"),
                                .type = valueOr(arguments, "type", ""),
                                .leader = valueOr(arguments, "leader", ""),
                                .settings = settingsOf(arguments)};
  jtw::checkRequest(request);
  Component component(session, session.argument(0), !arguments.has("dry-run"));
  const jtw::AddResult added = jtw::addObject(component.objects(), request);
  const std::size_t index = component.objects().indexOf(*added.node);
  return saveAndReport(
      session, component,
      "added " + request.kind + " " + std::to_string(added.key.getAsLong()) + " under " +
          std::to_string(added.parent.getAsLong()),
      [&](JsonWriter& json) {
        json.member("key", added.key.getAsLong());
        json.member("parent", added.parent.getAsLong());
        writeNodeResult(json, component, index);
      },
      component.objects().placeCount(index));
}

}  // namespace tool
