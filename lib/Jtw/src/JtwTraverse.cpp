#include "JtwTraverse.h"

#include <algorithm>
#include <array>
#include <memory>
#include <unordered_set>
#include <utility>

#include "JtFormatError.h"
#include "JtGroup.h"
#include "JtInstance.h"
#include "JtPartition.h"
#include "JtStackNodeIter.h"
#include "JtTk/JtkwPMIGathering.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwLink.h"
#include "JtwPMI.h"
#include "JtwPMIAnnotation.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSubDevice.h"
#include "JtwWrapperTable.h"
#include "VisPartNode.h"

using jtw::Key;

/// What a walk knows while it runs.
struct JtwTraverse::Walk {
  Walk(Walk*& slot, JtwRoot& root) : slot_(slot), outer_(std::exchange(slot, this)), root_(root) {
    root_.beginWalk();
  }
  Walk(const Walk&) = delete;
  Walk& operator=(const Walk&) = delete;
  ~Walk() {
    slot_ = outer_;
    root_.endWalk();
  }

  /// False when the node was visited before. Only a node with several parents can be.
  bool isFirstVisit(const JtNode* node) {
    return node->numParents() < 2 || shared_.insert(node).second;
  }

  /// One node on the current path.
  struct Step {
    bool visited = false;   ///< false: met again and passed over
    bool exploded = false;  ///< passed over itself, but not what it holds
    JtwNode* wrapper = nullptr;
    unsigned forgotten = 0;  ///< how many wrappers the root had forgotten by then
  };
  std::vector<Step> path;

 private:
  Walk*& slot_;
  Walk* outer_;
  JtwRoot& root_;
  std::unordered_set<const JtNode*> shared_;
};

JtwTraverse::Walk* JtwTraverse::impl_ = nullptr;

JtwTraverse::JtwTraverse(JtwRoot* root) : JtwTraverse(root, root) {}
JtwTraverse::JtwTraverse(JtwRoot* root, JtwNode* start) : root_(root), startNode_(start) {}
JtwTraverse::~JtwTraverse() = default;

void JtwTraverse::init() { impl_ = nullptr; }

bool JtwTraverse::actOnRoot(JtwRoot* /*root*/) { return true; }
bool JtwTraverse::postActOnRoot(JtwRoot* /*root*/) { return true; }
bool JtwTraverse::shouldContinue(JtwNode* /*node*/) { return true; }
bool JtwTraverse::actOnNonDisplayedNode(JtwNode* /*node*/) { return true; }
bool JtwTraverse::preActOnPMI(JtwNode* /*node*/) { return false; }

bool JtwTraverse::getKrTypeProperty(JtNode* node, ApiObjType& type) {
  const JtString* text = jtw::stringProperty(node, Key::objType);
  if (!text) return false;
  const auto named = ApiObjType::fromKrObjType(text->stringToMbs());
  if (named) type = *named;
  return named.has_value();
}

bool JtwTraverse::execute() try {
  if (!root_ || !root_->jtNode()) return false;
  Walk walk(impl_, *root_);
  const auto iterator = jt::make<JtStackNodeIter>();
  iterator->setPreVisit([this, &walk](JtNode* node) {
    walk.path.push_back({.visited = walk.isFirstVisit(node)});
    if (!walk.path.back().visited || !internalPreNode(node))
      return JtStackNodeIter::Next::skipChildren;
    prefetchWrappers(*node);
    return JtStackNodeIter::Next::descend;
  });
  iterator->setPostVisit([this, &walk](JtNode* node) {
    const Walk::Step step = walk.path.back();
    walk.path.pop_back();
    if (!step.visited || step.exploded) return true;
    // Looking the wrapper up once more is half of what a walk costs.
    return step.wrapper && step.forgotten == root_->forgotten_ ? internalPostWrapper(step.wrapper)
                                                               : internalPostNode(node);
  });
  instanceName_.clear();
  if (startNode_ && startNode_->jtNode()) iterator->run(startNode_->jtNode());
  return true;
} catch (const JtFormatError& error) {
  jt::setLastError(error.what());
  return false;
}

