// The maps of a root's wrappers; making, copying and deleting objects; writing.

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "ApiObjType.h"
#include "Jt.h"
#include "JtFormatError.h"
#include "JtTk/JtkwPMIGathering.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwFrame.h"
#include "JtwKeyTable.h"
#include "JtwLink.h"
#include "JtwPMI.h"
#include "JtwPMIAnnotation.h"
#include "JtwPMIs.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwSubDevice.h"
#include "JtwTree.h"
#include "JtwWrapperTable.h"
#include "VisPartNode.h"

using jtw::Key;

namespace {

/// What callers of VisPartNode give for a part that is to be filled.
constexpr int kNewPartHint = 99;

bool isKnown(const JtwRoot& root, const ApiProtoKey& key) {
  JtwNode* node = nullptr;
  return root.getNodeByKey(key, node) && node;
}

/// A wrapper over a new JT node. Unless it is kept, it leaves the root's maps and the JT node the
/// scene graph.
template <class Wrapper>
class Provisional {
 public:
  Provisional(JtwRoot& root, std::unique_ptr<Wrapper> wrapper)
      : root_(root), wrapper_(std::move(wrapper)) {}
  Provisional(const Provisional&) = delete;
  Provisional& operator=(const Provisional&) = delete;
  ~Provisional() {
    if (!wrapper_) return;
    root_.forgetNode(*wrapper_);
    JtNode* const node = wrapper_->jtNode();
    jtw::cutChild(node->parent(0), node);
  }

  Wrapper* operator->() const { return wrapper_.get(); }
  Wrapper& operator*() const { return *wrapper_; }
  bool enterByJtNode() { return root_.addNodeByJtNode(wrapper_->jtNode(), wrapper_.get()); }
  Wrapper* keep() { return wrapper_.release(); }

 private:
  JtwRoot& root_;
  std::unique_ptr<Wrapper> wrapper_;
};

/// A new JT node under its key and below its parent, or null with nothing changed.
/// @param kind what the node says it is; NONE: nothing
template <class Wrapper>
Wrapper* placeNew(JtwRoot& root, std::unique_ptr<Wrapper> wrapper, const ApiProtoKey& key,
                  const ApiProtoKey& parentKey, const RTTran3D& relLoc, ApiObjType kind) {
  if (!isKnown(root, parentKey) || isKnown(root, key)) return nullptr;
  Provisional made(root, std::move(wrapper));
  if (!made->setKey(key) || !made.enterByJtNode() || !made->setParent(parentKey)) return nullptr;
  made->setRelLoc(relLoc);
  made->forgetCached();
  if (kind.value() != ApiObjType::NONE)
    jtw::setString(made->jtNode(), Key::objType, JtString(kind.text()), true);
  return made.keep();
}

template <class Wrapper>
Wrapper* createCollection(JtwRoot& root, const ApiProtoKey& key, const ApiProtoKey& parentKey,
                          const RTTran3D& relLoc, ApiObjType::Kind kind) {
  const auto node = jt::make<VisMetaDataNode>();
  return placeNew(root, std::make_unique<Wrapper>(node.get(), &root), key, parentKey, relLoc,
                  ApiObjType(kind));
}

template <class Wrapper>
Wrapper* createPMI(JtwRoot& root, const ApiProtoKey& key, const ApiProtoKey& parentKey,
                   const RTTran3D& relLoc) {
  JtwNode* parent = nullptr;
  if (!root.getNodeByKey(parentKey, parent) || !parent || !parent->isCollection()) return nullptr;
  auto* collection = static_cast<JtwCollection*>(parent);
  auto made = std::make_unique<Wrapper>(collection, &root);
  if (!made->setKey(key)) return nullptr;
  made->setRelLoc(relLoc);
  collection->addPMI(made.get());
  return made.release();
}

/// Takes away from a copied graph what distinguishes one object from another; frames are objects
/// too.
void stripIdentity(JtNode* copy) {
  jtw::forEachBelow(copy, [](JtNode& node) {
    jtw::eraseProperty(&node, Key::protoKey);
    jtw::eraseProperty(&node, Key::globalUniqueId);
    jtw::eraseProperty(&node, Key::frames);
    jtw::eraseProperty(&node, Key::pmiProtoKeys);
    jtw::stripPMIIdentity(node);
  });
}

}  // namespace

// --- Maps

