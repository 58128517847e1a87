#include "JtwEdits.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "AnnotationEdits.h"
#include "JtGroup.h"
#include "JtInstance.h"
#include "JtwAttachments.h"
#include "JtwEditError.h"
#include "JtwEntity.h"
#include "JtwPMIAnnotation.h"
#include "JtwRoot.h"
#include "JtwValueText.h"
#include "ObjectParents.h"

namespace jtw {
namespace {

/// What names an object in messages.
std::string addressOf(const Objects& objects, JtwNode& node) {
  return objects.address(objects.indexOf(node));
}

void refuse(const Objects& objects, const std::string& message) {
  failRefused(objects.document(), "not_supported", message);
}

}  // namespace

std::vector<ApiProtoKey> setObjects(Objects& objects, std::span<JtwNode* const> nodes,
                                    std::span<const Setting> settings) {
  std::vector<NodeEdits> edits;
  edits.reserve(nodes.size());
  for (JtwNode* node : nodes) edits.emplace_back(objects, *node, settings);
  for (NodeEdits& each : edits) each.apply();
  std::vector<ApiProtoKey> keys;
  keys.reserve(nodes.size());
  for (JtwNode* node : nodes) {
    objects.ensureKey(*node);
    keys.push_back(node->key());
  }
  return keys;
}

// --- Adding

namespace {

struct AddedKind {
  const char* name;
  JtwNode::JT_NODE_TYPE type;
};

constexpr std::array kKinds{
    AddedKind{"block", JtwNode::JT_BLOCK_NODE},
    AddedKind{"link", JtwNode::JT_LINK_NODE},
    AddedKind{"sub-device", JtwNode::JT_SUB_DEVICE_NODE},
    AddedKind{"entity", JtwNode::JT_ENTITY_NODE},
    AddedKind{"frame", JtwNode::JT_FRAME_NODE},
    AddedKind{"annotation", JtwNode::JT_PMI_ANNOTATION_NODE},
};

JtwNode::JT_NODE_TYPE findKind(const std::string& name) {
  std::string names;
  for (const AddedKind& kind : kKinds) {
    if (name == kind.name) return kind.type;
    names += (names.empty() ? "" : ", ") + std::string(kind.name);
  }
  failUsage("there is no kind '" + name + "'; those that can be added are: " + names);
}

}  // namespace

void checkRequest(const AddRequest& request) {
  const auto kind = findKind(request.kind);
  if (kind == JtwNode::JT_PMI_ANNOTATION_NODE && request.type.empty())
    failUsage("an annotation needs a type: --type Note");
  const ObjectAddress parent(request.parent);
}

AddResult addObject(Objects& objects, const AddRequest& request) {
  checkRequest(request);
  const auto kind = findKind(request.kind);
  const ObjectAddress parentAddress(request.parent);
  const bool isAnnotation = kind == JtwNode::JT_PMI_ANNOTATION_NODE;
  const ApiPMIType type = isAnnotation ? parseAnnotationType(objects, request.type) : API_PMI_NONE;
  const bool isAuto = request.key == "auto";
  const ApiProtoKey wanted = isAuto ? ApiProtoKey() : objects.newKey(request.key);
  const ApiProtoKey parent = objects.collection(parentAddress, wanted).key();
  const ApiProtoKey key = isAuto ? objects.newKey("auto") : wanted;
  JtwNode* const made = createNode(objects.root(), kind, key, parent, RTTran3D());
  if (!made)
    refuse(objects,
           "object " + parentAddress.text() + " takes nothing new: it is not part of this file");
  objects.changed();
  if (isAnnotation) static_cast<JtwPMIAnnotation&>(*made).annotationData().annotationType = type;
  NodeEdits(objects, *made, request.settings).apply();
  if (!request.leader.empty() && isAnnotation) {
    const RTTran3D move = parseLocation("leader", request.leader);
    placeAnnotation(static_cast<JtwPMIAnnotation&>(*made), move * made->relLoc());
  }
  return {made, key, parent};
}

// --- Removing

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

void addKeys(const Objects& objects, std::size_t first, std::size_t end, std::vector<long>& keys) {
  for (std::size_t i = first; i < end; ++i)
    if (const ApiProtoKey key = objects.node(i).key(); !key.isNull())
      keys.push_back(key.getAsLong());
}

/// Indices of objects, without those that are listed below another one of them; ascending.
std::vector<std::size_t> topsOf(const Objects& objects, std::span<JtwNode* const> nodes) {
  std::vector<std::size_t> order;
  order.reserve(nodes.size());
  for (const JtwNode* node : nodes) order.push_back(objects.indexOf(*node));
  std::ranges::sort(order);
  std::vector<std::size_t> tops;
  tops.reserve(order.size());
  std::size_t end = 0;  // of what is below the object before
  for (const std::size_t index : order) {
    if (index < end) continue;
    tops.push_back(index);
    end = objects.endOfSubtree(index);
  }
  return tops;
}

}  // namespace

void removeObject(Objects& objects, JtwNode& node, const std::string& name) {
  const bool isFrame = node.type() == JtwNode::JT_FRAME_NODE;
  const bool hasKey = objects.ensureOwnKey(node);
  if (isFrame)
    objects.framesChanged(static_cast<JtwPMI&>(node).collection());
  else
    objects.storeFrames();  // those of a collection that goes
  if (!node.isOfTypePMI() && node.jtNode()) leaveOtherPlaces(*node.jtNode());
  if (!hasKey || !objects.root().deleteNode(node.key()))
    refuse(objects, "object " + name + " cannot be removed: it is not part of this file");
}

