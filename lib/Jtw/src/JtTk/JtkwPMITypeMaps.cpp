#include "JtkwPMITypeMaps.h"

#include <array>

namespace {

constexpr std::int32_t kNoSubType = -1;

struct Row {
  ApiPMIType type;
  const char* name;
  ApiPMIType parent;
  JtkEntity::TypeID jtkType;
  std::int32_t subType;
};

constexpr Row group(ApiPMIType type, const char* name, JtkEntity::TypeID jtkType) {
  return {type, name, API_PMI_NONE, jtkType, kNoSubType};
}

constexpr Row member(ApiPMIType type, const char* name, ApiPMIType parent, std::int32_t subType) {
  return {type, name, parent, JtkEntity::PMI_NONE, subType};
}

/// Every type at the place of its number. The balloon, a member with a toolkit type of its own, and
/// the model view label, which has neither group nor toolkit type, are meant to be as they are.
constexpr std::array<Row, API_PMI_TYPE_COUNT> kTable{{
    group(API_PMI_NOTE_ENTITIES, "Note Entities", JtkEntity::PMI_NOTE),
    member(API_PMI_NOTE, "Note", API_PMI_NOTE_ENTITIES, 256),
    member(API_PMI_FACE_ATTRIBUTE, "Face Attribute", API_PMI_NOTE_ENTITIES, 257),
    member(API_PMI_MODEL_VIEW_LABEL, "Model View Label", API_PMI_NONE, 258),
    {API_PMI_BALLOON, "Balloon", API_PMI_NOTE_ENTITIES, JtkEntity::PMI_BALLOON_NOTE, 565},
    group(API_PMI_LINE_WELD_ENTITIES, "Line Weld Entities", JtkEntity::PMI_LINE_WELD),
    member(API_PMI_LINE_WELD, "Line Weld", API_PMI_LINE_WELD_ENTITIES, 8),
    member(API_PMI_GROOVE_WELD, "Groove Weld", API_PMI_LINE_WELD_ENTITIES, 16),
    member(API_PMI_FILLET_WELD, "Fillet Weld", API_PMI_LINE_WELD_ENTITIES, 17),
    member(API_PMI_PLUG_SLOT_WELD, "Plug/Slot Weld", API_PMI_LINE_WELD_ENTITIES, 18),
    member(API_PMI_EDGE_WELD, "Edge Weld", API_PMI_LINE_WELD_ENTITIES, 20),
    member(API_PMI_RESISTANCE_SEAM_WELD, "Resistance Seam Weld", API_PMI_LINE_WELD_ENTITIES, 33),
    member(API_PMI_BEAD_WELD, "Bead Weld", API_PMI_LINE_WELD_ENTITIES, 34),
    member(API_PMI_TAPE_WELD, "Tape Weld", API_PMI_LINE_WELD_ENTITIES, 36),
    group(API_PMI_SPOT_WELD_ENTITIES, "Spot Weld Entities", JtkEntity::PMI_SPOT_WELD),
    member(API_PMI_SPOT_WELD, "Spot Weld", API_PMI_SPOT_WELD_ENTITIES, 4),
    member(API_PMI_ARC_SPOT_WELD, "Arc Spot Weld", API_PMI_SPOT_WELD_ENTITIES, 24),
    member(API_PMI_RESISTANCE_SPOT_WELD, "Resistance Spot Weld", API_PMI_SPOT_WELD_ENTITIES, 32),
    member(API_PMI_DOLLOP_WELD, "Dollop Weld", API_PMI_SPOT_WELD_ENTITIES, 40),
    member(API_PMI_CLINCH_WELD, "Clinch Weld", API_PMI_SPOT_WELD_ENTITIES, 64),
    group(API_PMI_MEASUREMENT_POINT_ENTITIES, "Measurement Point Entities",
          JtkEntity::PMI_MEASUREMENT_POINT),
    member(API_PMI_MEASUREMENT_POINT, "Measurement Point", API_PMI_MEASUREMENT_POINT_ENTITIES, 66),
    member(API_PMI_DATUM_POINT, "Datum Point", API_PMI_MEASUREMENT_POINT_ENTITIES, 288),
    member(API_PMI_SURFACE_VECTOR, "Surface Vector", API_PMI_MEASUREMENT_POINT_ENTITIES, 289),
    member(API_PMI_HOLE_SLOT_STUD_VECTOR, "Hole/Slot/Stud Vector",
           API_PMI_MEASUREMENT_POINT_ENTITIES, 290),
    member(API_PMI_TRIM_VECTOR, "Trim Vector", API_PMI_MEASUREMENT_POINT_ENTITIES, 292),
    member(API_PMI_HEM_VECTOR, "Hem Vector", API_PMI_MEASUREMENT_POINT_ENTITIES, 296),
    group(API_PMI_LOCATOR_ENTITIES, "Locator Entities", JtkEntity::PMI_LOCATOR),
    member(API_PMI_DATUM_LOCATOR, "Datum Locator", API_PMI_LOCATOR_ENTITIES, 68),
    member(API_PMI_MEASUREMENT_LOCATOR, "Measurement Locator", API_PMI_LOCATOR_ENTITIES, 280),
    group(API_PMI_SURFACE_FINISH, "Surface Finish", JtkEntity::PMI_SURFACE_FINISH),
    group(API_PMI_FEATURE_CONTROL_FRAME, "Feature Control Frame",
          JtkEntity::PMI_FEATURE_CONTROL_FRAME),
    group(API_PMI_DIMENSION, "Dimension", JtkEntity::PMI_DIMENSION),
    group(API_PMI_DATUM_FEATURE_SYMBOL, "Datum Feature Symbol",
          JtkEntity::PMI_DATUM_FEATURE_SYMBOL),
    group(API_PMI_DATUM_TARGET, "Datum Target", JtkEntity::PMI_DATUM_TARGET),
    group(API_PMI_MATERIAL_SPEC, "Material Spec", JtkEntity::PMI_MATERIAL_SPECIFICATION),
    group(API_PMI_PROCESS_SPEC, "Process Spec", JtkEntity::PMI_PROCESS_SPECIFICATION),
    group(API_PMI_PART_SPEC, "Part Spec", JtkEntity::PMI_PART_SPECIFICATION),
    group(API_PMI_COORDINATE_NOTE, "Coordinate Note", JtkEntity::PMI_COORDINATE_NOTE),
    group(API_PMI_EMARKING, "eMarking", JtkEntity::PMI_EMARKING),
    group(API_PMI_ORGANISATION, "Organisation", JtkEntity::PMI_ORGANISATION),
}};

constexpr bool isInOrder() {
  for (int i = 0; i < API_PMI_TYPE_COUNT; ++i)
    if (kTable[static_cast<std::size_t>(i)].type != i) return false;
  return true;
}
static_assert(isInOrder(), "every type is at the index of its number");

template <class Key, class Value>
Value valueOr(const std::map<Key, Value>& map, Key key, Value otherwise) {
  const auto found = map.find(key);
  return found == map.end() ? otherwise : found->second;
}

}  // namespace

