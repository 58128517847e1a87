#include "JtwCollection.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <string>
#include <utility>

#include "JtwFrame.h"
#include "JtwFrameLists.h"
#include "JtwFrameWriting.h"
#include "JtwPMI.h"
#include "JtwProperties.h"
#include "JtwRoot.h"

using jtw::Key;

namespace {

/// The keys of a stored list: one number at the start of each piece that a comma ends.
RWClassicTValOrderedVector<ApiProtoKey> parseKeys(std::string_view text) {
  RWClassicTValOrderedVector<ApiProtoKey> keys;
  while (!text.empty()) {
    const std::size_t first = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
    long key = 0;
    std::from_chars(text.data() + first, text.data() + text.size(), key);
    keys.emplace_back(key);
    const std::size_t comma = text.find(',');
    text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
  }
  return keys;
}

}  // namespace

JtwCollection::JtwCollection(JtNode* node, JtwRoot* root) : JtwNode(node, root) {}

JtwCollection::JtwCollection(const JtwCollection& other)
    : JtwNode(other),
      pmisCalculated_(other.pmisCalculated_),
      framesRead_(other.framesRead_),
      framesFound_(other.framesFound_),
      framesStored_(other.framesStored_) {
  for (JtwPMI* pmi : other.PMIs()) addPMI(pmi);
}

JtwCollection& JtwCollection::operator=(const JtwCollection& other) {
  if (this == &other) return *this;
  uninit();
  JtwNode::operator=(other);
  for (JtwPMI* pmi : other.PMIs()) addPMI(pmi);
  framesStored_ = other.framesStored_;
  framesRead_ = other.framesRead_;
  framesFound_ = other.framesFound_;
  pmisCalculated_ = other.pmisCalculated_;
  return *this;
}

JtwCollection::~JtwCollection() { uninit(); }

void JtwCollection::uninit() {
  // The list is emptied first, so that none of its entries has to be looked for in it.
  const auto listed = pmis_.take();
  for (auto pmi = listed.rbegin(); pmi != listed.rend(); ++pmi) {
    dropListing(**pmi);
    if (namedBy().contains(*pmi)) (*pmi)->clearParent();
  }
  while (!namedBy().empty()) (*namedBy().begin())->clearParent();
}

const std::unordered_set<JtwPMI*>& JtwCollection::namedBy() const noexcept {
  static const std::unordered_set<JtwPMI*> none;
  return namedBy_ ? *namedBy_ : none;
}

void JtwCollection::addNamedBy(JtwPMI* pmi) {
  if (!namedBy_) namedBy_ = std::make_unique<std::unordered_set<JtwPMI*>>();
  namedBy_->insert(pmi);
}

void JtwCollection::removeNamedBy(JtwPMI* pmi) noexcept {
  if (namedBy_) namedBy_->erase(pmi);
}

// --- PMI

void JtwCollection::addPMI(JtwPMI* pmi) {
  if (!pmi) return;
  pmi->listedIn_.push_back(this);
  try {
    pmis_.add(pmi);
  } catch (...) {
    pmi->listedIn_.pop_back();
    throw;
  }
}

void JtwCollection::removePMI(JtwPMI* pmi) {
  if (!pmi) return;
  const bool isListedOnce = std::ranges::count(pmi->listedIn_, this) == 1;
  if (pmis_.remove(pmi, isListedOnce)) dropListing(*pmi);
}

void JtwCollection::dropListing(JtwPMI& pmi) {
  const auto listing = std::find(pmi.listedIn_.begin(), pmi.listedIn_.end(), this);
  if (listing != pmi.listedIn_.end()) pmi.listedIn_.erase(listing);
}

bool JtwCollection::checkForPreservePMI() {
  return std::any_of(PMIs().begin(), PMIs().end(),
                     [](JtwPMI* pmi) { return pmi->isPreserved(false); });
}

bool JtwCollection::hasPreservedPMI() {
  return jtw::intProperty(jtNode(), Key::hasPreservedPmi).value_or(0) != 0;
}

void JtwCollection::setHasPreservedPMI(bool preserved) {
  jtw::setInt(jtNode(), Key::hasPreservedPmi, preserved ? 1 : 0, false);
}

void JtwCollection::writePMIKeysToJT() {
  if (pmis_.empty() || !jtNode() || jtw::findProperty(jtNode(), Key::pmiProtoKeys)) return;
  std::string keys;
  for (JtwPMI* pmi : PMIs()) keys += std::to_string(pmi->key().getAsLong()) + ',';
  jtw::setString(jtNode(), Key::pmiProtoKeys, JtString(keys), false);
}

void JtwCollection::readPMIKeysFromJT() {
  const JtString* stored = jtw::stringProperty(jtNode(), Key::pmiProtoKeys);
  if (pmis_.empty() || !stored) return;
  const auto keys = parseKeys(stored->stringToMbs());
  if (keys.size() != PMIs().size()) return;
  for (std::size_t i = 0; i < keys.size(); ++i)
    if (PMIs()[i]->key().isNull()) PMIs()[i]->takeStoredKey(keys[i]);
}

// --- Frames

bool JtwCollection::loadFrames() {
  if (!jtNode() || !root_) return false;
  const jtw::StoredFrames stored = jtw::storedFrames(*this);
  if (!stored.list) return stored.form == jtw::FrameForm::none;
  const std::size_t first = PMIs().size();
  for (const JtFrame& record : stored.list->frames()) {
    auto frame = std::make_unique<JtwFrame>(this, record, root_);
    if (frame->key().getAsLong() > 0)
      addPMI(frame.release());  // its key made it the root's
    else
      root_->adoptPMI(frame.release());
  }
  framesStored_ = framesHash(first);
  return true;
}

std::size_t JtwCollection::framesHash(std::size_t first) const {
  JtFrameListProperty list;
  for (std::size_t i = first; i < PMIs().size(); ++i)
    if (PMIs()[i]->type() == JT_FRAME_NODE)
      static_cast<JtwFrame*>(PMIs()[i])->convertToJtFrame(list.frames().emplace_back());
  return list.frames().empty() ? 0 : std::hash<std::string>{}(list.toText());
}

bool JtwCollection::haveFramesChanged() const { return framesHash(0) != framesStored_; }

const RWClassicTValOrderedVector<JtwPMI*>& JtwCollection::readKrFrames() {
  if (!framesRead_) {
    loadFrames();
    framesRead_ = true;
    if (!pmis_.empty()) framesFound_ = true;
  }
  return PMIs();
}

bool JtwCollection::storeFrames() {
  framesRead_ = true;
  if (!jtNode()) return false;
  return jtw::storedFrames(*this).form != jtw::FrameForm::unreadable &&
         jtw::writeFrames(*this, jtw::FrameForm::text);
}
