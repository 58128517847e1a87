#include "JtkwPMIReader.h"

#include <algorithm>
#include <string_view>

namespace {

// Entity types of ISO 14306 that nothing is drawn of, and the host's frames.
constexpr std::uint16_t kCoordinateSystem = 0x0104;
constexpr std::uint16_t kPartTransform = 0x030c;
constexpr std::uint16_t kModelViewStyle = 0x0310;

bool hasLine(const std::vector<std::int32_t>& indices) { return indices.size() > 1; }

template <class Entity>
bool isDrawn(const Entity& entity) {
  const auto hasText = [](const jt::PMIText& text) {
    return text.stringId >= 0 || hasLine(text.indices);
  };
  return hasLine(entity.lines.indices) || std::ranges::any_of(entity.texts, hasText);
}

bool isGraphic(const jt::PMIGenericEntity& entity) {
  const bool isOther = entity.type == kCoordinateSystem || entity.type == kPartTransform ||
                       entity.type == kModelViewStyle;
  return !isOther && isDrawn(entity);
}

/// The property that names an entity. PMIEntity::name() falls back on its text or type, which do
/// not name it.
bool isNamed(const PMIEntity& entity, std::string_view name) {
  for (const char* key : {"Description", "name"}) {
    const JtString* value = entity.property(JtString(key));
    if (value && !value->isEmpty()) return value->stringToMbs() == name;
  }
  return false;
}

}  // namespace

JtkwPMIReader::JtkwPMIReader(JtNode* node) {
  if (auto* holder = jt::as<VisMetaDataNode>(node)) pmi_ = holder->pmi();
}

bool JtkwPMIReader::hasGraphicPMI() const {
  if (!pmi_) return false;
  const jt::PMIData& data = pmi_->data();
  const auto hasLines = [](const jt::PMI3DEntity& entity) { return hasLine(entity.indices); };
  return std::ranges::any_of(data.genericEntities, isGraphic) || !data.polygons.filled.empty() ||
         std::ranges::any_of(data.flat,
                             [](const auto& kind) {
                               return std::ranges::any_of(kind, isDrawn<jt::PMI2DEntity>);
                             }) ||
         std::ranges::any_of(data.solid,
                             [&](const auto& kind) { return std::ranges::any_of(kind, hasLines); });
}

std::vector<int> JtkwPMIReader::genericEntities(const char* name) const {
  std::vector<int> positions;
  const int count = pmi_ ? static_cast<int>(pmi_->pmiDataGenericArray().size()) : 0;
  for (int i = 0; i < count; ++i) {
    const PMITypedID id =
        PMIDataManager::constructPMITypedID(static_cast<int>(PMIKind::genericEntity), i);
    if (isNamed(pmi_->pmiEntity(id), name)) positions.push_back(i);
  }
  return positions;
}

bool JtkwPMIReader::hasGenericEntity(const char* name) const {
  return !genericEntities(name).empty();
}