JtkwPMITypeMaps::JtkwPMITypeMaps() {
  for (const Row& row : kTable) {
    const bool hasJtkType = row.jtkType != JtkEntity::PMI_NONE;
    if (row.parent != API_PMI_NONE) {
      parents_[row.type] = row.parent;
      children_[row.parent].push_back(row.type);
    } else if (hasJtkType) {
      bases_.push_back(row.type);
    }
    if (hasJtkType) typesByJtkType_[row.jtkType] = row.type;
    if (row.subType != kNoSubType) typesBySubType_[row.subType] = row.type;
    objTypes_[row.type] = ApiObjType(ApiObjType::ANNOTATION);
    names_[row.type] = row.name;
  }
}

const JtkwPMITypeMaps& JtkwPMITypeMaps::the() {
  static const JtkwPMITypeMaps maps;
  return maps;
}

ApiPMIType JtkwPMITypeMaps::getParentApiPMIType(ApiPMIType type) const {
  return valueOr(parents_, type, API_PMI_NONE);
}

ApiPMIType JtkwPMITypeMaps::getBaseApiPMIType(ApiPMIType type) const {
  ApiPMIType base = type;
  for (ApiPMIType up = type; up != API_PMI_NONE; up = getParentApiPMIType(up)) base = up;
  return base;
}

JtkwPMITypeMaps::ApiPMITypes JtkwPMITypeMaps::getChildrenApiPMIType(ApiPMIType type) const {
  return valueOr(children_, type, {});
}

bool JtkwPMITypeMaps::isAncestorOfType(ApiPMIType type, ApiPMIType ancestor) const {
  if (type == ancestor) return true;
  for (ApiPMIType up = getParentApiPMIType(type); up != API_PMI_NONE; up = getParentApiPMIType(up))
    if (up == ancestor) return true;
  return false;
}

ApiPMIType JtkwPMITypeMaps::getApiPMITypeFromJtTk(JtkEntity::TypeID jtkType, int subType) const {
  const ApiPMIType byType = valueOr(typesByJtkType_, jtkType, API_PMI_NONE);
  return subType >= 1 ? valueOr(typesBySubType_, subType, byType) : byType;
}

void JtkwPMITypeMaps::getJtTkFromApiPMIType(ApiPMIType type, JtkEntity::TypeID& jtkType,
                                            int& subType) const {
  const ApiPMIType base = getBaseApiPMIType(type);
  jtkType = JtkEntity::PMI_NONE;
  for (const auto& [candidate, itsType] : typesByJtkType_) {
    if (itsType == type || itsType == base) jtkType = candidate;
    if (itsType == type) break;
  }
  subType = kNoSubType;
  for (const auto& [candidate, itsType] : typesBySubType_) {
    if (itsType != type) continue;
    subType = candidate;
    break;
  }
}

RWClassicCString JtkwPMITypeMaps::getPMITypeName(ApiPMIType type) const {
  return valueOr(names_, type, {});
}

RWClassicCString JtkwPMITypeMaps::getPMITypeName(int subType) const {
  return getPMITypeName(getApiPMITypeFromJtTk(JtkEntity::PMI_NONE, subType));
}

bool JtkwPMITypeMaps::isPMITypeOfObjType(ApiPMIType type, ApiObjType objType) const {
  const auto found = objTypes_.find(type);
  return found != objTypes_.end() && found->second.isOfType(objType);
}

bool JtkwPMITypeMaps::isPMITypeOfObjType(JtkEntity::TypeID jtkType, ApiObjType objType) const {
  const auto found = typesByJtkType_.find(jtkType);
  return found != typesByJtkType_.end() && isPMITypeOfObjType(found->second, objType);
}