/// Wrappers lie anywhere in memory: those of the children are loaded side by side.
void JtwTraverse::prefetchWrappers(const JtNode& node) const {
  constexpr std::size_t kMost = 64;  // what is loaded should still be near when its turn comes
  std::array<JtNode*, kMost> children;
  const std::size_t count = std::min(static_cast<std::size_t>(node.numChildren()), kMost);
  for (std::size_t i = 0; i < count; ++i) {
    children[i] = node.child(static_cast<int>(i));
    root_->nodesByJtNode_->prefetch(children[i]);
  }
  for (std::size_t i = 0; i < count; ++i)
    if (const JtwNode* wrapper = root_->nodesByJtNode_->wrapperOf(children[i])) {
      __builtin_prefetch(wrapper);
      __builtin_prefetch(wrapper + 1);  // what collections have beyond nodes
    }
}

bool JtwTraverse::internalPreNode(JtNode* node) {
  if (explodes_ && needToExplodeNodes(node)) {
    impl_->path.back().exploded = true;
    handlePMIOnExplodedNode(node);
    return true;
  }
  if (JtwNode* wrapper = root_->nodeByJtNode(node)) {
    impl_->path.back().wrapper = wrapper;
    impl_->path.back().forgotten = root_->forgotten_;
    return internalActOnWrapper(wrapper);
  }
  if (auto* metaDataNode = jt::as<VisMetaDataNode>(node)) handleNativeJTs(metaDataNode);
  if (auto* part = jt::as<VisPartNode>(node)) return internalActOnPart(part);
  if (auto* instance = jt::as<JtInstance>(node)) {
    instanceName_ = JtwNode::name(instance);
    return true;
  }
  auto* group = jt::as<JtGroup>(node);
  return !group || internalActOnGroup(group);
}

bool JtwTraverse::internalActOnWrapper(JtwNode* wrapper) {
  if (wrapper == root_) return internalActOnRoot();
  // The host may delete any object while one is visited.
  const bool below = actOnNode(wrapper) && !root_->isDeleted(wrapper);
  if (root_->isDeleted(wrapper)) return below;
  if (wrapper->type() == JtwNode::JT_ENTITY_NODE)
    traversePMIsOfEntity(static_cast<JtwEntity*>(wrapper));
  if (wrapper->isCollection() == 0) return below;
  auto* collection = static_cast<JtwCollection*>(wrapper);
  traversePMIs(collection, collection);
  return below && !root_->isDeleted(wrapper) && shouldContinue(wrapper);
}

bool JtwTraverse::internalPostWrapper(JtwNode* wrapper) {
  if (wrapper == root_) return postActOnRoot(root_);
  return wrapper->isCollection() == 0 || postActOnNode(wrapper);
}

bool JtwTraverse::internalPostNode(JtNode* node) {
  if (jt::as<JtInstance>(node)) instanceName_.clear();
  if (!jt::as<JtGroup>(node) || jt::as<VisPartNode>(node)) return true;
  if (node == root_->jtNode()) return postActOnRoot(root_);
  JtwNode* wrapper = root_->nodeByJtNode(node);
  return !wrapper || postActOnNode(wrapper);
}

bool JtwTraverse::internalActOnPart(VisPartNode* part) {
  auto made = std::make_unique<JtwEntity>(part, root_, instanceName_);
  JtwNode* holder = nullptr;
  if (root_->loadingRep() == JtwRoot::JT_LOAD_ALTERNATE_REP &&
      root_->getNodeByKey(made->key(), holder) && holder) {
    actOnNonDisplayedNode(made.get());
    return true;
  }
  root_->addNodeByJtNode(part, made.get());  // the root owns it from here
  JtwEntity* const entity = made.release();
  // A part of a native file has no key, and is none the less one of the objects.
  root_->addNodeToMap(entity);
  const bool below = actOnNode(entity) && !root_->isDeleted(entity);
  if (!root_->isDeleted(entity)) traversePMIsOfEntity(entity);
  return below;
}

bool JtwTraverse::internalActOnRoot() {
  root_->addNodeByJtNode(root_->jtNode(), root_);
  root_->addNodeToMap(root_);
  const bool below = actOnRoot(root_);
  traversePMIs(root_, root_);
  return below;
}

bool JtwTraverse::internalActOnGroup(JtGroup* group) {
  if (group == root_->jtNode()) return internalActOnRoot();
  JtwNode* wrapper = root_->nodeByJtNode(group);
  auto* metaDataNode = jt::as<VisMetaDataNode>(group);
  if (!wrapper && metaDataNode) wrapper = makeCollection(*metaDataNode);
  return !wrapper || internalActOnWrapper(wrapper);
}