bool JtwRoot::getNodeByKey(const ApiProtoKey& key, JtwNode*& node) const {
  if (nodesByKey_->isEmpty()) return false;
  node = nodesByKey_->find(key);
  return true;
}

const RWClassicTValHashDictionary<ApiProtoKey, JtwNode*>& JtwRoot::getAllNodes() const {
  return nodesByKey_->all();
}

bool JtwRoot::addNodeToMapByKey(const ApiProtoKey& key, JtwNode* node) {
  if (!node || key.isNull() || !nodesByKey_->insert(key, node)) return false;
  ++node->entries_.byKey;
  if (!unkeyedPMIs_.empty()) unkeyedPMIs_.erase(node);
  return true;
}

bool JtwRoot::addNodeToMap(JtwNode* node) { return node && addNodeToMapByKey(node->key(), node); }

bool JtwRoot::removeNodeFromMapByKey(const ApiProtoKey& key) {
  JtwNode* const node = nodesByKey_->find(key);
  if (!node) return false;
  --node->entries_.byKey;
  nodesByKey_->erase(key);
  return true;
}

bool JtwRoot::addNodeByJtNode(JtNode* jtNode, JtwNode* node) {
  if (!jtNode || !node || !nodesByJtNode_->insert(jtNode, node)) return false;
  ++node->entries_.byJtNode;
  return true;
}

JtwNode* JtwRoot::nodeByJtNode(JtNode* jtNode) const { return nodesByJtNode_->wrapperOf(jtNode); }

void JtwRoot::forgetNode(JtwNode& node) {
  ++forgotten_;
  unkeyedPMIs_.erase(&node);
  if (node.entries_.byKey > 0 && nodesByKey_->find(node.key()) == &node) {
    nodesByKey_->erase(node.key());
    --node.entries_.byKey;
  }
  if (nodesByJtNode_->wrapperOf(node.jtNode()) == &node) {
    nodesByJtNode_->erase(node.jtNode());
    --node.entries_.byJtNode;
  }
  // It may have had other keys and another JT node before. That is rare enough for a search.
  if (node.entries_.byKey > 0) nodesByKey_->eraseWrapper(&node);
  if (node.entries_.byJtNode > 0)
    nodesByJtNode_->eraseIf(
        [&node](JtNode* /*jtNode*/, const JtwNode* wrapper) { return wrapper == &node; });
  node.entries_.byKey = 0;
  node.entries_.byJtNode = 0;
}

void JtwRoot::adoptPMI(JtwPMI* pmi) {
  if (pmi) unkeyedPMIs_.insert(pmi);
}

bool JtwRoot::getFreeApiProtoKey(ApiProtoKey& key) const {
  key = ApiProtoKey();
  if (nodesByKey_->isEmpty()) return false;
  const auto byKey = [](const auto& a, const auto& b) { return a.first < b.first; };
  key = std::ranges::max_element(nodesByKey_->all(), byKey)->first;
  ++key;
  return true;
}

// --- PMI by the JT node they are filed under

void JtwRoot::addJtwPMIToMap(const JtNode* jtNode, JtwPMI* pmi) {
  if (!jtNode || !pmi) return;
  pmisByJtNode_[jtNode].add(pmi);
  ++pmi->filings_;
  pmi->filedUnder_ = jtNode;
}

void JtwRoot::removeJtwPMIFromMap(const JtNode* jtNode, JtwPMI* pmi) {
  const auto found = pmisByJtNode_.find(jtNode);
  if (found == pmisByJtNode_.end()) return;
  const bool isOnlyEntry = pmi->filings_ == 1 && pmi->filedUnder_ == jtNode;
  if (!found->second.remove(pmi, isOnlyEntry)) return;
  --pmi->filings_;
  pmi->filedUnder_ = nullptr;
  if (found->second.empty()) pmisByJtNode_.erase(found);
}

void JtwRoot::removeJtwPMIFromMap(JtwPMI& pmi) {
  if (pmi.origin_) removeJtwPMIFromMap(pmi.origin_.get(), &pmi);
  if (pmi.filings_ == 0) return;
  for (auto& [jtNode, pmis] : pmisByJtNode_) pmis.removeAll(&pmi);
  std::erase_if(pmisByJtNode_, [](const auto& entry) { return entry.second.empty(); });
  pmi.filings_ = 0;
}

