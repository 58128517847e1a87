#include <algorithm>
#include <string>
#include <unordered_set>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "EditResult.h"
#include "JtGroup.h"
#include "JtInstance.h"
#include "JtwPMI.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {
namespace {

/// Takes the node out of every place but the first, which the model's own deletion ends: an object
/// that several instances show is one object.
void leaveOtherPlaces(JtNode& node) {
  while (node.numParents() > 1) {
    JtNode* above = node.parent(1);
    auto* group = jt::as<JtGroup>(above);
    auto* instance = jt::as<JtInstance>(above);
    if (!(group && group->removeChild(&node)) && !(instance && instance->setChild(nullptr))) return;
  }
}

std::vector<long> keysOf(const Component& component, std::size_t first, std::size_t end) {
  std::vector<long> keys;
  for (std::size_t i = first; i < end; ++i)
    if (const ApiProtoKey key = component.entries()[i].node->key(); !key.isNull())
      keys.push_back(key.getAsLong());
  return keys;
}

void deleteObject(Component& component, std::size_t index, const ObjectName& name) {
  JtwNode& node = *component.entries()[index].node;
  if (node.type() == JtwNode::JT_ROOT_NODE)
    failRefused(component.document(), "not_supported", "the component itself cannot be removed");
  const bool isFrame = node.type() == JtwNode::JT_FRAME_NODE;
  JtwCollection* frames = isFrame ? static_cast<JtwPMI&>(node).collection() : nullptr;
  const bool hasKey = component.ensureOwnKey(index);
  if (!node.isOfTypePMI() && node.jtNode()) leaveOtherPlaces(*node.jtNode());
  if (!hasKey || !component.root().deleteNode(node.key()))
    failRefused(component.document(), "not_supported",
                "object " + name.text + " cannot be removed: it is not part of this file");
  storeFrames(component, frames);
}

}  // namespace

ExitCode runRm(Session& session) {
  const ObjectName name(session.argument(1));
  Component component(session, session.argument(0), !session.arguments().has("dry-run"));
  const std::size_t index = component.find(name);
  std::vector<long> removed = keysOf(component, index, component.endOfSubtree(index));
  const std::string what =
      std::string(kindName(*component.entries()[index].node)) + " " + name.text;
  const std::size_t before = component.entries().size();
  const std::uint64_t places = component.placeCount(index);
  deleteObject(component, index, name);
  component.relist();

  // What is below it and in another place too is still there.
  const std::vector<long> left = keysOf(component, 0, component.entries().size());
  const std::unordered_set<long> kept(left.begin(), left.end());
  std::erase_if(removed, [&kept](long key) { return kept.contains(key); });
  const std::vector<long> detached =
      endAttachmentsTo(component, std::unordered_set<long>(removed.begin(), removed.end()));
  const std::size_t count = before - component.entries().size();
  std::string line = "removed " + what;
  if (count > 1) line += " and " + std::to_string(count - 1) + " below it";
  if (!detached.empty())
    line += "; " + counted(detached.size(), "object") + " no longer attached to what is gone";
  return saveAndReport(
      session, component, line,
      [&](JsonWriter& json) {
        json.numbers("removed", removed);
        json.numbers("detached", detached);
      },
      places);
}

}  // namespace tool
