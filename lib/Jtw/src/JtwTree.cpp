#include "JtwTree.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <unordered_set>

#include "JtStackNodeIter.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwFrame.h"
#include "JtwLink.h"
#include "JtwPMIAnnotation.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwSubDevice.h"
#include "JtwTransforms.h"
#include "JtwTraverse.h"
#include "JtwUnits.h"
#include "JtwWalkMemo.h"

namespace jtw {

namespace {

class Loading : public JtwTraverse {
 public:
  using JtwTraverse::JtwTraverse;
  bool actOnNode(JtwNode* /*node*/) override { return true; }
  bool postActOnNode(JtwNode* /*node*/) override { return true; }
};

/// Puts a tree together on one walk over the scene graph.
class Listing {
 public:
  Listing(JtwRoot& root, JtwNode& start, int maxDepth)
      : root_(root), start_(start), maxDepth_(maxDepth) {}

  std::vector<TreeEntry> run() {
    if (start_.isOfTypePMI() || !start_.jtNode()) return {{&start_, 0}};
    const auto iterator = jt::make<JtStackNodeIter>();
    iterator->setPreVisit([this](JtNode* node) { return enter(node); });
    iterator->setPostVisit([this](JtNode* /*node*/) { return leave(); });
    iterator->run(start_.jtNode());
    return std::move(entries_);
  }

 private:
  JtStackNodeIter::Next enter(JtNode* node) {
    const bool seen = node->numParents() > 1 && !shared_.insert(node).second;
    JtwNode* wrapper = nullptr;
    if (!seen) wrapper = node == start_.jtNode() ? &start_ : root_.nodeByJtNode(node);
    path_.push_back(wrapper);
    if (wrapper) entries_.push_back({wrapper, depth_++});
    return seen || (wrapper && depth_ > maxDepth_) ? JtStackNodeIter::Next::skipChildren
                                                   : JtStackNodeIter::Next::descend;
  }

  bool leave() {
    JtwNode* wrapper = path_.back();
    path_.pop_back();
    if (!wrapper) return true;
    if (wrapper->isCollection() && depth_ <= maxDepth_)
      for (JtwPMI* pmi : static_cast<JtwCollection*>(wrapper)->PMIs())
        entries_.push_back({pmi, depth_});
    --depth_;
    return true;
  }

  JtwRoot& root_;
  JtwNode& start_;
  const int maxDepth_;
  int depth_ = 0;
  std::vector<JtwNode*> path_;
  std::unordered_set<const JtNode*> shared_;
  std::vector<TreeEntry> entries_;
};

}  // namespace

Reading::Reading(JtwRoot& root) : root_(root) { root_.memo_ = std::make_unique<WalkMemo>(); }

Reading::~Reading() { root_.memo_.reset(); }

bool loadWrappers(JtwRoot& root) { return Loading(&root).execute(); }

std::vector<TreeEntry> tree(JtwRoot& root, JtwNode& start) {
  return Listing(root, start, std::numeric_limits<int>::max()).run();
}

const char* keyProperty() noexcept { return keyName(Key::protoKey); }

std::vector<JtwNode*> children(JtwRoot& root, JtwNode& node) {
  std::vector<JtwNode*> below;
  for (const TreeEntry& entry : Listing(root, node, 1).run())
    if (entry.depth == 1) below.push_back(entry.node);
  return below;
}

RTTran3D placement(JtwNode& node, JtwNode& parent) {
  return parent.absLoc().inverse() * node.absLoc();
}

void setPlacement(JtwNode& node, const RTTran3D& millimetres) {
  JtNode* jtNode = node.jtNode();
  if (node.isOfTypePMI() || !jtNode) {
    node.setRelLoc(millimetres);
    return;
  }
  node.forgetCached();
  const RTTran3D current = node.relLoc();
  if (millimetres == current) return;
  const double ratio = static_cast<double>(node.measurementUnitRatio());
  // What is between the node and its parent stays: only the node's own part changes.
  const RTTran3D own = localTransform(jtNode, ratio);
  const auto undo = current.tryInverse();
  RTTran3D local = undo ? own * *undo * millimetres : millimetres;
  local.setTranslation(local.getTranslation() * (1.0 / ratio));
  setLocalTransform(*jtNode, local);
  node.forgetCached();
}

JtwNode* createNode(JtwRoot& root, JtwNode::JT_NODE_TYPE type, const ApiProtoKey& key,
                    const ApiProtoKey& parentKey, const RTTran3D& millimetres) {
  const auto make = [&]() -> JtwNode* {
    switch (type) {
      case JtwNode::JT_LINK_NODE:
        return root.createLinkNode(key, parentKey, RTTran3D());
      case JtwNode::JT_ENTITY_NODE:
        return root.createEntityNode(key, parentKey, RTTran3D());
      case JtwNode::JT_FRAME_NODE:
        return root.createFrameNode(key, parentKey, RTTran3D());
      case JtwNode::JT_BLOCK_NODE:
        return root.createBlockNode(key, parentKey, RTTran3D());
      case JtwNode::JT_SUB_DEVICE_NODE:
        return root.createSubDeviceNode(key, parentKey, RTTran3D());
      case JtwNode::JT_PMI_ANNOTATION_NODE:
        return root.createPMIAnnotationNode(key, parentKey, RTTran3D());
      default:
        return nullptr;
    }
  };
  JtwNode* const made = make();
  if (made) setPlacement(*made, millimetres);
  return made;
}

JtNode* nodeOfKey(JtPartition& partition, const ApiProtoKey& key) {
  JtNode* found = nullptr;
  forEachBelow(&partition, [&](JtNode& node) {
    const auto stored = intProperty(&node, Key::protoKey);
    if (!found && stored && ApiProtoKey(*stored) == key) found = &node;
  });
  return found;
}

ApiProtoKey nextFreeKey(const JtwRoot& root) {
  ApiProtoKey greatest = std::max(ApiProtoKey(), root.PMIMaxProtoKey());
  for (const auto& [key, node] : root.getAllNodes()) greatest = std::max(greatest, key);
  return ++greatest;
}

void setPreserved(JtwNode& node, bool preserved) {
  const auto type = node.type();
  if (type == JtwNode::JT_ENTITY_NODE || type == JtwNode::JT_BLOCK_NODE)
    eraseProperty(node.jtNode(), Key::notUnitedEntity);
  node.setPreserved(preserved);
}

const char* unitName(float ratio) {
  const LengthUnit* unit = unitOfRatio(ratio);
  return unit ? unit->name.data() : nullptr;
}

float unitRatio(const char* name) {
  const LengthUnit* unit = name ? unitOfName(name) : nullptr;
  return unit ? unit->ratio : 0.0F;
}

}  // namespace jtw
