#include <span>
#include <string>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtwEntity.h"
#include "NodeEdits.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {

ExitCode runClone(Session& session) {
  const Arguments& arguments = session.arguments();
  const ObjectName name(session.argument(1));
  const std::string* keyText = arguments.value("key");
  Component component(session, session.argument(0), !arguments.has("dry-run"));
  const std::size_t index = component.find(name);
  JtwNode& original = *component.entries()[index].node;
  if (original.type() != JtwNode::JT_ENTITY_NODE)
    failRefused(component.document(), "not_supported",
                "object " + name.text + " is of the kind " + kindName(original) +
                    "; only an entity can be copied");
  const bool isAuto = !keyText || *keyText == "auto";
  const ApiProtoKey wanted = isAuto ? ApiProtoKey() : component.newKey(*keyText);
  component.ensureOwnKey(index, wanted);
  // An object without a key is no parent to the component model: the copy would go further up.
  if (const auto parent = component.listedParentIndex(index); parent && *parent > 0)
    component.ensureOwnKey(*parent, wanted);
  const ApiProtoKey key = isAuto ? component.newKey("auto") : wanted;
  JtwEntity* copy =
      component.root().cloneEntityNode(original.key(), !arguments.has("without-geometry"));
  if (!copy)
    failRefused(component.document(), "not_supported",
                "object " + name.text + " cannot be copied: it is not part of this file");
  if (copy->key() != key) {
    copy->reset(true);
    copy->setKey(key);
  }
  component.relist();
  const std::string keyName = std::to_string(key.getAsLong());
  const std::size_t copyIndex = component.find(ObjectName(keyName));
  NodeEdits(component, copyIndex, std::span(arguments.positional()).subspan(2)).apply();
  return saveAndReport(
      session, component, "copied entity " + name.text + " to " + keyName,
      [&](JsonWriter& json) {
        json.member("key", key.getAsLong());
        writeNodeResult(json, component, copyIndex);
      },
      component.placeCount(copyIndex));
}

}  // namespace tool
