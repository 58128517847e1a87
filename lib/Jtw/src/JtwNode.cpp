#include "JtwNode.h"

#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ApiSysStringConvertors.h"
#include "Jt.h"
#include "JtByteText.h"
#include "JtGroup.h"
#include "JtInstance.h"
#include "JtwPMI.h"
#include "JtwProperties.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwSharedAtoms.h"
#include "JtwUtils.h"
#include "JtwWalkMemo.h"
#include "VisPartNode.h"

using jtw::Key;

namespace {

bool fitsStoredKey(long key) {
  return key >= std::numeric_limits<int>::min() && key <= std::numeric_limits<int>::max();
}

RWClassicCString stringOf(const JtNode* node, Key key) {
  const JtString* value = jtw::stringProperty(node, key);
  return value ? jt::bytesOfText(*value) : RWClassicCString();
}

}  // namespace

JtwNode::JtwNode(JtNode* node, JtwRoot* root) : jtNode_(node), root_(root) {}

JtwNode::~JtwNode() = default;

void JtwNode::init() { jtw::makeSharedAtoms(); }
void JtwNode::fini() { jtw::releaseSharedAtoms(); }

// --- Key

ApiProtoKey JtwNode::keyImpl(JtNode* node) {
  return ApiProtoKey(jtw::intProperty(node, Key::protoKey).value_or(0));
}

ApiProtoKey JtwNode::key() { return keyImpl(jtNode()); }

bool JtwNode::setKey(const ApiProtoKey& key) {
  if (!jtNode_ || !root_ || key.isNull() || !fitsStoredKey(key.getAsLong())) return false;
  if (!this->key().isNull()) return false;
  JtwNode* holder = nullptr;
  if (root_->getNodeByKey(key, holder) && holder) return false;
  if (!root_->addNodeToMapByKey(key, this)) return false;
  try {
    if (jtw::setInt(jtNode(), Key::protoKey, static_cast<int>(key.getAsLong()), true)) return true;
  } catch (...) {
    root_->removeNodeFromMapByKey(key);
    throw;
  }
  root_->removeNodeFromMapByKey(key);
  return false;
}

void JtwNode::reset(bool removeFromMap) {
  const ApiProtoKey old = key();
  if (!old.isNull()) {
    // A PMI wraps the JT node of its collection, whose key is not its own.
    if (isOfTypePMI()) {
      if (removeFromMap) static_cast<JtwPMI*>(this)->giveUpKey();
    } else {
      jtw::eraseProperty(jtNode(), Key::protoKey);
      if (removeFromMap && root_) root_->removeNodeFromMapByKey(old);
    }
  }
  forgetCached();
}

void JtwNode::forgetCached() {
  colorEvaluated_ = false;
  colorIsDefault_ = true;
  locationValid_ = false;
}

// --- Parents

bool JtwNode::endsWalk(const JtNode* node) const {
  return (root_ && node == root_->jtNode()) || jtw::carriesKey(node);
}

jtw::WalkMemo* JtwNode::memo() const noexcept { return root_ ? root_->memo_.get() : nullptr; }

JtNode* JtwNode::nextOfWalk(const JtNode& node) const {
  JtNode* const above = node.parent(0);
  return above && endsWalk(above) ? nullptr : above;
}

JtNode* JtwNode::getGmParent(JtNode* node) {
  jtw::WalkMemo* const memo = this->memo();
  return jtw::walkUp<JtNode*>(
      node, memo ? &memo->parents : nullptr, [this](JtNode& at) { return nextOfWalk(at); },
      [](JtNode* const* above, JtNode& at) { return above ? *above : at.parent(0); });
}

ApiProtoKey JtwNode::parent() { return keyImpl(getGmParent(jtNode())); }

JtwNode* JtwNode::parentNode() {
  if (!root_) return nullptr;
  JtwNode* byKey = nullptr;
  if (isOfTypePMI()) {
    root_->getNodeByKey(parent(), byKey);
    return byKey;
  }
  // By JT node first: in a damaged file two nodes may carry one key, and going up by key alone
  // could then lead back down.
  JtNode* above = getGmParent(jtNode());
  if (!above) return nullptr;
  if (above == root_->jtNode()) return root_;
  if (JtwNode* wrapper = root_->nodeByJtNode(above)) return wrapper;
  root_->getNodeByKey(keyImpl(above), byKey);
  return byKey && !byKey->isOfTypePMI() && byKey->jtNode() == above ? byKey : nullptr;
}

JtNode* JtwNode::findRealParent() {
  JtNode* up = jtNode_ ? jtNode_->parent(0) : nullptr;
  if (jt::as<JtInstance>(up)) up = up->parent(0);
  if (!up || up->typeID() != JtGroup::classTypeID()) return up;
  up = up->parent(0);
  return up ? up->parent(0) : nullptr;
}

bool JtwNode::checkParentValidity(JtNode* candidate) {
  // A node with nothing below it is above no other: new objects go under deep ones at no cost.
  if (candidate && jtNode_ && jtNode_->numChildren() == 0) return candidate != jtNode();
  for (; candidate; candidate = candidate->parent(0))
    if (candidate == jtNode()) return false;
  return true;
}