JtwCollection* JtwTraverse::makeCollection(VisMetaDataNode& node) {
  ApiObjType type;
  getKrTypeProperty(&node, type);
  std::unique_ptr<JtwCollection> made;
  switch (type.value()) {
    case ApiObjType::LINK:
      made = std::make_unique<JtwLink>(&node, root_);
      break;
    case ApiObjType::SUB_DEVICE:
      made = std::make_unique<JtwSubDevice>(&node, root_);
      break;
    default:
      made = std::make_unique<JtwBlock>(&node, root_);
  }
  if (!root_->addNodeByJtNode(&node, made.get())) return nullptr;
  JtwCollection* const collection = made.release();  // the root owns it from here
  root_->addNodeToMap(collection);
  return collection;
}

bool JtwTraverse::isUnmarked(VisMetaDataNode& node) const {
  ApiObjType type;
  return !jtw::carriesKey(&node) && !getKrTypeProperty(&node, type) && &node != root_->jtNode() &&
         !jt::as<VisPartNode>(&node);
}

void JtwTraverse::handleNativeJTs(VisMetaDataNode* node) {
  // An assembly that no host has marked shows as a block without key, so that the structure of a
  // native file can be seen; nothing is written to it. Keys are given when the host asks for one.
  if (isUnmarked(*node)) makeCollection(*node);
}

bool JtwTraverse::needToExplodeNodes(JtNode* node) const {
  auto* metaDataNode = jt::as<VisMetaDataNode>(node);
  return metaDataNode && isUnmarked(*metaDataNode);
}

void JtwTraverse::handlePMIOnExplodedNode(JtNode* node) {
  // An earlier walk may have made a wrapper, and the host may have given it PMI.
  JtwNode* wrapper = root_->nodeByJtNode(node);
  if (!wrapper || wrapper->isCollection() == 0) return;
  traversePMIs(static_cast<JtwCollection*>(wrapper), nearestCollection());
}

JtwCollection* JtwTraverse::nearestCollection() const {
  JtwCollection* nearest = root_;
  for (const Walk::Step& step : impl_->path)
    if (step.wrapper && !root_->isDeleted(step.wrapper) && step.wrapper->isCollection() != 0)
      nearest = static_cast<JtwCollection*>(step.wrapper);
  return nearest;
}

void JtwTraverse::traversePMIs(JtwCollection* collection, JtwCollection* shownAt) {
  if (!collection->PMIsCalculated()) {
    collection->readKrFrames();
    jtw::gatherPMIs(*collection, *collection);
    collection->readPMIKeysFromJT();
    collection->setPMIsCalculated();
  }
  if (!collection->hasPMIs() || !preActOnPMI(shownAt)) return;
  auto pmis = collection->PMIs();  // a copy: the host may change the list
  std::erase_if(pmis, [this, collection](const JtwPMI* pmi) {
    return root_->isDeleted(pmi) || pmi->originJtNode() != collection->jtNode();
  });
  actOnPMIs(std::move(pmis));
}

void JtwTraverse::traversePMIsOfEntity(JtwEntity* entity) {
  jtw::gatherPMIs(*entity, *nearestCollection());
  auto pmis = root_->getJtwPMIsOfNode(entity->jtNode());
  if (!pmis.empty() && preActOnPMI(entity)) actOnPMIs(std::move(pmis));
}

void JtwTraverse::actOnPMIs(RWClassicTValOrderedVector<JtwPMI*> pmis) {
  const auto rank = [](JtwPMI* pmi) {
    const bool annotated = pmi->type() == JtwNode::JT_PMI_ANNOTATION_NODE;
    const int type =
        annotated ? static_cast<JtwPMIAnnotation*>(pmi)->annotationData().annotationType : 0;
    return std::pair(pmi->type(), type);
  };
  std::stable_sort(pmis.begin(), pmis.end(),
                   [&rank](JtwPMI* a, JtwPMI* b) { return rank(a) < rank(b); });
  for (JtwPMI* pmi : pmis)
    if (!root_->isDeleted(pmi)) actOnNode(pmi);
}
