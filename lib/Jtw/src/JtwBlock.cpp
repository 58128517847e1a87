#include "JtwBlock.h"

#include <unordered_set>
#include <vector>

#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwUtils.h"
#include "VisPartNode.h"

using jtw::Key;

namespace {

bool isExactly(const JtNode* node, const JtType* type) { return node && node->typeID() == type; }

}  // namespace

JtwBlock::~JtwBlock() = default;

bool JtwBlock::isPreserved(bool deep) {
  return deep ? jtTraverseIsPreserved(jtNode()) : jtwTraverseIsPreserved();
}

void JtwBlock::setPreserved(bool preserved) {
  jtw::setInt(jtNode(), Key::notUnitedEntity, preserved ? 1 : 0, false);
}

void JtwBlock::setTestBlockPreservedDescendantsProp(bool tested) {
  jtw::setInt(jtNode(), Key::testedForPreserved, tested ? 1 : 0, false);
}

bool JtwBlock::isNodePreserved(JtNode* node) {
  return jtw::intProperty(node, Key::notUnitedEntity).value_or(0) != 0;
}

bool JtwBlock::isTestedforPreservedDescendants(JtNode* node) {
  return jtw::intProperty(node, Key::testedForPreserved).has_value();
}

bool JtwBlock::isKrFramesOnBlock(JtNode* node) {
  auto* metaDataNode = jt::as<VisMetaDataNode>(node);
  return metaDataNode && metaDataNode->ensureMetaData() && jtw::findProperty(node, Key::frames) &&
         hasPMIs();
}

bool JtwBlock::hasPMIChildren() {
  bool pmiMode = false;
  return root_ && JtwUtilsIsPMIModeOn(root_->partition(), pmiMode) && pmiMode && hasPMIs();
}

// --- Looking at the children only

bool JtwBlock::jtwTraverseIsPreserved() {
  if (state_ == State::unknown)
    state_ = checkForPreservedChildren() ? State::preserved : State::notPreserved;
  return state_ == State::preserved;
}

bool JtwBlock::checkForPreservedChildren() {
  bool preserved = isNodePreserved(jtNode()) || hasPMIs();
  if (!jtNode() || !root_) return preserved;
  for (int i = 0; i < jtNode()->numChildren() && !preserved; ++i) {
    JtNode* child = jtw::childBehindInstance(*jtNode(), i);
    if (isExactly(child, VisPartNode::classTypeID())) {
      JtwNode* wrapper = root_->nodeByJtNode(child);
      preserved = wrapper && wrapper->isPreserved(false);
    } else if (isExactly(child, VisMetaDataNode::classTypeID())) {
      const JtwBlock* block = blockOf(child);
      preserved = block && block->state_ == State::preserved;
    }
  }
  return preserved;
}

// --- Looking at everything below

JtwBlock* JtwBlock::blockOf(JtNode* node) {
  JtwNode* wrapper = root_ && node ? root_->nodeByJtNode(node) : nullptr;
  return wrapper && wrapper->type() == JT_BLOCK_NODE ? static_cast<JtwBlock*>(wrapper) : nullptr;
}

bool JtwBlock::carriesPreservedMark(JtNode* node, JtwBlock& block) {
  return isNodePreserved(node) || isKrFramesOnBlock(node) || block.hasPreservedPMI() ||
         block.hasPMIChildren();
}

bool JtwBlock::jtTraverseIsPreserved(JtNode* node) {
  JtwBlock* top = blockOf(node);
  if (!top) return false;
  bool preserved = carriesPreservedMark(node, *top);
  if (isTestedforPreservedDescendants(node)) return preserved;

  std::unordered_set<const JtNode*> seen{node};
  std::vector<JtNode*> pending{node};
  while (!preserved && !pending.empty()) {
    JtNode* at = pending.back();
    pending.pop_back();
    for (int i = 0; i < at->numChildren() && !preserved; ++i) {
      JtNode* child = jtw::childBehindInstance(*at, i);
      if (!isExactly(child, VisMetaDataNode::classTypeID())) {
        preserved = isNodePreserved(child);
        continue;
      }
      JtwBlock* block = blockOf(child);
      if (!block || !seen.insert(child).second) continue;
      preserved = carriesPreservedMark(child, *block);
      if (!isTestedforPreservedDescendants(child)) pending.push_back(child);
    }
  }
  // The marks go to the block that was asked, not to those that the answer was found in.
  setTestBlockPreservedDescendantsProp(true);
  if (preserved) setPreserved(true);
  return preserved;
}