bool JtwNode::setParent(const ApiProtoKey& key) {
  JtwNode* found = nullptr;
  if (!jtNode_ || !root_ || !root_->getNodeByKey(key, found) || !found) return false;
  if (found->isOfTypePMI()) return false;  // it has no JT node of its own to hang anything on
  if (!checkParentValidity(found->jtNode())) return false;
  JtNode* oldParent = getGmParent(jtNode());
  if (oldParent && oldParent == found->jtNode()) return true;

  const int oldParents = jtNode_->numParents();
  for (int i = 0; i < oldParents; ++i)
    if (jtNode_->parent(i)->isOpaque()) return false;
  // The new parent first: as long as it may still refuse, nothing is lost.
  auto* newParent = jt::as<JtGroup>(found->jtNode());
  if (!newParent || !newParent->addChild(jtNode())) return false;

  if (oldParent) root_->setJtwPMIsOfNodeToCollection(jtNode());
  for (int i = 0; i < oldParents; ++i) jtw::cutChild(jtNode_->parent(0), jtNode());
  return true;
}

// --- Name

RWClassicWString JtwNode::nameWithExtension(const JtNode* node) {
  return JtwUtilsGetNamePropertyAsRWWString(node);
}

RWClassicWString JtwNode::name(JtNode* node) {
  RWClassicWString name = nameWithExtension(node);
  removeNameExtension(name);
  return name;
}

RWClassicWString JtwNode::nameWithExtension() {
  RWClassicWString own = nameWithExtension(jtNode());
  if (!own.empty() || !jtNode_) return own;
  JtNode* above = jtNode_->parent(0);
  return jt::as<JtInstance>(above) ? nameWithExtension(above) : own;
}

RWClassicWString JtwNode::name() {
  RWClassicWString own = name(jtNode());
  if (!own.empty() || !jtNode_) return own;
  JtNode* above = jtNode_->parent(0);
  return jt::as<JtInstance>(above) ? name(above) : own;
}

void JtwNode::setName(const RWClassicWString& name) {
  JtString text;
  if (ApiSysStringConvertors::isAscii(name))
    text = JtString(ApiSysStringConvertors::toAscii(name));
  else
    JtwUtilsConvertRWCStringToJtString(ApiSysStringConvertors::UnicodeToRWCString(name), text);
  jtw::setString(jtNode(), Jt::jtPropName, text, true);
}

void JtwNode::removeNameExtension(RWClassicWString& name) {
  // The extension is at the end, so its start is found from there: in one pass over the name,
  // however long it is.
  const std::wstring_view all = name;
  std::wstring_view head = all;
  const auto dropCount = [&head](wchar_t terminator) {
    if (head.empty() || head.back() != terminator) return false;
    head.remove_suffix(1);
    head = head.substr(0, head.find_last_not_of(L"-0123456789") + 1);
    return true;
  };
  if (all.ends_with(L':') && !(dropCount(L':') && dropCount(L';'))) return;
  for (const std::wstring_view extension : {L".part;", L".asm;"}) {
    if (!head.ends_with(extension)) continue;
    name.resize(head.size() - extension.size());
    return;
  }
}

bool JtwNode::isInteger(const char* text) {
  if (!text) return false;
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  if (*text != '-' && !isDigit(*text)) return false;
  for (++text; *text; ++text)
    if (!isDigit(*text)) return false;
  return true;
}

// --- Texts and attachment

RWClassicCString JtwNode::attributes() { return stringOf(jtNode(), Key::attributes); }

void JtwNode::setAttributes(const RWClassicCString& text) {
  if (text.empty())
    jtw::eraseProperty(jtNode(), Key::attributes);
  else
    jtw::setString(jtNode(), Key::attributes, jt::textOfBytes(text), true);
}

ApiGlobalUniqueId JtwNode::globalUniqueId() {
  return ApiGlobalUniqueId(stringOf(jtNode(), Key::globalUniqueId));
}

void JtwNode::setGlobalUniqueId(const ApiGlobalUniqueId& id) {
  if (id.isNull()) return;
  jtw::setString(jtNode(), Key::globalUniqueId, jt::textOfBytes(id.getAsString()), true);
}

RWClassicCString JtwNode::relStringId() const { return stringOf(jtNode(), Key::relStringId); }

void JtwNode::setRelStringId(const RWClassicCString& id) {
  if (!id.empty()) jtw::setString(jtNode(), Key::relStringId, jt::textOfBytes(id), true);
}

void JtwNode::getAttachmentParent(ApiProtoKey& key, AttachmentType& type) {
  const std::optional<int> parent = jtw::intProperty(jtNode(), Key::attachmentParent);
  if (!parent) return;
  key = ApiProtoKey(*parent);
  type = static_cast<AttachmentType>(jtw::intProperty(jtNode(), Key::attachmentType).value_or(0));
}

void JtwNode::setAttachmentParent(const ApiProtoKey& key, AttachmentType type) {
  if (!fitsStoredKey(key.getAsLong())) return;
  jtw::setInt(jtNode(), Key::attachmentParent, static_cast<int>(key.getAsLong()), true);
  jtw::setInt(jtNode(), Key::attachmentType, type, true);
}

// --- Occurrence ids

void JtwNode::collectOccId(JtString& out) const {
  std::vector<const JtString*> ids;  // nearest first
  for (const JtNode* up = jtNode_ ? jtNode_->parent(0) : nullptr; up; up = up->parent(0)) {
    if (!jt::as<JtInstance>(up)) continue;
    const JtString* id = jtw::stringProperty(up, Key::threadUid);
    if (id && !id->isEmpty()) ids.push_back(id);
  }
  std::u16string joined;
  for (auto id = ids.rbegin(); id != ids.rend(); ++id) (joined += u'\\') += (*id)->units();
  out.insert(0, JtString(std::move(joined)));
}

bool JtwNode::setConcatOccId() {
  if (!jt::as<VisPartNode>(jtNode())) return true;
  JtString ids;
  collectOccId(ids);
  if (ids.isEmpty()) return true;
  ids.remove(0, 1);
  return jtw::setString(jtNode(), Key::concatOccThreadId, ids, false);
}
