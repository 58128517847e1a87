#include <algorithm>

#include "JtBaseDataStream.h"
#include "JtFormatError.h"
#include "JtPMI.h"
#include "file/PMIElement.h"
#include "scene/PMITags.h"

jt::Ref<PMIDataManager> jt::file::PMIAccess::make(PMIData data) {
  auto manager = jt::make<PMIDataManager>();
  manager->data_ = std::move(data);
  return manager;
}

// --- PMIEntity

JtString PMIEntity::name() const {
  if (!isValid()) return {};
  const jt::PMIData& data = manager_->data();
  const auto index = static_cast<std::size_t>(id_.index());
  const auto text = [&](std::int32_t id) {
    const JtString* found = manager_->string(id);
    return found ? *found : JtString();
  };
  if (id_.kind() == PMIKind::modelView) {
    const JtString quoted = text(data.modelViews[index].nameId);
    std::u16string_view name(quoted.units());
    if (name.size() >= 2 && name.front() == u'"' && name.back() == u'"')
      name = name.substr(1, name.size() - 2);
    return JtString(std::u16string(name));
  }
  for (const char* key : {"Description", "name"})
    if (const JtString* value = property(key); value && !value->isEmpty()) return *value;
  const jt::PMIGenericEntity& entity = data.genericEntities[index];
  for (const jt::PMIText& line : entity.texts)
    if (JtString shown = text(line.stringId); !shown.isEmpty()) return shown;
  return text(entity.typeNameId);
}

const JtString* PMIEntity::property(const JtString& key) const {
  if (!isValid()) return nullptr;
  for (const jt::PMIProperty& property : *properties_)
    if (property.key.text == key) return &property.value.text;
  return nullptr;
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

bool PMIDataManager::isEmpty() const { return jt::file::taggedEntities(data_) == 0; }

PMITypedID PMIDataManager::constructPMITypedID(int kind, int index) noexcept {
  return {(static_cast<std::uint32_t>(kind) & 0x7fU) << 24 |
          (static_cast<std::uint32_t>(index) & PMITypedID::kMaxIndex)};
}

PMIEntity PMIDataManager::pmiEntity(PMITypedID id) const {
  PMIEntity entity;
  entity.manager_ = this;
  entity.id_ = id;
  const auto index = static_cast<std::size_t>(id.index());
  if ((id.word & PMITypedID::kIndirect) != 0) return entity;
  if (id.kind() == PMIKind::genericEntity && index < data_.genericEntities.size())
    entity.properties_ = &data_.genericEntities[index].properties;
  if (id.kind() == PMIKind::modelView && index < data_.modelViews.size())
    entity.properties_ = &data_.modelViews[index].properties;
  return entity;
}

const JtString* PMIDataManager::string(std::int32_t id) const {
  if (id < 0 || static_cast<std::size_t>(id) >= data_.strings.size()) return nullptr;
  return &data_.strings[static_cast<std::size_t>(id)];
}

std::int32_t PMIDataManager::stringId(const JtString& text) {
  const auto found = std::ranges::find(data_.strings, text);
  const auto id = static_cast<std::int32_t>(found - data_.strings.begin());
  if (found == data_.strings.end()) {
    data_.strings.push_back(text);
    modified_ = true;
  }
  return id;
}

PMITypedID PMIDataManager::addGenericEntity(jt::PMIGenericEntity entity) {
  jt::requireEditable(data_);
  const std::size_t index = data_.genericEntities.size();
  if (index > PMITypedID::kMaxIndex)
    throw JtFormatError("too_large", "a node can have 16777216 PMI entities of a kind");
  jt::raisePMIVersion(data_);
  const bool hasAreas = jt::hasAreaForEachEntity(data_);
  data_.genericEntities.push_back(std::move(entity));
  if (hasAreas) data_.polygons.vertexCounts.push_back(0);
  if (data_.cadTags.flag == 1) {
    data_.cadTags.indices.push_back(static_cast<std::int32_t>(data_.cadTags.tags->size()));
    data_.cadTags.tags->push_back(jt::unusedTag(*data_.cadTags.tags));
  }
  modified_ = true;
  return constructPMITypedID(static_cast<int>(PMIKind::genericEntity), static_cast<int>(index));
}

bool PMIDataManager::removeGenericEntity(int index) {
  const auto at = static_cast<std::size_t>(index);
  if (index < 0 || at >= data_.genericEntities.size()) return false;
  jt::requireEditable(data_);
  jt::removeEnds(data_, at);
  if (data_.cadTags.flag == 1) {
    auto& indices = data_.cadTags.indices;
    const std::size_t first = indices.size() - data_.genericEntities.size();
    indices.erase(indices.begin() + static_cast<std::ptrdiff_t>(first + at));
  }
  if (jt::hasAreaForEachEntity(data_)) jt::removeArea(data_.polygons, at);
  data_.genericEntities.erase(data_.genericEntities.begin() + index);
  modified_ = true;
  return true;
}

jt::PMIGenericEntity* PMIDataManager::editGenericEntity(int index) {
  if (index < 0 || static_cast<std::size_t>(index) >= data_.genericEntities.size()) return nullptr;
  modified_ = true;
  return &data_.genericEntities[static_cast<std::size_t>(index)];
}

void PMIDataManager::addAssociation(PMITypedID source, PMITypedID destination,
                                    std::int32_t reason) {
  data_.associations.push_back(
      {jt::storedEnd(data_, source), jt::storedEnd(data_, destination), reason});
  modified_ = true;
}

void PMIDataManager::merge(const PMIDataManager& other) {
  if (data_.layout == jt::PMILayout::none && isEmpty() && data_.strings.empty()) {
    data_ = other.data_;
  } else {
    jt::PMIData merged(data_);  // a failure leaves the manager as it was
    jt::mergePMI(merged, other.data_);
    data_ = std::move(merged);
  }
  modified_ = true;
}