RemoveResult removeObjects(Objects& objects, std::span<JtwNode* const> nodes) {
  const std::vector<std::size_t> chosen = topsOf(objects, nodes);
  if (!chosen.empty() && chosen.front() == 0)
    refuse(objects, "the component itself cannot be removed");
  RemoveResult result;
  const std::size_t before = objects.entries().size();
  std::vector<std::pair<JtwNode*, std::string>> tops;  // with their addresses
  tops.reserve(chosen.size());
  for (const std::size_t index : chosen) {
    addKeys(objects, index, objects.endOfSubtree(index), result.removed);
    tops.emplace_back(&objects.node(index), objects.address(index));
  }
  for (const auto& [node, name] : tops) removeObject(objects, *node, name);
  objects.changed();

  // What is below one of them and in another place too is still there.
  std::vector<long> left;
  addKeys(objects, 0, objects.entries().size(), left);
  const std::unordered_set<long> kept(left.begin(), left.end());
  std::erase_if(result.removed, [&kept](long key) { return kept.contains(key); });
  result.detached = endAttachmentsTo(
      objects, std::unordered_set<long>(result.removed.begin(), result.removed.end()));
  result.count = before - objects.entries().size();
  return result;
}

// --- Moving

bool reparent(Objects& objects, JtwNode& node, JtwNode& parent) {
  if (!node.isOfTypePMI()) return node.setParent(parent.key());
  JtwCollection* old = static_cast<JtwPMI&>(node).collection();
  if (!node.setParent(parent.key())) return false;
  if (node.type() == JtwNode::JT_FRAME_NODE) objects.framesChanged(old);
  return true;
}

namespace {

/// Throws EditError for what cannot be moved under that parent.
void checkMove(const Objects& objects, JtwNode& node, JtwNode& parent) {
  if (&node == &objects.root()) refuse(objects, "the component itself cannot be moved");
  if (node.type() == JtwNode::JT_PMI_ANNOTATION_NODE)
    refuse(objects, "changes of an annotation cannot be saved");
  for (JtwNode* above = &parent; above; above = objects.parentOf(*above))
    if (above == &node)
      failRefused(objects.document(), "cycle",
                  "object " + addressOf(objects, node) + " would be moved below itself");
}

MoveResult moveUnder(Objects& objects, JtwNode& node, JtwNode& parent, bool keepsPlace) {
  const RTTran3D place = keepsPlace ? node.absLoc() : listedLocation(node, objects.parentOf(node));
  const float unit = node.measurementUnitRatio();
  if (!objects.ensureOwnKey(node) || !reparent(objects, node, parent))
    refuse(objects, "object " + addressOf(objects, node) +
                        " cannot be moved there: one of the two is not part of this file, or it is "
                        "above the other in a second place");
  objects.changed();
  if (!node.isOfTypePMI()) node.forgetCached();
  const RTTran3D location = keepsPlace ? parent.absLoc().inverse() * place : place;
  if (!isStorable(location)) refuse(objects, "its place cannot be expressed in its new parent");
  setPlacement(node, location);
  if (node.type() == JtwNode::JT_FRAME_NODE)
    objects.framesChanged(&static_cast<JtwCollection&>(parent));
  return {node.key(), parent.key(), node.measurementUnitRatio() != unit};
}

}  // namespace

MoveResult moveObject(Objects& objects, JtwNode& node, const ObjectAddress& parentAddress,
                      bool keepsPlace) {
  JtwNode* const one = &node;
  return moveObjects(objects, {&one, 1}, parentAddress, keepsPlace).front();
}

std::vector<MoveResult> moveObjects(Objects& objects, std::span<JtwNode* const> nodes,
                                    const ObjectAddress& parentAddress, bool keepsPlace) {
  std::vector<JtwNode*> tops;
  tops.reserve(nodes.size());
  if (nodes.size() == 1) {
    tops.push_back(nodes.front());
  } else {
    for (const std::size_t index : topsOf(objects, nodes)) tops.push_back(&objects.node(index));
  }
  JtwNode& parent = objects.collection(parentAddress);
  for (JtwNode* node : tops) checkMove(objects, *node, parent);
  std::vector<MoveResult> results;
  results.reserve(tops.size());
  for (JtwNode* node : tops) results.push_back(moveUnder(objects, *node, parent, keepsPlace));
  return results;
}

// --- Copying

JtwNode& cloneObject(Objects& objects, JtwNode& original, const std::string& keyText,
                     bool withGeometry, std::span<const Setting> settings) {
  if (original.type() != JtwNode::JT_ENTITY_NODE)
    refuse(objects, "object " + addressOf(objects, original) + " is of the kind " +
                        kindName(original) + "; only an entity can be copied");
  const bool isAuto = keyText == "auto";
  const ApiProtoKey wanted = isAuto ? ApiProtoKey() : objects.newKey(keyText);
  objects.ensureOwnKey(original, wanted);
  // An object without a key is no parent to the component model: the copy would go further up.
  if (JtwNode* parent = objects.parentOf(original); parent && parent != &objects.root())
    objects.ensureOwnKey(*parent, wanted);
  const ApiProtoKey key = isAuto ? objects.newKey("auto") : wanted;
  JtwEntity* copy = objects.root().cloneEntityNode(original.key(), withGeometry);
  if (!copy)
    refuse(objects, "object " + addressOf(objects, original) +
                        " cannot be copied: it is not part of this file");
  if (copy->key() != key) {
    copy->reset(true);
    copy->setKey(key);
  }
  objects.changed();
  NodeEdits(objects, *copy, settings).apply();
  return *copy;
}

}  // namespace jtw
