#include "inspect/compare/Segments.h"

#include <algorithm>
#include <map>
#include <unordered_set>

#include "JtBaseDataStream.h"
#include "JtCompare.h"
#include "JtShape.h"
#include "base/ParallelFor.h"
#include "file/elements/ElementTable.h"
#include "file/graph/SceneSource.h"
#include "file/segments/SegmentObjects.h"
#include "inspect/compare/MeshMatch.h"
#include "inspect/compare/PMIEntities.h"
#include "inspect/compare/Values.h"

namespace jt::compare_detail {

namespace {

using file::Container;
using file::SegmentElement;
using file::TocEntry;

/// What follows the segment's own id.
std::span<const std::byte> bytesOf(const Container& container, const TocEntry& entry) {
  constexpr std::size_t kIdSize = 16;
  const auto bytes = container.segmentBytes(entry);
  return bytes.subspan(std::min(kIdSize, bytes.size()));
}

/// The elements of a segment; nothing when it is not made of elements.
std::optional<std::vector<SegmentElement>> elementsOf(const file::SegmentContent& content,
                                                      const file::Format& format) {
  try {
    return file::segmentElements(content.bytes, format);
  } catch (const JtFormatError&) {
    return {};
  }
}

std::map<JtString, const JtMetaData::Value*> entriesOf(const JtMetaData& data) {
  std::map<JtString, const JtMetaData::Value*> entries;
  for (const JtMetaData::Entry& entry : data.entries()) entries.emplace(entry.key, &entry.value);
  return entries;
}

/// Segments that late-loaded atoms of a file name, whether a node has them or not.
std::unordered_set<JtGuid> namedSegments(file::SceneSource& source) {
  std::unordered_set<JtGuid> named;
  const file::ElementKind* lateLoaded = file::findElementKind(JtLateLoadedPropAtom::classTypeID());
  for (std::uint32_t element = source.firstAtom(); element < source.elementCount(); ++element) {
    if (source.kind(element) != lateLoaded) continue;
    const auto atom = source.atom(element);
    if (const auto* late = as<JtLateLoadedPropAtom>(atom.get())) named.insert(late->segmentId());
  }
  return named;
}

/// The segments of a file that no property names, but for the scene graph.
std::vector<const TocEntry*> unnamedSegments(const JtPartition& partition) {
  std::vector<const TocEntry*> unnamed;
  const Container* container = partition.container();
  file::SceneSource* source = file::SceneSource::sourceOf(partition);
  if (!container || !source) return unnamed;
  const auto named = namedSegments(*source);
  for (const TocEntry& entry : container->toc())
    if (entry.id != source->entry().id && !named.contains(entry.id)) unnamed.push_back(&entry);
  return unnamed;
}

std::string segmentText(const Container& container, const TocEntry& entry) {
  return std::string(file::segmentTypeName(entry.type())) + " (type " +
         std::to_string(entry.type()) + "), " +
         std::to_string(container.segmentBytes(entry).size()) + " bytes";
}

}  // namespace

SegmentComparison::Place SegmentComparison::placeOf(const JtLateLoadedPropAtom& atom,
                                                    const JtPartition& partition) {
  const file::SceneSource* source = file::SceneSource::sourceOf(atom);
  for (const Container* container :
       {source ? &source->container() : nullptr, partition.container()})
    if (container)
      if (const TocEntry* entry = container->find(atom.segmentId())) return {container, entry, {}};
  // Not in a file yet: what the atom holds. Without a segment there is nothing to be loaded.
  return {nullptr, nullptr, const_cast<JtLateLoadedPropAtom&>(atom).load(nullptr)};
}

Ref<JtBase> SegmentComparison::Place::load(const JtType* wanted) const {
  if (!entry) return object;
  try {
    return file::readSegmentObject(*container, *entry, wanted);
  } catch (const JtFormatError&) {
    return {};
  }
}

std::string SegmentComparison::Place::text() const {
  if (entry) return segmentText(*container, *entry);
  return object ? object->typeID()->name() : "no such segment";
}

bool SegmentComparison::sameBytes(const Place& a, const Place& b) {
  return a.entry && b.entry && a.container->format() == b.container->format() &&
         std::ranges::equal(bytesOf(*a.container, *a.entry), bytesOf(*b.container, *b.entry));
}

bool SegmentComparison::sameObjects(const JtBase* a, const JtBase* b) {
  if (!a || !b || a->typeID() != b->typeID()) return false;
  JtBaseDataStream bytesA;
  JtBaseDataStream bytesB;
  return a->serialize(bytesA) && b->serialize(bytesB) && bytesA.written() == bytesB.written();
}

/// Compares unpacked elements; those of known classes by their values where the bytes differ.
bool SegmentComparison::sameContent(const Place& a, const Place& b) {
  if (!a.entry || !b.entry) return sameObjects(a.load().get(), b.load().get());
  const file::SegmentContent contentA = a.container->load(*a.entry);
  const file::SegmentContent contentB = b.container->load(*b.entry);
  const bool sameForm = a.container->format() == b.container->format();
  if (sameForm) return std::ranges::equal(contentA.bytes, contentB.bytes);
  const auto elementsA = elementsOf(contentA, a.container->format());
  const auto elementsB = elementsOf(contentB, b.container->format());
  if (!elementsA || !elementsB) return std::ranges::equal(contentA.bytes, contentB.bytes);
  const bool sameElements = std::ranges::equal(
      *elementsA, *elementsB, [](const SegmentElement& x, const SegmentElement& y) {
        return x.frame.typeId == y.frame.typeId && std::ranges::equal(x.body, y.body);
      });
  return sameElements ||
         (elementsA->size() == elementsB->size() && sameObjects(a.load().get(), b.load().get()));
}

void SegmentComparison::compareLate(PairId pair, const std::string& key,
                                    const JtLateLoadedPropAtom& a, const JtLateLoadedPropAtom& b) {
  const Place placeA = placeOf(a, graphs_.a);
  const Place placeB = placeOf(b, graphs_.b);
  if ((placeA.isNowhere() && placeB.isNowhere()) || sameBytes(placeA, placeB)) return;
  // A segment that several nodes name is compared once.
  if (!seen_.emplace(a.segmentId(), b.segmentId()).second) return;
  if (!placeA.isNowhere() && !placeB.isNowhere()) {
    if (file::isShapeSegment(a.segmentType())) {
      report_.wait();
      shapes_.push_back({pair, key, placeA, placeB, false, {}});
      constexpr std::size_t kShapesAtATime = 256;
      if (shapes_.size() == kShapesAtATime) compareShapes();
      return;
    }
    const Ref<JtBase> objectA = placeA.load(JtMetaData::classTypeID());
    const Ref<JtBase> objectB = placeB.load(JtMetaData::classTypeID());
    const auto* dataA = as<JtMetaData>(objectA.get());
    const auto* dataB = as<JtMetaData>(objectB.get());
    if (dataA && dataB) return compareMetaData(pair, *dataA, *dataB);
    if (sameContent(placeA, placeB)) return;
    const Ref<JtBase> pmiA = placeA.load(PMIDataManager::classTypeID());
    const Ref<JtBase> pmiB = placeB.load(PMIDataManager::classTypeID());
    const auto* managerA = as<PMIDataManager>(pmiA.get());
    const auto* managerB = as<PMIDataManager>(pmiB.get());
    if (managerA && managerB &&
        (reportPMIEntities(report_, pair, *managerA, *managerB, graphs_.factsA.identityKeys()) ||
         holdEntitiesAlone(*managerA, *managerB) || sameObjects(managerA, managerB)))
      return;
  }
  tellPlaces(pair, key, placeA, placeB);
}

void SegmentComparison::tellPlaces(PairId pair, const std::string& key, const Place& a,
                                   const Place& b) {
  report_.add(pair, DifferenceKind::property, key, [&](Difference& difference) {
    difference.a = a.text();
    difference.b = b.text();
  });
}

void SegmentComparison::compareShapes() {
  file::parallelFor(shapes_.size(), [this](std::size_t i) { compareShape(shapes_[i]); });
  report_.finish([this](std::size_t i) { tell(shapes_[i]); });
  shapes_.clear();
}

void SegmentComparison::compareShape(ShapePair& shapes) const {
  if (!compareMeshes(shapes)) shapes.isSame = sameContent(shapes.a, shapes.b);
}

void SegmentComparison::tell(const ShapePair& shapes) {
  if (shapes.isSame) return;
  if (!shapes.apart) return tellPlaces(shapes.pair, shapes.key, shapes.a, shapes.b);
  report_.add(shapes.pair, DifferenceKind::geometry, {}, [&](Difference& difference) {
    difference.a = shapes.apart->a;
    difference.b = shapes.apart->b;
    difference.counts = shapes.apart->counts;
  });
}

/// False when neither of the meshes can be decoded.
bool SegmentComparison::compareMeshes(ShapePair& shapes) const {
  const auto* shapeA = as<JtShape>(report_.pair(shapes.pair).a);
  const auto* shapeB = as<JtShape>(report_.pair(shapes.pair).b);
  if (!shapeA || !shapeB) return false;
  const std::shared_ptr<const Mesh> meshA = shapeA->mesh();
  const std::string damageA = meshA ? std::string() : lastError();
  const std::shared_ptr<const Mesh> meshB = shapeB->mesh();
  const std::string damageB = meshB ? std::string() : lastError();
  shapeA->releaseMesh();
  shapeB->releaseMesh();
  if (!meshA && !meshB) return false;
  const Tolerance tolerance(tolerance_, report_.pair(shapes.pair).millimetres, 0);
  if (meshA && meshB)
    shapes.apart = meshDifference(*meshA, *meshB, tolerance);
  else
    shapes.apart = MeshDifference();
  if (!meshA) shapes.apart->a = "not readable: " + damageA;
  if (!meshB) shapes.apart->b = "not readable: " + damageB;
  shapes.isSame = !shapes.apart;
  return true;
}

void SegmentComparison::compareMetaData(PairId pair, const JtMetaData& a, const JtMetaData& b) {
  const auto entriesA = entriesOf(a);
  const auto entriesB = entriesOf(b);
  const auto report = [&](const JtString& key, const JtMetaData::Value* x,
                          const JtMetaData::Value* y) {
    report_.add(pair, DifferenceKind::metadata, key.stringToMbs(), [&](Difference& difference) {
      if (x) difference.a = metaValue(*x);
      if (y) difference.b = metaValue(*y);
    });
  };
  auto atA = entriesA.begin();
  auto atB = entriesB.begin();
  while (atA != entriesA.end() || atB != entriesB.end()) {
    if (atB == entriesB.end() || (atA != entriesA.end() && atA->first < atB->first)) {
      report(atA->first, atA->second, nullptr);
      ++atA;
    } else if (atA == entriesA.end() || atB->first < atA->first) {
      report(atB->first, nullptr, atB->second);
      ++atB;
    } else {
      if (!sameMetaValue(*atA->second, *atB->second)) report(atA->first, atA->second, atB->second);
      ++atA;
      ++atB;
    }
  }
}

void SegmentComparison::compareUnnamed() {
  std::vector<const TocEntry*> allA = unnamedSegments(graphs_.a);
  std::vector<const TocEntry*> allB = unnamedSegments(graphs_.b);
  const auto report = [&](const TocEntry* x, const TocEntry* y) {
    report_.add(Report::kFile, DifferenceKind::segment, (x ? x : y)->id.text(),
                [&](Difference& difference) {
                  if (x) difference.a = segmentText(*graphs_.a.container(), *x);
                  if (y) difference.b = segmentText(*graphs_.b.container(), *y);
                });
  };
  std::multimap<JtGuid, const TocEntry*> byId;
  for (const TocEntry* entry : allB) byId.emplace(entry->id, entry);
  for (const TocEntry* entry : allA) {
    const auto found = byId.find(entry->id);
    if (found == byId.end()) {
      report(entry, nullptr);
      continue;
    }
    const Place placeA{graphs_.a.container(), entry, {}};
    const Place placeB{graphs_.b.container(), found->second, {}};
    if (entry->type() != found->second->type() ||
        (!sameBytes(placeA, placeB) && !sameContent(placeA, placeB)))
      report(entry, found->second);
    byId.erase(found);
  }
  for (const auto& [id, entry] : byId) report(nullptr, entry);
}

}  // namespace jt::compare_detail

namespace jt {

std::vector<ComparedSegment> compareSegments(const JtPartition& a, const JtPartition& b) {
  const file::Container& containerA = *a.container();
  const file::Container& containerB = *b.container();
  std::vector<ComparedSegment> segments;
  std::unordered_set<JtGuid> ids;
  for (const file::TocEntry& entry : containerA.toc()) {
    ids.insert(entry.id);
    const file::TocEntry* other = containerB.find(entry.id);
    const bool same = other && std::ranges::equal(containerA.segmentBytes(entry),
                                                  containerB.segmentBytes(*other));
    segments.push_back({entry.id, entry.type(),
                        !other ? SegmentState::gone
                        : same ? SegmentState::same
                               : SegmentState::changed});
  }
  for (const file::TocEntry& entry : containerB.toc())
    if (!ids.contains(entry.id)) segments.push_back({entry.id, entry.type(), SegmentState::added});
  return segments;
}

}  // namespace jt
