#include "JtPMI.h"

#include <algorithm>

#include "JtBaseDataStream.h"
#include "JtFormatError.h"
#include "file/pmi/PMIElement.h"
#include "file/pmi/PMIGeneric.h"
#include "file/pmi/PMITags.h"
#include "scene/Recording.h"

jt::Ref<PMIDataManager> jt::file::PMIAccess::make(PMIData data) {
  auto manager = jt::make<PMIDataManager>();
  manager->data_ = std::move(data);
  return manager;
}

namespace {

/// A text without the quotation marks that some producers put around it.
JtString unquoted(const JtString& text) {
  std::u16string_view inner = text.units();
  if (inner.size() >= 2 && inner.front() == u'"' && inner.back() == u'"')
    inner = inner.substr(1, inner.size() - 2);
  return JtString(std::u16string(inner));
}

const std::vector<jt::PMIProperty>& noProperties() {
  static const std::vector<jt::PMIProperty> none;
  return none;
}

}  // namespace

// --- PMIEntity

const jt::PMIGenericEntity* PMIEntity::generic() const {
  if (!isValid() || id_.kind() != PMIKind::genericEntity) return nullptr;
  return &manager_->data().genericEntities[static_cast<std::size_t>(id_.index())];
}

JtString PMIEntity::text(std::int32_t id) const {
  const JtString* found = manager_->string(id);
  return found ? *found : JtString();
}

jt::PMIGenericEntity PMIEntity::asGeneric() const {
  if (const auto* entity = generic()) return *entity;
  return jt::file::genericForm(manager_->data(), id_.kind(), static_cast<std::size_t>(id_.index()));
}

std::uint16_t PMIEntity::typeCode() const {
  if (!isValid() || id_.kind() == PMIKind::modelView) return 0;
  const auto* entity = generic();
  return entity ? entity->type : asGeneric().type;
}

JtString PMIEntity::typeName() const {
  if (!isValid() || id_.kind() == PMIKind::modelView) return {};
  if (const auto* entity = generic()) return text(entity->typeNameId);
  const jt::file::PMIFixedKind& kind = *jt::file::findFixedKind(id_.kind());
  return JtString(jt::file::genericTypeNames(asGeneric(), kind).type);
}

JtString PMIEntity::name() const {
  if (!isValid()) return {};
  if (id_.kind() == PMIKind::modelView)
    return unquoted(
        text(manager_->data().modelViews[static_cast<std::size_t>(id_.index())].nameId));
  const jt::PMIGenericEntity entity = asGeneric();
  for (const char* key : {"Description", "name"})
    if (const JtString* value = jt::file::findProperty(entity.properties, JtString(key));
        value && !value->isEmpty())
      return *value;
  for (const jt::PMIText& line : entity.texts)
    if (JtString shown = text(line.stringId); !shown.isEmpty()) return shown;
  return typeName();
}

const JtString* PMIEntity::property(const JtString& key) const {
  return isValid() ? jt::file::findProperty(*properties_, key) : nullptr;
}

// --- PMIDataManager

jt::Ref<JtBase> PMIDataManager::clone() const { return jt::Ref<JtBase>(new PMIDataManager(*this)); }

bool PMIDataManager::serialize(JtBaseDataStream& stream) const {
  try {
    jt::file::ByteSink body;
    jt::file::writeComparablePMI(body, data_);
    return stream.writeRaw(body.bytes());
  } catch (const JtFormatError&) {
    return false;
  }
}

bool PMIDataManager::isEmpty() const { return jt::file::PMITagPlaces(data_).total == 0; }

PMITypedID PMIDataManager::constructPMITypedID(int kind, int index) noexcept {
  return {(static_cast<std::uint32_t>(kind) & 0x7fU) << 24 |
          (static_cast<std::uint32_t>(index) & PMITypedID::kMaxIndex)};
}

PMIEntity PMIDataManager::pmiEntity(PMITypedID id) const {
  PMIEntity entity;
  entity.manager_ = this;
  entity.id_ = id;
  const auto index = static_cast<std::size_t>(id.index());
  const bool exists =
      (id.word & PMITypedID::kIndirect) == 0 && index < jt::file::countOf(data_, id.kind());
  if (!exists) return entity;
  if (id.kind() == PMIKind::genericEntity) {
    entity.properties_ = &data_.genericEntities[index].properties;
  } else if (id.kind() == PMIKind::modelView) {
    entity.properties_ = &data_.modelViews[index].properties;
  } else {
    entity.properties_ = &noProperties();
  }
  return entity;
}

std::vector<PMITypedID> PMIDataManager::entities() const {
  std::vector<PMITypedID> ids;
  const auto add = [&](PMIKind kind) {
    const std::size_t count = jt::file::countOf(data_, kind);
    for (std::size_t i = 0; i < count; ++i) ids.push_back(jt::file::typedID(kind, i));
  };
  add(PMIKind::genericEntity);
  for (const jt::file::PMIFixedKind& fixed : jt::file::pmiFixedKinds()) add(fixed.kind);
  return ids;
}

const JtString* PMIDataManager::string(std::int32_t id) const {
  if (id < 0 || static_cast<std::size_t>(id) >= data_.strings.size()) return nullptr;
  return &data_.strings[static_cast<std::size_t>(id)];
}