RWClassicTValOrderedVector<JtwPMI*> JtwRoot::getJtwPMIsOfNode(const JtNode* jtNode) const {
  const auto found = pmisByJtNode_.find(jtNode);
  return found == pmisByJtNode_.end() ? RWClassicTValOrderedVector<JtwPMI*>()
                                      : found->second.entries();
}

void JtwRoot::setJtwPMIsOfNodeToCollection(JtNode* jtNode) {
  JtwNode* carrier = nodesByJtNode_->wrapperOf(jtNode);
  const bool isEntity = carrier && carrier->type() == JT_ENTITY_NODE;
  for (JtwPMI* pmi : getJtwPMIsOfNode(jtNode)) {
    JtwCollection* collection = pmi->collection();
    if (!collection) continue;
    // The lines of an annotation are in the coordinates of the node that carries it.
    if (isEntity && pmi->type() == JT_PMI_ANNOTATION_NODE)
      jtw::transformGraphics(static_cast<JtwPMIAnnotation*>(pmi)->annotationData().graphics,
                             jtw::placement(*carrier, *collection));
    pmi->setOriginJtNode(collection->jtNode());
  }
}

std::vector<JtwNode*> JtwRoot::pmiCarriers() {
  std::vector<JtwNode*> carriers;
  const auto consider = [&carriers](JtNode* node, JtwNode* wrapper) {
    const bool canCarry =
        wrapper->isCollection() != 0 || wrapper->type() == JtwNode::JT_ENTITY_NODE;
    if (canCarry && jt::as<VisMetaDataNode>(node)) carriers.push_back(wrapper);
  };
  nodesByJtNode_->forEach(consider);
  if (jtNode() && !nodesByJtNode_->wrapperOf(jtNode())) consider(jtNode(), this);
  return carriers;
}

void JtwRoot::partPMIsFromNode(JtwNode& node) {
  for (JtwPMI* pmi : getJtwPMIsOfNode(node.jtNode())) pmi->setOriginJtNode(nullptr);
  if (node.isCollection() == 0) return;
  for (JtwPMI* pmi : static_cast<JtwCollection&>(node).namedBy()) pmi->setJtNode(nullptr);
}

ApiProtoKey JtwRoot::PMIMaxProtoKey() const {
  return ApiProtoKey(jtw::intProperty(jtNode(), Key::pmiMaxProtoKey).value_or(0));
}

void JtwRoot::setPMIMaxProtoKey(const ApiProtoKey& key) {
  const long value = key.getAsLong();
  if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) return;
  jtw::setInt(jtNode(), Key::pmiMaxProtoKey, static_cast<int>(value), true);
}

void JtwRoot::recordPMIKey(const ApiProtoKey& key) {
  if (PMIMaxProtoKey() < key) setPMIMaxProtoKey(key);
}

void JtwRoot::recordPMIKeysBelow(JtNode* node) {
  ApiProtoKey greatest;
  jtw::forEachBelow(node, [this, &greatest](JtNode& below) {
    JtwNode* wrapper = nodesByJtNode_->wrapperOf(&below);
    if (!wrapper || wrapper->isCollection() == 0) return;
    for (JtwPMI* pmi : static_cast<JtwCollection*>(wrapper)->namedBy())
      greatest = std::max(greatest, pmi->key());
  });
  if (!greatest.isNull()) recordPMIKey(greatest);
}

// --- Making objects

JtwEntity* JtwRoot::createEntityNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                                     const RTTran3D& relLoc) {
  const auto part = jt::make<VisPartNode>(kNewPartHint);
  return placeNew(*this, std::make_unique<JtwEntity>(part.get(), this, L""), key, parentKey, relLoc,
                  ApiObjType());
}

JtwBlock* JtwRoot::createBlockNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                                   const RTTran3D& relLoc) {
  return createCollection<JtwBlock>(*this, key, parentKey, relLoc, ApiObjType::BLOCK);
}

JtwLink* JtwRoot::createLinkNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                                 const RTTran3D& relLoc) {
  return createCollection<JtwLink>(*this, key, parentKey, relLoc, ApiObjType::LINK);
}

JtwSubDevice* JtwRoot::createSubDeviceNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                                           const RTTran3D& relLoc) {
  return createCollection<JtwSubDevice>(*this, key, parentKey, relLoc, ApiObjType::SUB_DEVICE);
}

