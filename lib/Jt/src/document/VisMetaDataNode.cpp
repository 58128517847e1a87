#include "VisMetaDataNode.h"

#include "JtFormatError.h"
#include "JtPartition.h"
#include "VisPartNode.h"
#include "document/LoadMutex.h"
#include "file/graph/SceneSource.h"
#include "scene/Recording.h"

namespace {

const JtString& metaDataKey() {
  static const JtString key("JT_LLPROP_METADATA");
  return key;
}

const JtString& pmiKey() {
  static const JtString key("JT_LLPROP_PMI");
  return key;
}

const JtString& wireframeKey() {
  static const JtString key("JT_LLPROP_WFREP");
  return key;
}

/// Why the object of a segment cannot be had, behind the name of its file.
void reportFailure(const JtLateLoadedPropAtom& atom, const char* what, const char* why) {
  const jt::file::SceneSource* source = jt::file::SceneSource::sourceOf(atom);
  jt::setLastError((source ? source->container().image().name() + ": " : std::string()) + "the " +
                   what + " segment " + atom.segmentId().text() + why + what);
}

/// Loads the object of a segment. False when it cannot be had.
template <class T>
bool load(JtLateLoadedPropAtom& atom, const char* what, jt::Ref<T>& loaded) {
  try {
    const jt::Ref<JtBase> object = atom.load(nullptr, T::classTypeID());
    loaded = jt::Ref<T>(jt::as<T>(object.get()));
    if (object) return true;
    reportFailure(atom, what, " is not in the file, or holds no ");
  } catch (const std::exception& error) {
    jt::setLastError(error.what());
  }
  return false;
}

/// Loads the segment that a node names under a key, the first time. False when it cannot be had.
template <class T, class State>
bool ensureLoaded(const JtNode& node, const JtString& key, const char* what,
                  std::atomic<State>& state, jt::Ref<T>& held) {
  const State before = state.load(std::memory_order_acquire);
  if (before == State::read) return true;
  auto* atom = jt::as<JtLateLoadedPropAtom>(node.property(key));
  if (before == State::failed && atom)
    reportFailure(*atom, what, " was damaged when it was read first, or held no ");
  if (before == State::unread) {
    jt::Ref<T> loaded;
    const bool isRead = !atom || load(*atom, what, loaded);
    const std::lock_guard lock(jt::loadMutexOf(&node));
    if (state.load(std::memory_order_relaxed) == State::unread) {
      held = std::move(loaded);
      state.store(isRead ? State::read : State::failed, std::memory_order_release);
    }
  }
  return state.load(std::memory_order_acquire) == State::read;
}

/// An atom with the value of a metadata entry; empty for an entry without value.
jt::Ref<JtPropAtom> atomOf(const JtMetaData::Value& value) {
  struct Make {
    jt::Ref<JtPropAtom> operator()(std::monostate) const { return {}; }
    jt::Ref<JtPropAtom> operator()(const JtString& text) const {
      return jt::make<JtStringPropAtom>(text);
    }
    jt::Ref<JtPropAtom> operator()(std::int32_t number) const {
      return jt::make<JtInt32PropAtom>(number);
    }
    jt::Ref<JtPropAtom> operator()(float number) const { return jt::make<JtFloatPropAtom>(number); }
    jt::Ref<JtPropAtom> operator()(const jt::DateFields& date) const {
      return jt::make<JtDatePropAtom>(date);
    }
  };
  return std::visit(Make{}, value);
}

}  // namespace

jt::Ref<JtBase> VisMetaDataNode::clone() const {
  return jt::Ref<JtBase>(new VisMetaDataNode(*this));
}

jt::Ref<JtBase> VisPartNode::clone() const { return jt::Ref<JtBase>(new VisPartNode(*this)); }

bool VisMetaDataNode::ensureMetaData() {
  return ensureLoaded(*this, metaDataKey(), "metadata", metaDataState_, metaData_);
}

bool VisMetaDataNode::ensurePMI() { return ensureLoaded(*this, pmiKey(), "PMI", pmiState_, pmi_); }

PMIDataManager* VisMetaDataNode::pmi() {
  ensurePMI();
  return pmi_.get();
}

void VisMetaDataNode::setPMI(PMIDataManager* pmi) {
  jt::scene::recordChange(*this, pmi_, pmiState_);
  const auto key = jt::make<JtStringPropAtom>(pmiKey());
  if (pmi) {
    const auto atom = jt::make<JtLateLoadedPropAtom>(jt::Ref<JtBase>(pmi));
    JtGroup::addProperty(key.get(), atom.get(), true);
  } else {
    deleteProperty(key.get());
  }
  pmi_ = jt::Ref<PMIDataManager>(pmi);
  pmiState_ = LoadState::read;
}

int VisPartNode::ensureWFRep() {
  return ensureLoaded(*this, wireframeKey(), "wireframe", wiresState_, wires_) && wires_ ? 1 : 0;
}

JtWireframeRep* VisPartNode::wfRep() {
  ensureWFRep();
  return wires_.get();
}

void VisPartNode::setWFRep(JtWireframeRep* wires) {
  constexpr std::int32_t kWireframeSegment = 18;
  jt::scene::recordChange(*this, wires_, wiresState_);
  const auto key = jt::make<JtStringPropAtom>(wireframeKey());
  if (wires) {
    const auto atom = jt::make<JtLateLoadedPropAtom>(jt::Ref<JtBase>(wires), kWireframeSegment);
    JtGroup::addProperty(key.get(), atom.get(), true);
  } else {
    deleteProperty(key.get());
  }
  wires_ = jt::Ref<JtWireframeRep>(wires);
  wiresState_ = LoadState::read;
}

bool VisMetaDataNode::addProperty(const JtString& key, JtPropAtom* value, bool replace) {
  const auto atom = jt::make<JtStringPropAtom>(key);
  return addProperty(atom.get(), value, replace);
}

bool VisMetaDataNode::deleteProperty(const JtPropAtom* key) {
  const auto* text = jt::as<JtStringPropAtom>(key);
  if (!text) return false;
  const JtString name = text->value();  // the key may be the node's own and end with the property
  bool found = JtGroup::deleteProperty(key);
  if (metaData_ && metaData_->remove(name)) {
    if (metaAtoms_) metaAtoms_->erase(name);
    found = true;
  }
  return found;
}

JtPropAtom* VisMetaDataNode::extraProperty(const JtString& key) const {
  const JtMetaData* data = metaData();
  const JtMetaData::Value* value = data ? data->find(key) : nullptr;
  if (!value) return nullptr;
  const std::lock_guard lock(jt::loadMutexOf(this));
  if (!metaAtoms_) metaAtoms_ = std::make_unique<std::map<JtString, jt::Ref<JtPropAtom>>>();
  jt::Ref<JtPropAtom>& atom = (*metaAtoms_)[key];
  if (!atom) atom = atomOf(*value);
  return atom.get();
}
