#include <span>
#include <string>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEdits.h"
#include "Session.h"

namespace tool {

ExitCode runClone(Session& session) {
  const Arguments& arguments = session.arguments();
  const jtw::ObjectAddress address(session.argument(1));
  const std::string* key = arguments.value("key");
  const std::vector<jtw::Setting> settings =
      jtw::parseSettings(std::span(arguments.positional()).subspan(2));
  Component component(session, session.argument(0), !arguments.has("dry-run"));
  jtw::Objects& objects = component.objects();
  JtwNode& made = jtw::cloneObject(objects, objects.object(address), key ? *key : "auto",
                                   !arguments.has("without-geometry"), settings);
  const std::size_t copy = objects.indexOf(made);
  const long copyKey = made.key().getAsLong();
  return saveAndReport(
      session, component, "copied entity " + address.text() + " to " + std::to_string(copyKey),
      [&](JsonWriter& json) {
        json.member("key", copyKey);
        writeNodeResult(json, component, copy);
      },
      objects.placeCount(copy));
}

}  // namespace tool
