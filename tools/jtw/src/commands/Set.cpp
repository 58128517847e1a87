#include <span>
#include <string>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEdits.h"
#include "Session.h"

namespace tool {

ExitCode runSet(Session& session) {
  const auto& words = session.arguments().positional();
  const jtw::ObjectAddress address(words[1]);
  const std::vector<jtw::Setting> settings = jtw::parseSettings(std::span(words).subspan(2));
  Component component(session, words[0], !session.arguments().has("dry-run"));
  const std::size_t index = component.find(address);
  if (jtw::setObject(component.objects(), index, settings).isNull())
    session.warn(component.document() + ": the object has no key, and none could be given to it");
  return saveAndReport(
      session, component, "", [&](JsonWriter& json) { writeNodeResult(json, component, index); },
      component.objects().placeCount(index));
}

}  // namespace tool
