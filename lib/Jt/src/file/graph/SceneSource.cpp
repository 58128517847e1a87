#include "file/graph/SceneSource.h"

#include <algorithm>
#include <cstring>
#include <unordered_set>

#include "JtResidencyRequestManager.h"
#include "file/segments/XtBrep.h"

namespace jt::file {

Ref<SceneSource> SceneSource::open(Ref<Container> container) {
  Ref<SceneSource> source(new SceneSource);
  source->container_ = std::move(container);
  source->shapes_ = std::make_unique<ShapeCache>(*source->container_);
  source->entry_ = &source->container_->sceneEntry();
  source->content_ = source->container_->load(*source->entry_);
  source->memory_ = source->container_->share();
  try {
    if (source->content_.bytes.size() >= kNone)
      throw JtFormatError("too_large", "scene graphs of 4 GiB and more cannot be read");
    // The pages of the file served to be unpacked from.
    if (source->content_.packed) source->container_->image().releasePages();
    source->scan();
  } catch (const JtFormatError& error) {
    throw error.within(source->container_->position(*source->entry_));
  }
  return source;
}

void SceneSource::note(bool isError, const char* code, std::size_t offset, std::string message) {
  constexpr std::size_t kMostNotes = 1000;  // a hostile file may have millions of flaws
  if (notes_.size() < kMostNotes)
    notes_.push_back(
        {code, std::move(message), segmentText(entry_->type(), entry_->id), offset, isError});
}

void SceneSource::scan() {
  std::size_t at = scanElements(0, false);
  firstAtom_ = elementCount();
  if (at < bytes().size()) {
    at = scanElements(at, true);
  } else {
    note(false, "no_atoms", at, "the scene graph ends without property atoms");
  }
  countTables();
  indexIds();
  scanTable(at);
}

/// Also the atoms and properties that are made later: whoever could open a file gets at all of
/// them.
void SceneSource::countTables() {
  constexpr std::uint64_t kIndexed = 64;  // of an element: offset, id, place in the index
  constexpr std::uint64_t kAtom = 160;    // the largest kind and what a block of memory costs
  constexpr std::uint64_t kProperty = 3;  // times what a pair takes in the file
  const std::uint64_t all = bytes().size();
  const std::uint64_t count = elementCount();
  const std::uint64_t firstAtom = firstAtom_ < count ? offsets_[firstAtom_] : all;
  memory_.take(count * kIndexed + (count - firstAtom_) * kAtom + kProperty * (all - firstAtom));
}

/// Finds the elements up to the end marker; returns the offset behind it.
std::size_t SceneSource::scanElements(std::size_t at, bool lastList) {
  const auto all = bytes();
  const bool big = format().bigEndian;
  while (at < all.size()) {
    const ElementExtent element = elementAt(all, at, format(), kFrameSize);
    const std::size_t next = at + element.size;
    if (element.isEndMarker) {
      if (element.size != kLengthSize + kMarkerLength)
        throw JtFormatError(
            "bad_element_length",
            "an end marker takes 16 bytes, found " + std::to_string(element.size - kLengthSize),
            {.element = "elementLength", .offset = at});
      return next;
    }
    offsets_.push_back(static_cast<std::uint32_t>(at));
    ids_.push_back(loadScalar<std::int32_t>(all.data() + at + kFrameSizeWithoutId, big));
    at = next;
  }
  note(true, "no_end_marker", at,
       lastList ? "the property atoms end without a marker"
                : "the graph elements end without a marker");
  return at;
}

void SceneSource::indexIds() {
  ids_.index([this](std::uint32_t element, bool isPositive) {
    const std::string id = std::to_string(ids_[element]);
    if (isPositive)
      note(true, "duplicate_object_id", offsets_[element],
           "object id " + id + " is used twice; the first element counts");
    else
      note(true, "bad_object_id", offsets_[element], "object ids are positive, found " + id);
  });
}

/// Out of line, so that the check before it is inlined.
[[noreturn]] void SceneSource::throwShortTable(const char* what, std::size_t left,
                                               std::size_t offset) {
  throw JtFormatError("truncated",
                      std::string("expected ") + what + " of the property table, found " +
                          std::to_string(left) + " bytes",
                      {.element = "property table", .offset = offset});
}

void SceneSource::scanTable(std::size_t at) {
  const auto all = bytes();
  tableOffset_ = at;
  trailingOffset_ = all.size();
  constexpr std::size_t kHead = 6;
  if (at == all.size()) {
    note(false, "no_property_table", at, "the scene graph ends without a property table");
    return;
  }
  const auto need = [&](std::size_t size, const char* what) {
    if (size > all.size() - at) throwShortTable(what, all.size() - at, at);
  };
  const bool big = format().bigEndian;
  const auto int32 = [&](const char* what) {
    need(4, what);
    const auto value = loadScalar<std::int32_t>(all.data() + at, big);
    at += 4;
    return value;
  };
  need(kHead, "version and count");
  tableVersion_ = loadScalar<std::int16_t>(all.data() + at, big);
  at += 2;
  const std::int32_t count = int32("the count");
  if (count < 0 || static_cast<std::size_t>(count) > (all.size() - at) / 8)
    throw JtFormatError("bad_count",
                        "the property table names " + std::to_string(count) +
                            " elements, but there is room for " +
                            std::to_string((all.size() - at) / 8),
                        {.element = "elementCount", .offset = at - 4});
  rows_.reserve(static_cast<std::size_t>(count));
  for (std::int32_t i = 0; i < count; ++i) {
    PropertyRow row{int32("an element id"), 0};
    row.pairs = static_cast<std::uint32_t>(at);
    noteMissing(row.owner);
    while (const std::int32_t key = int32("a key id")) {
      noteMissing(key);
      noteMissing(int32("a value id"));
    }
    rows_.push_back(row);
  }
  trailingOffset_ = at;
  if (at < all.size())
    note(false, "surplus_bytes", at,
         std::to_string(all.size() - at) + " bytes follow the property table");
}

ElementFrame SceneSource::frame(std::uint32_t element) const {
  Reader reader(elementBytes(element), format());
  ElementFrame result;
  fields(reader, result, true);
  return result;
}

void SceneSource::restoreBytes() const {
  restored_.call([this] {
    const Buffer again = container_->loadAgain(*entry_, content_.bytes.size());
    std::ranges::copy(again.bytes().first(dropped_), content_.owned.data());
    container_->image().releasePages();
  });
}

const ElementKind* SceneSource::kind(std::uint32_t element) const {
  return findElementKind(loadGuid(start(element) + kLengthSize, format().bigEndian));
}

bool SceneSource::isNode(std::uint32_t element) const {
  if (element >= firstAtom_) return false;
  const ElementKind* known = kind(element);
  const ElementClass elementClass =
      known ? known->elementClass : classOfBaseType(frame(element).baseType);
  return elementClass == ElementClass::node;
}

/// As kind(). Most atoms are of the kind of the one before.
const ElementKind* SceneSource::atomKind(std::uint32_t element) {
  const std::byte* const id = content_.bytes.data() + offsets_[element] + kLengthSize;
  if (!lastKind_ || std::memcmp(id, lastKindId_.data(), lastKindId_.size()) != 0) {
    lastKind_ = kind(element);
    std::memcpy(lastKindId_.data(), id, lastKindId_.size());
  }
  return lastKind_;
}

Ref<JtPropAtom> SceneSource::atom(std::uint32_t element) {
  const std::lock_guard lock(atomsMutex_);
  const ObjectBlocks::Use use(objects_);
  Binding binding(*this);
  prepareAtoms();
  return Ref<JtPropAtom>::adopt(atomLocked(element, binding));
}

JtPropAtom* SceneSource::makeAtom(std::uint32_t element, Binding& binding) {
  const ElementKind* known = atomKind(element);
  Ref<JtSceneObject> object;
  if (known && known->elementClass == ElementClass::atom) {
    object = known->create();
    try {
      Reader reader(body(element), format(), offsets_[element] + kFrameSize);
      known->read(reader, *object);
    } catch (const JtFormatError&) {
      object = nullptr;  // damaged: carried as it is
    }
  }
  if (!object) {
    object = unknownAtomKind().create();
    FieldAccess::carried(*object) = true;
  }
  binding.bind(*object, element);
  auto* const made = static_cast<JtPropAtom*>(object.release());
  atoms_[element - firstAtom_] = made;
  return made;
}

const std::vector<std::uint32_t>& SceneSource::poolAtoms() {
  poolsFound_.call([this] {
    poolAtoms_.clear();
    std::unordered_set<JtGuid> open;
    for (const TocEntry& entry : container_->toc())
      if (entry.type() == kMultiXtSegment) open.insert(entry.id);
    const ElementKind* lateLoaded = findElementKind(JtLateLoadedPropAtom::classTypeID());
    for (std::uint32_t element = firstAtom_; element < elementCount() && !open.empty(); ++element) {
      if (kind(element) != lateLoaded) continue;
      const Ref<JtPropAtom> named = atom(element);
      const auto* late = as<JtLateLoadedPropAtom>(named.get());
      if (late && open.erase(late->segmentId()) > 0) poolAtoms_.push_back(element);
    }
  });
  return poolAtoms_;
}

const KeyIndex& SceneSource::keys() {
  keysRead_.call([this] { keys_.emplace(*this); });
  return *keys_;
}

// An atom that ends asks for the lock: those of a node that fails end after it, with the list that
// they are in.

PropertyList SceneSource::properties(std::uint32_t pairs) {
  PropertyList result;
  const std::lock_guard lock(atomsMutex_);
  propertiesLocked(pairs, result);
  return result;
}

void SceneSource::readProperties(std::atomic<std::uint32_t>& row, PropertyList& properties) {
  PropertyList result;
  const std::lock_guard lock(atomsMutex_);
  const std::uint32_t pairs = row.load(std::memory_order_relaxed);
  if (pairs == 0) return;
  propertiesLocked(pairs, result);
  properties = std::move(result);
  row.store(0, std::memory_order_release);
}

void SceneSource::propertiesLocked(std::uint32_t pairs, PropertyList& result) {
  std::size_t count = 0;
  eachPair(pairs, [&count](std::int32_t, std::int32_t) { ++count; });
  const ObjectBlocks::Use use(objects_);
  Binding binding(*this);
  prepareAtoms();
  result.reserve(count);
  eachPair(pairs, [&](std::int32_t keyId, std::int32_t valueId) {
    const std::uint32_t key = find(keyId);
    const std::uint32_t value = find(valueId);
    if (!isAtom(key) || !isAtom(value)) return;
    Property& property = result.emplace_back();
    property.key = Ref<JtPropAtom>::adopt(atomLocked(key, binding));
    property.value = Ref<JtPropAtom>::adopt(atomLocked(value, binding));
  });
}

void SceneSource::loadShapesAhead() {
  // Requests of a size that makes asking cheap and stopping quick.
  constexpr std::size_t kShapes = 16;
  const std::span<const TocEntry> toc = container_->toc();
  const auto isShape = [](const TocEntry& entry) { return isShapeSegment(entry.type()); };
  if (std::ranges::none_of(toc, isShape)) return;
  for (std::size_t first = 0; first < toc.size(); first += kShapes)
    JtResidencyRequestManager::instance().request(
        [source = Ref<SceneSource>(this), first] { source->shapes().loadRange(first, kShapes); });
}

void SceneSource::forget(const JtSceneObject& object) noexcept {
  if (FieldAccess::element(object) < firstAtom_) return;
  const std::lock_guard lock(atomsMutex_);
  JtPropAtom*& slot = atoms_[FieldAccess::element(object) - firstAtom_];
  if (slot == &object) slot = nullptr;
}

void SceneSource::endValues(std::span<Property> properties) noexcept {
  std::uint32_t ended = 0;
  {
    // Nobody else can take a reference of an atom that has one: that is done under the same lock.
    const std::lock_guard lock(atomsMutex_);
    for (const Property& property : properties) {
      JtPropAtom& value = *property.value;
      if (!isFrom(value, this) || value.refCount() != 1 || value.isKept()) continue;
      JtPropAtom*& slot = atoms_[FieldAccess::element(value) - firstAtom_];
      if (slot != &value) continue;
      slot = nullptr;
      FieldAccess::source(value) = nullptr;
      ++ended;
    }
  }
  if (ended == 0) return;
  for (Property& property : properties)
    if (!FieldAccess::source(*property.value)) property.value = nullptr;
  unref(ended);  // not the last ones: the node has one too
}

}  // namespace jt::file