JtwFrame* JtwRoot::createFrameNode(const ApiProtoKey& key, const ApiProtoKey& parentKey,
                                   const RTTran3D& relLoc) {
  return createPMI<JtwFrame>(*this, key, parentKey, relLoc);
}

JtwPMIAnnotation* JtwRoot::createPMIAnnotationNode(const ApiProtoKey& key,
                                                   const ApiProtoKey& parentKey,
                                                   const RTTran3D& relLoc) {
  return createPMI<JtwPMIAnnotation>(*this, key, parentKey, relLoc);
}

JtwEntity* JtwRoot::createApxEntityNode(const ApiProtoKey& parentKey, const RTTran3D& relLoc) {
  if (!isKnown(*this, parentKey)) return nullptr;
  const auto part = jt::make<VisPartNode>(kNewPartHint);
  Provisional made(*this, std::make_unique<JtwEntity>(part.get(), this, L""));
  if (!made.enterByJtNode() || !made->setParent(parentKey)) return nullptr;
  made->setRelLoc(relLoc);
  made->forgetCached();
  return made.keep();
}

JtwEntity* JtwRoot::cloneEntityNode(const ApiProtoKey& key, const bool& withGeometry) try {
  JtwNode* original = nullptr;
  ApiProtoKey free;
  if (!getNodeByKey(key, original) || !original || original->type() != JT_ENTITY_NODE ||
      !getFreeApiProtoKey(free))
    return nullptr;
  free = std::max(free, ++PMIMaxProtoKey());
  JtwNode* parent = original->parentNode();
  auto* group = parent ? jt::as<JtGroup>(parent->jtNode()) : nullptr;
  if (!group || group->isOpaque()) return nullptr;

  const jt::Ref<JtBase> copied =
      withGeometry ? jt::Ref<JtBase>(Jt::clone(original->jtNode())) : original->jtNode()->clone();
  auto* part = jt::as<VisPartNode>(copied.get());
  if (!part) return nullptr;
  stripIdentity(part);
  Provisional copy(*this, std::make_unique<JtwEntity>(part, this, original->name()));
  if (!copy->setKey(free) || !copy.enterByJtNode() || !group->addChild(part)) return nullptr;
  // The original may hang below instances and plain groups that take part in its placement.
  original->forgetCached();
  jtw::setPlacement(*copy, original->relLoc());
  return copy.keep();
} catch (const JtFormatError& error) {
  jt::setLastError(error.what());
  return nullptr;
}

// --- Deleting

bool JtwRoot::deleteNode(const ApiProtoKey& key) {
  JtwNode* node = nullptr;
  if (!getNodeByKey(key, node) || !node || node == this) return false;
  if (node->isOfTypePMI()) {
    auto* pmi = static_cast<JtwPMI*>(node);
    recordPMIKey(std::max(key, pmi->key()));
    pmi->leaveLists();
    pmi->setOriginJtNode(nullptr);
    removeJtwPMIFromMap(*pmi);
  } else if (JtNode* jtNode = node->jtNode()) {
    JtNode* above = jtNode->parent(0);
    if (above && above->isOpaque()) return false;
    recordPMIKeysBelow(jtNode);
    setJtwPMIsOfNodeToCollection(jtNode);
    partPMIsFromNode(*node);
    jtw::cutChild(above, jtNode);
  }
  destroyNode(*node);
  return true;
}

void JtwRoot::destroyNode(JtwNode& node) {
  forgetNode(node);
  if (node.isCollection() != 0) static_cast<JtwCollection&>(node).uninit();
  std::unique_ptr<JtwNode> ended(&node);
  if (walks_ > 0) deleted_.emplace(&node, std::move(ended));
}

void JtwRoot::endWalk() noexcept {
  if (--walks_ == 0) deleted_.clear();
}

// --- Writing

bool JtwRoot::write(bool asNewCopy) { return writeReported(asNewCopy).has_value(); }

std::optional<jt::SaveReport> JtwRoot::writeReported(bool asNewCopy,
                                                     const jt::SaveOptions& options) {
  if (openError_ != 0) {
    jt::setLastError("the component could not be opened, so there is nothing to write");
    return std::nullopt;
  }
  if (!jtw::writePMIs(*this)) return std::nullopt;
  return writeToDatastore(asNewCopy ? jtNode() : nullptr, options);
}
