#include "JtNode.h"

#include <algorithm>
#include <unordered_set>

#include "base/ObjectBlocks.h"
#include "base/Prefetch.h"
#include "scene/ObjectSource.h"
#include "scene/Recording.h"

namespace {

/// The text of a key, or null for a key that is no text.
const JtString* keyText(const JtPropAtom* key) {
  const auto* text = jt::as<JtStringPropAtom>(key);
  return text ? &text->value() : nullptr;
}

auto findKey(const jt::PropertyList& properties, const JtString& key) {
  return std::find_if(properties.begin(), properties.end(), [&](const jt::Property& property) {
    const JtString* text = keyText(property.key.get());
    return text && *text == key;
  });
}

}  // namespace

JtNode::JtNode(const JtNode& other)
    : JtSceneObject(other),
      nodeVersion_(other.nodeVersion_),
      opaque_(other.opaque_),
      nodeFlags_(other.nodeFlags_),
      attributes_(other.attributes_),
      properties_(other.properties()),
      trailingBytes_(other.trailingBytes_) {}

JtNode::~JtNode() {
  if (properties_.empty()) return;
  if (jt::ObjectSource* const source = jt::ObjectSource::of(*this)) source->endValues(properties_);
}

jt::Ref<JtBase> JtNode::clone() const { return jt::Ref<JtBase>(new JtNode(*this)); }

JtNode* JtNode::parent(int index) const noexcept {
  return index >= 0 && index < numParents() ? parents_[static_cast<std::size_t>(index)] : nullptr;
}

namespace {

/// The parents of a node. A node does not own them, so the journal does.
class KeptParents final : public jt::ChangeJournal::Kept {
 public:
  KeptParents(const JtNode& owner, jt::ParentList& parents)
      : owner_(owner), parents_(parents), kept_(parents) {
    owned_.reserve(parents.size());
    for (std::size_t i = 0; i < parents.size(); ++i)
      if (parents[i]->refCount() > 0) owned_.emplace_back(*parents[i]);
  }
  void swap() noexcept override { std::swap(parents_, kept_); }

 private:
  std::uint64_t fingerprint() const noexcept override {
    return jt::scene::listFingerprint(parents_);
  }

  jt::scene::Keeper owner_;
  jt::ParentList& parents_;
  jt::ParentList kept_;
  std::vector<jt::scene::Keeper> owned_;
};

}  // namespace

/// Also for a child without references: it would otherwise go on naming a parent that has given it
/// up.
void JtNode::recordParents(JtNode& child) {
  jt::ChangeJournal* const journal = jt::ChangeJournal::recording();
  if (journal && journal->wants(&child.parents_))
    journal->keep(&child.parents_, std::make_unique<KeptParents>(child, child.parents_));
}

// A node that is about to end has no parents any more: the first place of that list, which takes no
// memory, links the nodes that wait.

void JtNode::Dismantler::add(jt::Ref<JtNode> node) noexcept {
  if (!node || node->refCount() != 1 || node->isKept()) return;
  jt::prefetch(node->properties_.data(), node->properties_.size() * sizeof(jt::Property));
  jt::prefetch(node->attribute(0), sizeof(JtAttribute));
  node->parents_ = {};
  if (first_) node->attachTo(*first_);
  first_ = node.release();
}

JtNode::Dismantler::~Dismantler() {
  constexpr std::size_t kUsualValue = 160;  // bytes of a value with its text
  if (!first_) return;
  const jt::ObjectBlocks::EndTogether together;
  while (first_) {
    const auto node = jt::Ref<JtNode>::adopt(first_);
    first_ = node->parent(0);
    node->parents_ = {};
    // Its children are taken over before it ends, so that ends do not nest.
    node->releaseChildren(*this);
    // The values of the next node come from memory while this one ends.
    if (first_)
      for (const jt::Property& property : first_->properties_)
        jt::prefetch(property.value.get(), kUsualValue);
  }
}

// --- Attributes

