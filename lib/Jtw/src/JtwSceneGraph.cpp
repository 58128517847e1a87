#include "JtwSceneGraph.h"

#include "ApiObjType.h"
#include "JtwProperties.h"
#include "VisPartNode.h"

namespace jtw {

bool cutChild(JtNode* parent, JtNode* child) {
  if (auto* group = jt::as<JtGroup>(parent)) return group->removeChild(child);
  auto* instance = jt::as<JtInstance>(parent);
  return instance && instance->child(0) == child && instance->setChild(nullptr);
}

void moveChildren(JtGroup& from, JtGroup& to) {
  std::vector<jt::Ref<JtNode>> children;
  children.reserve(static_cast<std::size_t>(from.numChildren()));
  for (int index = 0; index < from.numChildren(); ++index) children.emplace_back(from.child(index));
  for (int index = from.numChildren() - 1; index >= 0; --index) from.removeChild(index);
  for (const auto& child : children) to.addChild(child.get());
}

bool isComponent(JtNode* node) {
  if (!jt::as<VisMetaDataNode>(node) || jt::as<VisPartNode>(node)) return false;
  // Asked by name: who only wants to know this of a file needs none of the shared keys.
  const JtString* const text = stringProperty(node, keyName(Key::objType));
  const auto type = text ? ApiObjType::fromKrObjType(text->stringToMbs()) : std::nullopt;
  return type && type->isOfType(ApiObjType(ApiObjType::COMPONENT));
}

VisMetaDataNode* componentOf(const JtPartition& partition) {
  for (int index = 0; index < partition.numChildren(); ++index)
    if (JtNode* const child = partition.child(index); isComponent(child))
      return jt::as<VisMetaDataNode>(child);
  return nullptr;
}

JtNode* childBehindInstance(const JtNode& node, int index) {
  JtNode* child = node.child(index);
  return jt::as<JtInstance>(child) ? child->child(0) : child;
}

}  // namespace jtw
