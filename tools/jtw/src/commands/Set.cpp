#include <string>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "NodeEdits.h"
#include "Session.h"

namespace tool {

ExitCode runSet(Session& session) {
  const auto& words = session.arguments().positional();
  const ObjectName name(words[1]);
  Component component(session, words[0], !session.arguments().has("dry-run"));
  const std::size_t index = component.find(name);
  NodeEdits edits(component, index, std::span(words).subspan(2));
  edits.apply();
  if (!component.ensureKey(index))
    session.warn(component.document() + ": the object has no key, and none could be given to it");
  return saveAndReport(
      session, component, "", [&](JsonWriter& json) { writeNodeResult(json, component, index); },
      component.placeCount(index));
}

}  // namespace tool