JtAttribute* JtNode::attribute(int index) const noexcept {
  return index >= 0 && index < numAttributes() ? attributes_[static_cast<std::size_t>(index)].get()
                                               : nullptr;
}

bool JtNode::getAttribute(int index, JtAttribute*& attribute, JtPathQual*& qualifier) const {
  attribute = this->attribute(index);
  qualifier = nullptr;
  return attribute != nullptr;
}

bool JtNode::appendAttribute(JtAttribute* attribute, JtPathQual*) {
  if (!attribute || opaque_) return false;
  record(attributes_);
  attributes_.push_back(jt::Ref<JtAttribute>(attribute));
  touch();
  return true;
}

bool JtNode::replaceAttribute(int index, JtAttribute* attribute, JtPathQual*) {
  if (!attribute || opaque_ || !this->attribute(index)) return false;
  change(attributes_);
  attributes_[static_cast<std::size_t>(index)] = attribute;
  return true;
}

bool JtNode::removeAttribute(int index) {
  if (opaque_ || !attribute(index)) return false;
  change(attributes_);
  attributes_.erase(static_cast<std::size_t>(index));
  return true;
}

// --- Properties

void JtNode::readProperties() const {
  jt::ObjectSource::of(*this)->readProperties(propertyRow_, properties_);
}

int JtNode::numProperties() const { return static_cast<int>(properties().size()); }

bool JtNode::getProperty(int index, JtPropAtom*& key, JtPropAtom*& value) const {
  const jt::PropertyList& all = properties();
  if (index < 0 || static_cast<std::size_t>(index) >= all.size()) return false;
  const jt::Property& property = all[static_cast<std::size_t>(index)];
  key = property.key.get();
  value = property.value.get();
  return true;
}

JtPropAtom* JtNode::property(const JtString& key) const {
  // Most nodes are asked for what they do not have: their properties can stay where they are.
  if (const std::uint32_t row = propertyRow_.load(std::memory_order_acquire))
    if (!jt::ObjectSource::of(*this)->mayHave(row, key)) return extraProperty(key);
  const auto& all = properties();
  const auto found = findKey(all, key);
  return found != all.end() ? found->value.get() : extraProperty(key);
}

bool JtNode::lookupProperty(const JtPropAtom* key, JtPropAtom*& value, bool inherited) const {
  value = nullptr;
  const JtString* text = keyText(key);
  if (!text) return false;
  value = property(*text);
  if (value || !inherited) return true;
  // Breadth first, nearest ancestors first, each once.
  std::vector<const JtNode*> level{this};
  std::unordered_set<const JtNode*> seen{this};
  for (std::size_t i = 0; i < level.size(); ++i)
    for (std::size_t above = 0; above < level[i]->parents_.size(); ++above) {
      const JtNode* parent = level[i]->parents_[above];
      if (!seen.insert(parent).second) continue;
      if ((value = parent->property(*text))) return true;
      level.push_back(parent);
    }
  return true;
}

bool JtNode::addProperty(JtPropAtom* key, JtPropAtom* value, bool replace) {
  const JtString* text = keyText(key);
  if (!text || !value) return false;
  auto& all = properties();
  const auto found = findKey(all, *text);
  if (!replace && (found != all.end() || extraProperty(*text))) return false;
  jt::scene::recordChange(*this, properties_, propertiesModified_);
  if (found != all.end())
    all[static_cast<std::size_t>(found - all.begin())].value = value;
  else
    all.push_back({key, value});
  propertiesModified_ = true;
  return true;
}

bool JtNode::deleteProperty(const JtPropAtom* key) {
  const JtString* text = keyText(key);
  if (!text) return false;
  auto& all = properties();
  const auto found = findKey(all, *text);
  if (found == all.end()) return false;
  jt::scene::recordChange(*this, properties_, propertiesModified_);
  all.erase(all.begin() + (found - all.begin()));
  propertiesModified_ = true;
  return true;
}

void JtNode::setIgnored(bool on) {
  if (isCarried()) return;
  change(nodeFlags_);
  nodeFlags_ = on ? nodeFlags_ | 1U : nodeFlags_ & ~1U;
}
