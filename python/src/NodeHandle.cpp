#include "NodeHandle.h"

#include "JtwEditError.h"
#include "JtwRoot.h"
#include "Library.h"

namespace binding {

NodeHandle::NodeHandle(std::shared_ptr<OpenComponent> component, JtwNode& node)
    : component_(std::move(component)),
      node_(&node),
      generation_(component_->generation()),
      jtNode_(node.jtNode()),
      isPMI_(node.isOfTypePMI()) {
  if (isPMI_) key_ = node.key();
}

/// The last reference on a node takes what is below it down.
NodeHandle::~NodeHandle() {
  if (!jtNode_) return;
  const Locked lock;
  jtNode_ = nullptr;
}

bool NodeHandle::isListed(const JtwNode& node) const {
  try {
    objects().indexOf(node);
    return true;
  } catch (const jtw::EditError&) {
    return false;
  }
}

JtwNode* NodeHandle::findAgain() const {
  JtwRoot& root = component_->root();
  objects().entries();  // makes wrappers anew that have gone
  JtwNode* node = nullptr;
  if (!isPMI_) {
    node = root.nodeByJtNode(jtNode_.get());
  } else if (!key_.isNull()) {
    root.getNodeByKey(key_, node);
    if (node && !node->isOfTypePMI()) node = nullptr;
  }
  // What hung below something that was removed may live on as long as this handle.
  return node && isListed(*node) ? node : nullptr;
}

JtwNode& NodeHandle::get() const {
  component_->root();
  if (generation_ != component_->generation()) {
    JtwNode* const node = findAgain();
    if (!node)
      jtw::failRefused(component_->path(), "gone",
                       "the object is no longer in the component; look it up again");
    node_ = node;
    generation_ = component_->generation();
  }
  return *node_;
}

JtNode* NodeHandle::jtNode() const {
  get();
  return isPMI_ ? nullptr : jtNode_.get();
}

const void* NodeHandle::identity() const noexcept {
  if (!isPMI_) return jtNode_.get();
  if (!key_.isNull())
    return reinterpret_cast<const void*>(static_cast<std::intptr_t>(key_.getAsLong()));
  return node_;
}

std::vector<NodeHandle> handlesOf(const std::shared_ptr<OpenComponent>& component,
                                  const std::vector<JtwNode*>& nodes) {
  std::vector<NodeHandle> handles;
  handles.reserve(nodes.size());
  for (JtwNode* node : nodes) handles.emplace_back(component, *node);
  return handles;
}

}  // namespace binding
