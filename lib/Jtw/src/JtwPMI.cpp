#include "JtwPMI.h"

#include <utility>

#include "JtTk/JtkwPMIGathering.h"
#include "JtwCollection.h"
#include "JtwRoot.h"

JtwPMI::JtwPMI(JtwCollection* collection, JtwRoot* root)
    : JtwLeaf(collection ? collection->jtNode() : nullptr, root) {
  setCollection(collection);
  try {
    setOriginJtNode(jtNode());
  } catch (...) {
    setCollection(nullptr);  // no destructor runs
    throw;
  }
}

JtwPMI::JtwPMI(const JtwPMI& other)
    : JtwLeaf(other),
      data_(other.data_),
      id_(other.id_),
      storedKey_(other.storedKey_),
      renewed_(other.renewed_),
      carried_(other.carried_),
      origin_(other.origin_) {
  setCollection(other.collection_);
}

JtwPMI& JtwPMI::operator=(const JtwPMI& other) {
  if (this == &other) return *this;
  clearParent();
  setOriginJtNode(nullptr);
  JtwLeaf::operator=(other);
  setCollection(other.collection_);
  data_ = other.data_;
  id_ = other.id_;
  storedKey_ = other.storedKey_;
  renewed_ = other.renewed_;
  carried_ = other.carried_;
  origin_ = other.origin_;
  return *this;
}

JtwPMI::~JtwPMI() {
  leaveLists();
  if (!root_) return;
  root_->removeJtwPMIFromMap(*this);
  root_->forgetNode(*this);
}

void JtwPMI::setCollection(JtwCollection* collection) {
  if (collection_) collection_->removeNamedBy(this);
  collection_ = collection;
  if (collection_) collection_->addNamedBy(this);
}

void JtwPMI::clearParent() {
  if (!collection_) return;
  collection_->removePMI(this);
  setCollection(nullptr);
}

void JtwPMI::leaveLists() {
  clearParent();
  for (JtwCollection* collection : std::exchange(listedIn_, {})) collection->pmis_.removeAll(this);
}

void JtwPMI::setOriginJtNode(const JtNode* node) {
  if (origin_ == node) return;
  const jt::Ref<const JtNode> old = origin_;
  if (root_ && old) root_->removeJtwPMIFromMap(old.get(), this);
  origin_ = jt::Ref<const JtNode>(node);
  if (root_ && node) root_->addJtwPMIToMap(node, this);
  if (!old) return;
  if (id_ >= 0 && node) carried_ = jtw::attributesToCarry(*old, id_);
  id_ = -1;
}

void JtwPMI::setStored(int id) {
  id_ = id;
  storedKey_ = data_.key;
  renewed_ = false;
  carried_.clear();
}

bool JtwPMI::setKey(const ApiProtoKey& key) {
  const ApiProtoKey stored = storedKey_;
  if (!takeStoredKey(key)) return false;
  storedKey_ = stored;
  root_->recordPMIKey(key);
  return true;
}

bool JtwPMI::takeStoredKey(const ApiProtoKey& key) {
  if (!root_ || key.getAsLong() <= 0) return false;
  JtwNode* holder = nullptr;
  if (root_->getNodeByKey(key, holder) && holder) return false;
  if (!root_->addNodeToMapByKey(key, this)) return false;
  data_.key = key;
  storedKey_ = key;
  return true;
}

void JtwPMI::giveUpKey() {
  const ApiProtoKey old = std::exchange(data_.key, ApiProtoKey());
  JtwNode* holder = nullptr;
  // A copy has the key of the original, which keeps it.
  if (!root_ || !root_->getNodeByKey(old, holder) || holder != this) return;
  root_->adoptPMI(this);
  root_->removeNodeFromMapByKey(old);
}

ApiProtoKey JtwPMI::parent() { return collection_ ? collection_->key() : ApiProtoKey(); }

bool JtwPMI::setParent(const ApiProtoKey& key) {
  // The host relies on the order: the old list is left even when there is no new one.
  if (collection_) collection_->removePMI(this);
  JtwNode* found = nullptr;
  if (!root_ || !root_->getNodeByKey(key, found) || !found || !found->isCollection()) return false;
  auto* collection = static_cast<JtwCollection*>(found);
  if (collection != collection_) setOriginJtNode(collection->jtNode());
  setCollection(collection);
  setJtNode(collection->jtNode());
  collection->addPMI(this);
  return true;
}

RTTran3D JtwPMI::absLoc() { return collection_ ? collection_->absLoc() * relLoc() : RTTran3D(); }

void JtwPMI::getAttachmentParent(ApiProtoKey& key, AttachmentType& type) {
  key = data_.attachmentParent;
  type = data_.attachmentType;
}

void JtwPMI::setAttachmentParent(const ApiProtoKey& key, AttachmentType type) {
  data_.attachmentParent = key;
  data_.attachmentType = type;
}

void JtwPMI::setColor(const ApiGraColor& color, bool /*forced*/, bool /*overrideVertexColors*/) {
  color_ = color;
  colorIsDefault_ = false;
}

const ApiGraColor& JtwPMI::color(bool& isDefault) {
  isDefault = colorIsDefault_;
  return color_;
}