std::int32_t PMIDataManager::stringId(const JtString& text) {
  const std::vector<JtString>& strings = data_.strings;
  for (; lookups_.indexedTexts < strings.size(); ++lookups_.indexedTexts)
    lookups_.textIds.try_emplace(strings[lookups_.indexedTexts],
                                 static_cast<std::int32_t>(lookups_.indexedTexts));
  if (const auto known = lookups_.textIds.find(text); known != lookups_.textIds.end())
    return known->second;
  record();
  const auto id = static_cast<std::int32_t>(strings.size());
  data_.strings.push_back(text);
  modified_ = true;
  lookups_.textIds.try_emplace(text, id);
  ++lookups_.indexedTexts;
  return id;
}

void PMIDataManager::record() {
  jt::scene::recordChange(*this, data_, modified_, revision_);
  // What was found out need not hold for the old content.
  if (jt::ChangeJournal* const journal = jt::scene::journalFor(*this))
    jt::scene::keepAs(*journal, *this, lookups_, Lookups());
  ++revision_;
}

void PMIDataManager::prepareForNew(std::size_t count) {
  jt::file::requireEditable(data_);
  if (count > PMITypedID::kMaxIndex)
    throw JtFormatError("too_large", "a node can have 16777216 PMI entities of a kind");
  if (data_.layout == jt::PMILayout::none) jt::file::ensureTags(data_);
  jt::file::raisePMIVersion(data_);
}

void PMIDataManager::addTag(std::size_t place) {
  if (data_.cadTags.flag != 1) return;
  auto& tags = *data_.cadTags.tags;
  auto& indices = data_.cadTags.indices;
  indices.insert(indices.begin() + static_cast<std::ptrdiff_t>(place),
                 static_cast<std::int32_t>(tags.size()));
  tags.push_back({jt::file::newTag(tags, lookups_.greatestTag)});
}

PMITypedID PMIDataManager::addGenericEntity(jt::PMIGenericEntity entity) {
  const std::size_t index = data_.genericEntities.size();
  record();
  prepareForNew(index);
  data_.genericEntities.push_back(std::move(entity));
  if (data_.hasAreaForEachEntity) data_.polygons.vertexCounts.push_back(0);
  addTag(data_.cadTags.indices.size());
  modified_ = true;
  return jt::file::typedID(PMIKind::genericEntity, index);
}

PMITypedID PMIDataManager::addModelView(jt::PMIModelView view) {
  const std::size_t index = data_.modelViews.size();
  record();
  prepareForNew(index);
  addTag(*jt::file::PMITagPlaces(data_).first(PMIKind::modelView) + index);
  data_.modelViews.push_back(std::move(view));
  if (data_.layout == jt::PMILayout::typed9 && data_.version.value > 1)
    data_.viewProperties.resize(data_.modelViews.size());
  modified_ = true;
  return jt::file::typedID(PMIKind::modelView, index);
}

bool PMIDataManager::removeGenericEntity(int index) {
  return removeGenericEntities(std::span(&index, 1)) == 1;
}

int PMIDataManager::removeGenericEntities(std::span<const int> indices) {
  std::vector<bool> isRemoved(data_.genericEntities.size());
  for (const int index : indices)
    if (index >= 0 && static_cast<std::size_t>(index) < isRemoved.size())
      isRemoved[static_cast<std::size_t>(index)] = true;
  const auto count = static_cast<int>(std::ranges::count(isRemoved, true));
  if (count == 0) return 0;
  jt::file::requireEditable(data_);
  record();
  jt::file::removeGeneric(data_, isRemoved);
  modified_ = true;
  return count;
}

jt::PMIGenericEntity* PMIDataManager::editGenericEntity(int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= data_.genericEntities.size()) return nullptr;
  record();
  modified_ = true;
  return &data_.genericEntities[static_cast<std::size_t>(index)];
}

jt::PMIModelView* PMIDataManager::editModelView(int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= data_.modelViews.size()) return nullptr;
  record();
  modified_ = true;
  return &data_.modelViews[static_cast<std::size_t>(index)];
}

void PMIDataManager::makeGeneric() {
  if (!jt::file::hasTypedPMI(data_)) return;
  jt::file::requireEditable(data_);
  record();
  jt::file::makeGeneric(data_);
  modified_ = true;
}

jt::Ref<const PMIDataManager> PMIDataManager::generic() const {
  if (!jt::file::hasTypedPMI(data_)) return jt::Ref<const PMIDataManager>(this);
  jt::PMIData data(data_);
  jt::file::makeGeneric(data);
  return jt::file::PMIAccess::make(std::move(data));
}

void PMIDataManager::addAssociation(PMITypedID source, PMITypedID destination,
                                    std::int32_t reason) {
  for (const PMITypedID end : {source, destination})
    if (jt::file::findFixedKind(end.kind()))
      throw JtFormatError("not_editable",
                          "an entity of a fixed kind cannot be linked: how files name it is not "
                          "known");
  record();
  data_.associations.push_back(
      {jt::file::storedEnd(data_, source), jt::file::storedEnd(data_, destination), reason});
  modified_ = true;
}

std::vector<PMIDataManager::Link> PMIDataManager::links() const {
  const jt::file::PMIEnds ends(data_);
  std::vector<Link> links;
  links.reserve(data_.associations.size());
  for (const jt::PMIAssociation& link : data_.associations)
    links.push_back({ends.resolve(link.source, link.sourceOwner),
                     ends.resolve(link.destination, link.destinationOwner), link.reason});
  return links;
}

void PMIDataManager::merge(const PMIDataManager& other) {
  record();
  if (data_.layout == jt::PMILayout::none && isEmpty() && data_.strings.empty()) {
    data_ = other.data_;
  } else {
    jt::PMIData merged(data_);  // a failure leaves the manager as it was
    jt::file::mergePMI(merged, other.data_);
    data_ = std::move(merged);
  }
  lookups_.greatestTag = -1;
  modified_ = true;
}
