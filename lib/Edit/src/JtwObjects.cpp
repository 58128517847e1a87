#include "JtwObjects.h"

#include <algorithm>
#include <limits>
#include <unordered_set>
#include <utility>

#include "ApiSysStringConvertors.h"
#include "JtAssembly.h"
#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtStackNodeIter.h"
#include "JtwEditError.h"
#include "JtwFrameLists.h"
#include "JtwManager.h"
#include "JtwNearestName.h"
#include "JtwPMI.h"
#include "JtwRoot.h"
#include "ObjectNames.h"

namespace jtw {
namespace {

/// Visits the nodes at `start` and below it that are in the file of it, each once, until `visit`
/// has seen enough: it returns false.
template <class Visit>
void eachOfFile(JtNode& start, const Visit& visit) {
  const auto iterator = jt::make<JtStackNodeIter>();
  std::unordered_set<const JtNode*> shared;
  iterator->setPreVisit([&](JtNode* node) {
    using Next = JtStackNodeIter::Next;
    if (node->numParents() > 1 && !shared.insert(node).second) return Next::skipChildren;
    if (!visit(*node)) return Next::stop;
    const auto* partition = jt::as<JtPartition>(node);
    return partition && partition->externalPartition() ? Next::skipChildren : Next::descend;
  });
  iterator->run(&start);
}

/// The ids that lead to a node: of the partitions that represent the files on the way, and its own;
/// nothing when one has none.
std::vector<std::int32_t> idsTo(const JtNode* node) {
  std::vector<std::int32_t> ids{node->objectId()};
  for (const JtNode* at = node; at->parent(0); at = at->parent(0)) {
    const auto* holder = jt::as<JtPartition>(at->parent(0));
    if (holder && holder->externalPartition() == at) ids.insert(ids.begin(), holder->objectId());
  }
  if (std::ranges::find(ids, 0) != ids.end()) ids.clear();
  return ids;
}

std::string addressOf(const std::vector<std::int32_t>& ids, JtwNode& node) {
  if (ids.empty()) return {};
  std::string text;
  for (const std::int32_t id : ids) text += (text.empty() ? "#" : "/") + std::to_string(id);
  if (!node.isOfTypePMI()) return text;
  return node.key().isNull() ? std::string() : text + ":" + std::to_string(node.key().getAsLong());
}

/// The node that holds an object: its own, or that of the collection of a frame or annotation.
const JtNode* holderOf(JtwNode& node) {
  if (!node.isOfTypePMI()) return node.jtNode();
  JtwCollection* collection = static_cast<JtwPMI&>(node).collection();
  return collection ? collection->jtNode() : nullptr;
}

}  // namespace

Objects::Objects(JtwRoot& root, std::string document)
    : root_(root), document_(std::move(document)) {}

Objects::~Objects() = default;

void Objects::changed() noexcept { listing_.reset(); }

void Objects::forgetChanges() noexcept {
  changed();
  changedFrames_.clear();
  freeKey_ = ApiProtoKey();
  needsWrappers_ = true;
}

void Objects::forgetNames() noexcept {
  if (listing_) listing_->names.reset();
}

const Objects::Listing& Objects::current() const {
  if (listing_) return *listing_;
  if (needsWrappers_) needsWrappers_ = !loadWrappers(root_);
  Listing made;
  made.entries = tree(root_, root_);
  made.parents.assign(made.entries.size(), 0);
  std::vector<std::size_t> path;  // by depth
  for (std::size_t i = 0; i < made.entries.size(); ++i) {
    path.resize(static_cast<std::size_t>(made.entries[i].depth));
    if (!path.empty()) made.parents[i] = path.back();
    path.push_back(i);
    if (const ApiProtoKey key = made.entries[i].node->key(); !key.isNull())
      made.firstOfKey.emplace(key.getAsLong(), i);
  }
  return listing_.emplace(std::move(made));
}

const ObjectNames& Objects::names() const {
  const Listing& listing = current();
  if (!listing.names)
    listing_->names = std::make_unique<ObjectNames>(listing.entries, listing.parents);
  return *listing.names;
}

std::vector<JtwNode*> Objects::nodes(std::span<const std::size_t> indices) const {
  std::vector<JtwNode*> nodes;
  nodes.reserve(indices.size());
  for (const std::size_t index : indices) nodes.push_back(&node(index));
  return nodes;
}

// --- Finding

void Objects::failUnknown(const ObjectAddress& address) const {
  std::string hint;
  if (!address.name().empty()) {
    std::vector<const char*> known;
    known.reserve(entries().size());
    for (std::size_t i = 0; i < entries().size(); ++i) known.push_back(name(i).c_str());
    hint = suggestion(address.name(), known);
  }
  if (hint.empty()) hint = "; `jtw tree` lists those that it has";
  failRefused(document_, "unknown_key", "the component has no object " + address.text() + hint);
}

void Objects::failAmbiguous(const ObjectAddress& address,
                            const std::vector<std::size_t>& candidates) const {
  constexpr std::size_t kShown = 10;
  std::string list;
  for (std::size_t i = 0; i < std::min(candidates.size(), kShown); ++i) {
    const std::string other = this->address(candidates[i]);
    list += (i == 0 ? "" : ", ") + path(candidates[i]);
    if (!other.empty()) list += " (" + other + ")";
  }
  if (candidates.size() > kShown)
    list += " and " + std::to_string(candidates.size() - kShown) + " more";
  failRefused(document_, "ambiguous", "several objects are called " + address.text() + ": " + list);
}

/// The node with that id in the file of `start`, at `start` or below it; null when there is none.
/// Of a file as a whole all ids are kept, since many may be asked for.
JtNode* Objects::findNode(JtNode& start, std::int32_t id) const {
  if (!jt::as<JtPartition>(&start)) {
    JtNode* found = nullptr;
    eachOfFile(start, [&](JtNode& node) {
      if (node.objectId() == id) found = &node;
      return !found;
    });
    return found;
  }
  current();
  auto& nodes = listing_->nodesOfFiles[&start];
  if (nodes.empty())
    eachOfFile(start, [&nodes](JtNode& node) {
      nodes.emplace(node.objectId(), &node);
      return true;
    });
  const auto found = nodes.find(id);
  return found == nodes.end() ? nullptr : found->second;
}

/// The node that the ids lead to; null when they lead nowhere.
const JtNode* Objects::follow(const std::vector<std::int32_t>& ids) const {
  JtNode* at = root_.partition();
  JtNode* found = nullptr;
  for (const std::int32_t id : ids) {
    found = findNode(*at, id);
    if (!found) return nullptr;
    auto* partition = jt::as<JtPartition>(found);
    at = partition && partition->externalPartition() ? partition->externalPartition() : found;
  }
  return found;
}

const std::unordered_map<const JtNode*, std::size_t>& Objects::objectsOfNodes() const {
  const Listing& listing = current();
  if (listing.firstOfNode.empty())
    for (std::size_t i = 0; i < listing.entries.size(); ++i)
      if (!node(i).isOfTypePMI()) listing_->firstOfNode.emplace(node(i).jtNode(), i);
  return listing.firstOfNode;
}

std::optional<std::size_t> Objects::findByIds(const ObjectAddress& address) const {
  const JtNode* holder = follow(address.nodeIds());
  if (!holder) return {};
  if (address.key().isNull()) {
    const auto found = objectsOfNodes().find(holder);
    if (found == objectsOfNodes().end()) return {};
    return found->second;
  }
  const Listing& listing = current();
  for (std::size_t i = 0; i < listing.entries.size(); ++i)
    if (node(i).isOfTypePMI() && node(i).key() == address.key() && holderOf(node(i)) == holder)
      return i;
  return {};
}

std::size_t Objects::find(const ObjectAddress& address) const {
  if (address.isRoot()) return 0;
  if (!address.path().empty()) return findByPath(address);
  if (!address.name().empty()) {
    const auto named = names().withName(address.name());
    if (named.empty()) failUnknown(address);
    if (named.size() > 1) failAmbiguous(address, {named.begin(), named.end()});
    return named.front();
  }
  if (!address.nodeIds().empty()) {
    const auto found = findByIds(address);
    if (!found) failUnknown(address);
    return *found;
  }
  const auto first = current().firstOfKey.find(address.key().getAsLong());
  if (first == current().firstOfKey.end()) failUnknown(address);
  return first->second;
}

JtwNode& Objects::object(const ObjectAddress& address) const {
  if (address.isRoot()) return root_;
  const bool isKey = !address.key().isNull() && address.nodeIds().empty();
  JtwNode* known = nullptr;
  if (!listing_ && !needsWrappers_ && isKey && root_.getNodeByKey(address.key(), known) && known)
    return *known;
  return node(find(address));
}

std::size_t Objects::indexOf(const JtwNode& node) const {
  const Listing& listing = current();
  if (listing.indices.empty())
    for (std::size_t i = 0; i < listing.entries.size(); ++i)
      listing_->indices.emplace(listing.entries[i].node, i);
  const auto found = listing.indices.find(&node);
  if (found == listing.indices.end())
    failRefused(document_, "unknown_key", "an object is not listed");
  return found->second;
}

std::string Objects::address(std::size_t index) const {
  const ApiProtoKey key = node(index).key();
  if (!key.isNull()) {
    const auto first = current().firstOfKey.find(key.getAsLong());
    if (first == current().firstOfKey.end() || first->second == index)
      return std::to_string(key.getAsLong());
  } else if (index == 0) {
    return "root";
  }
  const JtNode* holder = holderOf(node(index));
  return holder ? addressOf(idsTo(holder), node(index)) : std::string();
}

const std::string& Objects::name(std::size_t index) const { return names().name(index); }

std::string Objects::path(std::size_t index) const { return names().path(index); }

std::uint64_t Objects::placeCount(std::size_t index) const {
  const JtNode* holder = holderOf(node(index));
  return holder ? jt::PlaceCounts(*root_.jtNode()).of(*holder) : 1;
}

std::optional<std::size_t> Objects::parentOf(std::size_t index) const {
  return index == 0 ? std::nullopt : std::optional(current().parents[index]);
}

JtwNode* Objects::listedParent(std::size_t index) const {
  return index == 0 ? nullptr : entries()[current().parents[index]].node;
}

JtwNode* Objects::parentOf(JtwNode& node) const {
  if (listing_) return listedParent(indexOf(node));
  if (node.isOfTypePMI()) return static_cast<JtwPMI&>(node).collection();
  for (JtNode* at = node.jtNode(); at && at != root_.jtNode();) {
    at = at->parent(0);
    JtwNode* above = at == root_.jtNode() ? &root_ : root_.nodeByJtNode(at);
    if (above) return above;
  }
  return nullptr;
}

std::size_t Objects::endOfSubtree(std::size_t index) const {
  std::size_t end = index + 1;
  while (end < entries().size() && entries()[end].depth > entries()[index].depth) ++end;
  return end;
}

// --- Listings

ListedObject Objects::listed(std::size_t index) const {
  return {.node = entries()[index].node, .parent = listedParent(index), .address = address(index)};
}

std::vector<ListedObject> Objects::listing(std::size_t index) const {
  std::vector<ListedObject> lines;
  const std::size_t end = endOfSubtree(index);
  lines.reserve(end - index);
  for (std::size_t i = index; i < end; ++i) {
    lines.push_back(listed(i));
    lines.back().depth = entries()[i].depth - entries()[index].depth;
  }
  return lines;
}

std::vector<ListedObject> Objects::allPlaces() const {
  constexpr std::size_t kMost = 200'000;
  std::vector<ListedObject> listed;
  std::vector<JtwNode*> path;
  for (TreePlace& place : treePlaces(root_, kMost)) {
    path.resize(static_cast<std::size_t>(place.depth));
    ListedObject object{.node = place.node,
                        .parent = path.empty() ? nullptr : path.back(),
                        .depth = place.depth,
                        .nodes = std::move(place.nodes)};
    path.push_back(place.node);
    const bool isFirst = place.first == listed.size();
    const ApiProtoKey key = place.node->key();
    const auto named =
        key.isNull() ? current().firstOfKey.end() : current().firstOfKey.find(key.getAsLong());
    const bool isNamedByKey = isFirst && named != current().firstOfKey.end() &&
                              entries()[named->second].node == place.node;
    if (isNamedByKey)
      object.address = std::to_string(key.getAsLong());
    else if (listed.empty())
      object.address = "root";
    else
      object.address = addressOf(place.ids, *place.node);
    if (!isFirst) {
      object.sameAs = listed[place.first].address;
      object.relLoc = place.relLoc;
      object.name = ApiSysStringConvertors::UnicodeToRWCString(place.name);
    }
    listed.push_back(std::move(object));
  }
  return listed;
}

// --- Keys

ApiProtoKey Objects::freeKey() {
  if (freeKey_.isNull()) freeKey_ = nextFreeKey(root_);
  // Above it only keys are in use that it was given out for.
  for (JtwNode* holder = nullptr; root_.getNodeByKey(freeKey_, holder) && holder; ++freeKey_)
    holder = nullptr;
  return freeKey_;
}

bool Objects::ensureKey(JtwNode& node, const ApiProtoKey& reserved) {
  if (!node.key().isNull()) return true;
  ApiProtoKey key = freeKey();
  if (key == reserved) ++key;
  if (!node.setKey(key)) return false;
  if (listing_) listing_->firstOfKey.emplace(key.getAsLong(), indexOf(node));
  return true;
}

bool Objects::ensureOwnKey(JtwNode& node, const ApiProtoKey& reserved) {
  if (!ensureKey(node, reserved)) return false;
  JtwNode* holder = nullptr;
  root_.getNodeByKey(node.key(), holder);
  if (holder && holder != &node)
    failRefused(document_, "key_in_use",
                "the key " + std::to_string(node.key().getAsLong()) +
                    " is that of another object too, of another file; open the part file alone");
  return true;
}

JtwNode& Objects::collection(const ObjectAddress& address, const ApiProtoKey& reserved) {
  JtwNode& node = object(address);
  if (!node.isCollection())
    failRefused(
        document_, "not_a_collection",
        "object " + address.text() + " cannot hold others: it is of the kind " + kindName(node));
  if (!ensureOwnKey(node, reserved))
    failRefused(document_, "no_free_key",
                "object " + address.text() + " has no key and cannot get one");
  return node;
}

ApiProtoKey Objects::newKey(const std::string& text) {
  if (text == "auto") {
    const ApiProtoKey key = freeKey();
    if (key.getAsLong() > std::numeric_limits<std::int32_t>::max())
      failRefused(document_, "no_free_key",
                  "the greatest key is in use; name a free one with --key");
    return key;
  }
  const ApiProtoKey key = parseKey(text);
  if (key.getAsLong() <= 0) failUsage("'" + text + "' is no key: they count from 1");
  JtwNode* holder = nullptr;
  root_.getNodeByKey(key, holder);
  if (!holder && listing_)
    if (const auto first = listing_->firstOfKey.find(key.getAsLong());
        first != listing_->firstOfKey.end())
      holder = listing_->entries[first->second].node;
  if (holder)
    failRefused(document_, "key_in_use",
                "the key " + text + " is in use by a " + kindName(*holder) +
                    "; --key auto takes the next free one");
  return key;
}

// --- Frames

void failUnreadableFrames(const Objects& objects, JtwNode& collection) {
  throw EditError(
      EditError::Kind::input, "bad_frames",
      "the frame list of object " + objectText(collection) + " cannot be read: " + jt::lastError(),
      objects.document());
}

void Objects::framesChanged(JtwCollection* collection) {
  if (!collection || changedFrames_.contains(collection)) return;
  if (storedFrames(*collection).form == FrameForm::unreadable)
    failUnreadableFrames(*this, *collection);
  changedFrames_.insert(collection);
}

void Objects::storeFrames() {
  for (JtwCollection* collection : std::exchange(changedFrames_, {})) {
    if (storeFramesInTheirForm(*collection)) continue;
    if (storedFrames(*collection).form == FrameForm::unreadable)
      failUnreadableFrames(*this, *collection);
    failRefused(document_, "not_supported",
                "the frames of object " + objectText(*collection) +
                    " cannot be stored: it is not part of this file");
  }
}

}  // namespace jtw
