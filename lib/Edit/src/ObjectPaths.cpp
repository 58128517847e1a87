// Objects by their paths.

#include <algorithm>
#include <unordered_set>
#include <vector>

#include "JtInspect.h"
#include "JtNodePath.h"
#include "JtPropAtom.h"
#include "JtwEditError.h"
#include "JtwObjects.h"
#include "JtwRoot.h"
#include "JtwUtils.h"
#include "ObjectNames.h"

namespace jtw {
namespace {

using Nodes = std::vector<const JtNode*>;

/// What is below a node, also of the file that it represents.
template <class Visit>
void eachBelow(const JtNode& node, const Visit& visit) {
  const auto* partition = jt::as<JtPartition>(&node);
  const JtNode& holder =
      partition && partition->externalPartition() ? *partition->externalPartition() : node;
  for (int i = 0; i < jt::numOwnChildren(holder); ++i) visit(*jt::ownChild(holder, i));
}

/// The nodes that a step may name, below those of the step above. Partitions need no step of their
/// own. @param component another node that needs none; null: there is none
Nodes candidatesBelow(const Nodes& above, const JtNode* component) {
  Nodes found;
  std::unordered_set<const JtNode*> seen;
  Nodes pending = above;
  while (!pending.empty()) {
    const JtNode& node = *pending.back();
    pending.pop_back();
    eachBelow(node, [&](const JtNode& child) {
      if (!seen.insert(&child).second) return;
      found.push_back(&child);
      if (&child == component || jt::as<JtPartition>(&child)) pending.push_back(&child);
    });
  }
  return found;
}

bool hasKey(const JtNode& node, const ApiProtoKey& key) {
  const auto* atom = jt::as<JtInt32PropAtom>(node.property(JtString(keyProperty())));
  return atom && atom->value() == key.getAsLong();
}

void takeNumber(auto& found, const std::optional<std::size_t>& number) {
  if (!number) return;
  if (*number > found.size()) return found.clear();
  found = {found[*number - 1]};
}

}  // namespace

/// The objects right below another one that a step names.
std::vector<std::size_t> Objects::stepDown(std::size_t parent,
                                           const ObjectAddress::Step& step) const {
  const auto named = names().below(parent, step.name);
  std::vector<std::size_t> found{named.begin(), named.end()};
  takeNumber(found, step.number);
  std::erase_if(found, [&](std::size_t index) {
    return (!step.key.isNull() && node(index).key() != step.key) ||
           (step.nodeId != 0 && nodeIdOf(node(index)) != step.nodeId);
  });
  return found;
}

std::size_t Objects::findByPath(const ObjectAddress& address) const {
  std::vector<std::size_t> found;
  for (const ObjectAddress::Step& step : address.path()) {
    std::vector<std::size_t> next;
    if (&step == &address.path().front()) {
      const bool isFirst = step.number.value_or(1) == 1 &&
                           (step.key.isNull() || step.key == node(0).key()) &&
                           (step.nodeId == 0 || step.nodeId == nodeIdOf(node(0)));
      if (names().name(0) == step.name && isFirst) next.push_back(0);
    } else {
      for (const std::size_t parent : found)
        for (const std::size_t below : stepDown(parent, step)) next.push_back(below);
    }
    found = std::move(next);
  }
  if (found.empty()) return findByNodePath(address);
  if (found.size() > 1) failAmbiguous(address, found);
  return found.front();
}

std::size_t Objects::findByNodePath(const ObjectAddress& address) const {
  // In the data of others the component is a new node, or one that had no name.
  bool isNative = false;
  const bool isForeign =
      JtwUtilsDidJtOriginateFromNativeJt(root_.partition(), isNative) && isNative;
  const JtNode* renamed = isForeign ? root_.jtNode() : nullptr;
  Nodes found{root_.partition()};
  for (const ObjectAddress::Step& step : address.path()) {
    Nodes next = candidatesBelow(found, renamed);
    std::erase_if(next, [&](const JtNode* node) {
      const bool isNamed = jt::stepName(*node) == step.name;
      return !isNamed && (node != renamed || jt::elementName(node) != step.name);
    });
    takeNumber(next, step.number);
    std::erase_if(next, [&](const JtNode* node) {
      return (!step.key.isNull() && !hasKey(*node, step.key)) ||
             (step.nodeId != 0 && node->objectId() != step.nodeId);
    });
    found = std::move(next);
  }
  std::vector<std::size_t> objects;
  for (const JtNode* node : found)
    if (const auto object = objectsOfNodes().find(node); object != objectsOfNodes().end())
      objects.push_back(object->second);
  if (objects.size() > 1) failAmbiguous(address, objects);
  if (objects.size() == 1) return objects.front();
  if (found.empty()) failUnknown(address);
  for (const JtNode* at = found.front()->parent(0); at; at = at->parent(0))
    if (const auto object = objectsOfNodes().find(at); object != objectsOfNodes().end())
      failRefused(document_, "unknown_key",
                  address.text() + " is a node of the scene graph below the object " +
                      path(object->second) + ", and no object itself");
  failUnknown(address);
}

}  // namespace jtw
