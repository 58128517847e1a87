// The property table of a scene graph and its atoms: what SceneWriter writes behind the graph.

#include "VisPartNode.h"
#include "file/graph/SceneReader.h"
#include "file/save/SceneWriter.h"
#include "file/segments/SegmentObjects.h"

namespace jt::file {

namespace {

const Links kNoLinks;  // of property atoms

/// True for a node whose properties nobody has read from the file.
bool areInFile(const JtNode& node) {
  return FieldAccess::propertyRow(node).load(std::memory_order_acquire) != 0;
}

}  // namespace

bool SceneWriter::isUnloaded(const JtNode& node) const {
  return sameForm_ && isOwn(node) && areInFile(node);
}

void SceneWriter::markAtom(std::int32_t id) {
  const std::uint32_t element = source_->find(id);
  if (source_->isAtom(element)) liveAtoms_[element - source_->firstAtom()] = true;
}

void SceneWriter::putId(std::int32_t id) {
  const std::int32_t stored = inFileOrder(id, format_.bigEndian);
  std::memcpy(rows_.extend(sizeof stored), &stored, sizeof stored);
}

/// Pairs of the source as they are.
void SceneWriter::copyPairs(std::uint32_t pairs) {
  source_->eachPair(pairs, [&](std::int32_t key, std::int32_t value) {
    markAtom(key);
    markAtom(value);
    putId(key);
    putId(value);
  });
}

void SceneWriter::copyRow(std::int32_t owner, std::uint32_t pairs) {
  putId(owner);
  copyPairs(pairs);
  putId(0);
  ++rowCount_;
}

/// Pairs that name atoms which do not exist are no properties to anybody, but stay in the file.
void SceneWriter::keepDanglingPairs(std::uint32_t pairs) {
  const auto isAtom = [&](std::int32_t id) { return source_->isAtom(source_->find(id)); };
  source_->eachPair(pairs, [&](std::int32_t key, std::int32_t value) {
    if (isAtom(key) && isAtom(value)) return;
    putId(key);
    putId(value);
  });
}

/// The id of a text that the source does not have; equal texts share one atom.
std::int32_t SceneWriter::newTextId(const JtStringPropAtom& text, bool& isNew) {
  std::int32_t& known = newTexts_.find(text.value().units(), [this](std::int32_t id) {
    return std::u16string_view(newTextOf_[static_cast<std::size_t>(id - firstNewId_)]->units());
  });
  isNew = known == 0;
  if (isNew) {
    known = newId();
    newTextOf_.resize(static_cast<std::size_t>(known - firstNewId_) + 1);
    newTextOf_.back() = &text.value();
  }
  return known;
}

/// 0 for an atom that this form cannot hold.
std::int32_t SceneWriter::atomId(const JtPropAtom& named) {
  const SavePlan::NewGeometry* geometry = plan_.newGeometryOf(named);
  const JtPropAtom& atom = geometry ? *geometry->atom : named;
  if (!leftOut_.empty() && leftOut_.contains(&atom)) return 0;
  if (isOwn(atom)) {
    const std::uint32_t element = SceneSource::elementOf(atom);
    if (skipsInConversion({&atom, element, source_->objectId(element)})) return 0;
    liveAtoms_[element - source_->firstAtom()] = true;
    return source_->objectId(element);
  }
  // An atom that only one property holds cannot be met again: it needs no place in the table.
  const bool isShared = atom.refCount() > 1 || geometry;
  if (isShared)
    if (const std::int32_t* known = ids_.find(&atom)) return *known;
  if (skipsInConversion({&atom, SceneSource::kNone, 0})) return 0;
  const auto* text = as<JtStringPropAtom>(&atom);
  bool isNew = true;
  const std::int32_t id = text && text->stateFlags() == 0 ? newTextId(*text, isNew) : newId();
  if (isShared) ids_[&atom] = id;
  if (isNew) addAtom(atom, id);
  return id;
}

/// Producers of version 10 put PMI into segments of their own type, older ones beside metadata.
std::int32_t SceneWriter::newPMISegmentType() const {
  return format_.has(Feature::genericPMI) ? 3 : 4;
}

void SceneWriter::addAtom(const JtPropAtom& atom, std::int32_t id) {
  if (const auto* late = as<JtLateLoadedPropAtom>(&atom)) {
    addLateLoaded(*late, id);
  } else {
    writeObject(*atomsOut_, {&atom, SceneSource::kNone, id}, kNoLinks);
  }
}

void SceneWriter::addLateLoaded(const JtLateLoadedPropAtom& late, std::int32_t id) {
  SceneSource* from = SceneSource::sourceOf(late);
  const bool isNewPMI = !from && as<PMIDataManager>(late.loaded());
  const SavePlan::NewGeometry* geometry = plan_.newGeometryOf(late);
  const std::int32_t type = isNewPMI   ? newPMISegmentType()
                            : geometry ? geometry->segmentType
                                       : late.segmentType();
  const JtGuid segment = from ? newIdOf(late, nullptr).value_or(late.segmentId())
                              : places_.idOfNew(late.segmentId(), id);
  result_.namedSegments.push_back(segment);
  if (!from && FieldAccess::object(late))
    result_.newSegments.push_back({segment, type, FieldAccess::object(late)});
  Ref<const JtLateLoadedPropAtom> written(&late);
  if (segment != late.segmentId() || type != late.segmentType()) {
    const auto changed = make<JtLateLoadedPropAtom>(late);
    FieldAccess::segmentId(*changed) = segment;
    FieldAccess::segmentType(*changed) = type;
    written = changed;
  }
  writeObject(*atomsOut_, {written.get(), SceneSource::kNone, id}, kNoLinks);
}

/// The id of the segment of a file in the new file; nothing when that will not have it.
/// @param wanted type of the object that is looked for in it; null: any
std::optional<JtGuid> SceneWriter::newIdOf(const JtLateLoadedPropAtom& late,
                                           const JtType* wanted) const {
  const SceneSource* from = SceneSource::sourceOf(late);
  const bool stays = from == source_ && sameForm_;
  const TocEntry* entry = stays ? nullptr : from->container().find(late.segmentId());
  return entry ? places_.idOf(from->container(), *entry, wanted) : late.segmentId();
}

/// True for a late-loaded value of which the new file will not have what its key represents.
bool SceneWriter::namesLostSegment(const Property& property) {
  const auto* late = as<JtLateLoadedPropAtom>(property.value.get());
  if (!late) return false;
  if (!SceneSource::sourceOf(*late)) {
    const JtBase* object = late->loaded();
    const bool isLost = object && !hasForm(*object, format_);
    if (isLost) ++lostObjects_;
    return isLost;
  }
  const auto* key = as<JtStringPropAtom>(property.key.get());
  const JtType* wanted = !key                                      ? nullptr
                         : key->value() == JtString(kPMIKey)       ? PMIDataManager::classTypeID()
                         : key->value() == JtString(kMetaDataKey)  ? JtMetaData::classTypeID()
                         : key->value() == JtString(kWireframeKey) ? JtWireframeRep::classTypeID()
                                                                   : nullptr;
  return !newIdOf(*late, wanted);
}

/// @param sourcePairs the node's row in the source, 0 for none. False when it has no properties.
bool SceneWriter::collectNodeRow(const JtNode& node, std::int32_t owner,
                                 std::uint32_t sourcePairs) {
  const std::size_t start = rows_.size();
  putId(owner);
  if (isUnloaded(node)) {
    copyPairs(FieldAccess::propertyRow(node).load(std::memory_order_acquire));
  } else {
    for (const Property& property : FieldAccess::properties(node)) {
      if (namesLostSegment(property)) continue;
      const std::int32_t key = atomId(*property.key);
      const std::int32_t value = key == 0 ? 0 : atomId(*property.value);
      if (value == 0) continue;
      putId(key);
      putId(value);
    }
    if (sourcePairs != 0) keepDanglingPairs(sourcePairs);
  }
  if (rows_.size() == start + sizeof(std::int32_t)) {
    rows_.shrink(start);
    return false;
  }
  putId(0);
  ++rowCount_;
  return true;
}

/// Fetches what the nodes behind one have as properties: in a scene that was built in memory they
/// lie anywhere.
void SceneWriter::loadAhead(std::size_t at) const {
  constexpr std::size_t kNext = 1;
  constexpr std::size_t kSecond = 3;
  constexpr std::size_t kThird = 6;
  if (at + kThird < nodes_.size()) __builtin_prefetch(nodes_[at + kThird]);
  if (at + kSecond < nodes_.size())
    if (const JtNode& node = *nodes_[at + kSecond]; !areInFile(node))
      __builtin_prefetch(FieldAccess::properties(node).data());
  if (at + kNext < nodes_.size())
    if (const JtNode& node = *nodes_[at + kNext]; !areInFile(node))
      for (const Property& property : FieldAccess::properties(node))
        __builtin_prefetch(property.value.get());
}

/// Rows keep the order of the source; owners that got their first property follow.
void SceneWriter::collectProperties() {
  std::vector<const JtNode*> own(source_ ? source_->firstAtom() : 0);
  for (const JtNode* node : nodes_)
    if (isOwn(*node)) own[SceneSource::elementOf(*node)] = node;
  if (source_)
    for (const PropertyRow& row : source_->rows()) {
      const std::uint32_t element = source_->find(row.owner);
      if (element < own.size() && own[element]) {
        collectNodeRow(*own[element], row.owner, row.pairs);
        own[element] = nullptr;  // a second row of the same node went into the first
      } else if (sameForm_ && (!source_->isNode(element) || source_->isUnreachable(element))) {
        // Owners that are no nodes, or do not exist, are none of the scene's business.
        copyRow(row.owner, row.pairs);
      }
    }
  for (std::size_t i = 0; i < nodes_.size(); ++i) {
    const JtNode& node = *nodes_[i];
    const bool isDone = isOwn(node) && !own[SceneSource::elementOf(node)];
    if (isDone) continue;
    loadAhead(i);
    if (node.numProperties() == 0) continue;
    collectNodeRow(node, idOf(node), 0);
    packAhead();
  }
}

/// Atoms that no property named when the file was read stay, whatever they are for.
void SceneWriter::keepUnreachableAtoms() {
  if (!source_ || !sameForm_) return;
  std::vector<bool> named(liveAtoms_.size());
  const auto mark = [&](std::int32_t id) {
    const std::uint32_t element = source_->find(id);
    if (source_->isAtom(element)) named[element - source_->firstAtom()] = true;
  };
  for (const PropertyRow& row : source_->rows())
    source_->eachPair(row.pairs, [&](std::int32_t key, std::int32_t value) {
      mark(key);
      mark(value);
    });
  for (std::size_t i = 0; i < named.size(); ++i)
    if (!named[i]) liveAtoms_[i] = true;
}

void SceneWriter::nameSegmentsOfUnreadAtoms() {
  if (!source_) return;
  const ElementKind* lateLoaded = findElementKind(JtLateLoadedPropAtom::classTypeID());
  for (std::size_t i = 0; i < liveAtoms_.size(); ++i) {
    if (!liveAtoms_[i]) continue;
    const auto element = source_->firstAtom() + static_cast<std::uint32_t>(i);
    if (source_->kind(element) != lateLoaded) continue;
    const auto atom = source_->atom(element);
    if (const auto* late = as<JtLateLoadedPropAtom>(atom.get()))
      result_.namedSegments.push_back(late->segmentId());
  }
}

}  // namespace jt::file
