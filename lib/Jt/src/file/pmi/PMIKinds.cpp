#include "file/pmi/PMIKinds.h"

#include <algorithm>
#include <array>

namespace jt::file {

namespace {

using enum PMIKind;

constexpr const char* kPMI = "PMI";
constexpr const char* kWeld = "Weld";
constexpr const char* kTolerancing = "GeometricTolerancing";

constexpr std::array<PMIFixedKind, 12> kFixedKinds{{
    {lineWeld, 0x0008, 0x0002, "Line Weld", kWeld},
    {spotWeld, 0x0004, 0x0002, "Spot Weld", kWeld},
    {surfaceFinish, 0x0041, 0x0001, "Surface Finish", kPMI},
    {measurementPoint, 0x0042, 0x0001, "Measurement Point", kPMI},
    {referenceGeometry, 0x0108, 0x0001, "Reference Geometry", kPMI},
    {datumTarget, 0x0088, 0x0080, "Datum Target", kTolerancing},
    {featureControlFrame, 0x0081, 0x0080, "Feature Control Frame", kTolerancing},
    {locator, 0x0044, 0x0001, "Datum Locator", kPMI},
    {dimension, 0x0082, 0x0080, "Dimension", kTolerancing},
    {datumFeatureSymbol, 0x0084, 0x0080, "Datum Feature Symbol", kTolerancing},
    {note, 0x0100, 0x0001, "Notes", kPMI},
    {coordinateSystem, 0x0104, 0x0001, "Coordinate Systems", kPMI},
}};

constexpr bool isInOrder() {
  for (std::size_t i = 0; i < kFixedKinds.size(); ++i)
    if (static_cast<std::size_t>(kFixedKinds[i].kind) != static_cast<std::size_t>(lineWeld) + i)
      return false;
  return true;
}
static_assert(isInOrder(), "every kind is at the place of its number");

PMIKind kindOf(std::uint32_t end) { return PMITypedID{end}.kind(); }

bool isBrep(PMIKind kind) { return kind == brepVertex || kind == brepEdge || kind == brepFace; }

}  // namespace

std::span<const PMIFixedKind> pmiFixedKinds() { return kFixedKinds; }

const PMIFixedKind* findFixedKind(PMIKind kind) {
  if (kind < lineWeld || kind > coordinateSystem) return nullptr;
  return &kFixedKinds[static_cast<std::size_t>(kind) - static_cast<std::size_t>(lineWeld)];
}

PMIKindList entitiesOf(const PMIData& data, PMIKind kind) {
  const auto flat = [&](PMIData::Flat list) { return PMIKindList{&data.flat[list], nullptr}; };
  const auto solid = [&](PMIData::Solid list) { return PMIKindList{nullptr, &data.solid[list]}; };
  switch (kind) {
    case lineWeld:
      return flat(PMIData::lineWeld);
    case spotWeld:
      return solid(PMIData::spotWeld);
    case surfaceFinish:
      return flat(PMIData::surfaceFinish);
    case measurementPoint:
      return solid(PMIData::measurementPoint);
    case referenceGeometry:
      return solid(PMIData::referenceGeometry);
    case datumTarget:
      return flat(PMIData::datumTarget);
    case featureControlFrame:
      return flat(PMIData::featureControlFrame);
    case locator:
      return flat(PMIData::locator);
    case dimension:
      return flat(PMIData::dimension);
    case datumFeatureSymbol:
      return flat(PMIData::datumFeatureSymbol);
    case note:
      return flat(PMIData::note);
    default:
      return {};
  }
}

std::size_t countOf(const PMIData& data, PMIKind kind) {
  if (kind == genericEntity) return data.genericEntities.size();
  if (kind == modelView) return data.modelViews.size();
  if (kind == coordinateSystem) return data.coordinateSystems.size();
  const PMIKindList list = entitiesOf(data, kind);
  return list.flat ? list.flat->size() : list.solid ? list.solid->size() : 0;
}

PMITagPlaces::PMITagPlaces(const PMIData& data) {
  const auto add = [&](std::optional<PMIKind> kind, std::size_t count) {
    runs_.push_back({kind, total, total + count});
    total += count;
  };
  for (const PMIFixedKind& fixed : kFixedKinds) {
    if (fixed.kind == coordinateSystem) {
      add(modelView, data.modelViews.size());
      add({}, data.designGroups.size());
    }
    add(fixed.kind, countOf(data, fixed.kind));
  }
  add(genericEntity, data.genericEntities.size());
}

std::optional<std::size_t> PMITagPlaces::first(PMIKind kind) const {
  for (const Run& run : runs_)
    if (run.kind == kind) return run.begin;
  return {};
}

std::optional<PMITypedID> PMITagPlaces::at(std::size_t place) const {
  for (const Run& run : runs_)
    if (place < run.end && run.kind)
      return typedID(*run.kind, place - run.begin);
    else if (place < run.end)
      return {};
  return {};
}

PMIEnds::PMIEnds(const PMIData& data) : data_(data), places_(data) {
  if (data.cadTags.flag != 1) return;
  placeOfTag_.reserve(data.cadTags.indices.size());
  for (const std::int32_t tag : data.cadTags.indices)
    placeOfTag_.emplace_back(tag, placeOfTag_.size());
  std::ranges::sort(placeOfTag_);
}

std::optional<PMITypedID> PMIEnds::resolve(std::uint32_t end, std::int32_t owner) const {
  if (owner != -1) return {};
  const PMIKind kind = kindOf(end);
  const std::size_t index = end & PMITypedID::kMaxIndex;
  if (isBrep(kind)) return typedID(kind, index);
  const bool isKnown = kind == modelView || kind == genericEntity;
  if ((end & PMITypedID::kIndirect) == 0) {
    if (!isKnown || index >= countOf(data_, kind)) return {};
    return typedID(kind, index);
  }
  // Several entities may have a tag; the first one of the end's kind is meant. Numbers of fixed
  // kinds are not known.
  const auto tag = static_cast<std::int32_t>(index);
  for (auto found = std::ranges::lower_bound(placeOfTag_, std::pair{tag, std::size_t{0}});
       found != placeOfTag_.end() && found->first == tag; ++found) {
    const std::optional<PMITypedID> id = places_.at(found->second);
    if (id && (isKnown ? id->kind() == kind : findFixedKind(id->kind()) != nullptr)) return id;
  }
  return {};
}

}  // namespace jt::file
