// Filling one entity from one record.

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "JtTk/JtkwPMIAttributes.h"
#include "JtTk/JtkwPMIText.h"
#include "JtkEntityFactory.h"
#include "JtkUnitHierarchy.h"
#include "JtkwPMIAnnotationData.h"
#include "JtkwPMIAppearanceData.h"
#include "JtkwPMIDimensionData.h"
#include "JtkwPMIFrameData.h"
#include "JtkwPMINoteData.h"
#include "JtkwPMITypeMaps.h"
#include "JtkwPMIWriter.h"
#include "JtwPMI.h"
#include "JtwPropertyNames.h"

using jtw::Key;
using jtw::keyName;
namespace pmi = jtw::pmi;

namespace {

using Point = JtkPMIVisualEntity::Point;

void set(JtkPMIGenericEntity& entity, const char* name, const std::string& value) {
  entity.addAttrProperty(JtString(name), JtString(value));
}

/// Sets an attribute, or removes it where there is no value.
void setIf(bool isSet, JtkPMIGenericEntity& entity, const char* name, const std::string& value) {
  if (isSet)
    set(entity, name, value);
  else
    entity.removeAttrProperty(JtString(name));
}

void setColor(JtkPMIGenericEntity& entity, const char* name, const char* text) {
  if (text) set(entity, name, text);
}

void writeAppearance(const JtkwPMIAppearanceData& look, JtkPMIGenericEntity& entity) {
  setColor(entity, pmi::kForegroundColor, look.textForegroundColor());
  setColor(entity, pmi::kBackgroundColor, look.textBackgroundColor());
  if (look.textBackgroundOpacity() > -1)
    set(entity, pmi::kBackgroundOpacity, std::to_string(look.textBackgroundOpacity()));
  if (look.textHasBorder()) set(entity, pmi::kShowBorder, "1");
  if (look.fontSize() > 0) set(entity, pmi::kTextSize, std::to_string(look.fontSize()));
  if (!look.textInPlane()) set(entity, pmi::kTextInPlane, "0");
  setColor(entity, pmi::kGeometryColor, look.geomColor());
  if (look.geomWidth() > 0) set(entity, pmi::kGeometryWidth, std::to_string(look.geomWidth()));
}

/// A note states its appearance without asking which values are set.
void writeNoteAppearance(const JtkwPMIAppearanceData& look, JtkPMIGenericEntity& entity) {
  setColor(entity, pmi::kForegroundColor, look.textForegroundColor());
  setColor(entity, pmi::kBackgroundColor, look.textBackgroundColor());
  set(entity, pmi::kBackgroundOpacity, std::to_string(look.textBackgroundOpacity()));
  set(entity, pmi::kTextSize, std::to_string(look.fontSize()));
}

const char* localeOf(std::string_view language) {
  constexpr std::array<std::pair<std::string_view, const char*>, 4> kLocales{
      {{"JPN", "101"}, {"CHT", "103"}, {"KOR", "104"}, {"CHS", "105"}}};
  const auto found = std::ranges::find(kLocales, language, [](const auto& e) { return e.first; });
  return found == kLocales.end() ? nullptr : found->second;
}

void writeIdentity(const JtwNwObjData& keys, JtkPMIGenericEntity& entity) {
  set(entity, pmi::kMulticadVisibility, keys.displayState ? "TRUE" : "FALSE");
  set(entity, keyName(Key::protoKey), std::to_string(keys.key.getAsLong()));
  setIf(!keys.attributes.empty(), entity, keyName(Key::attributes), keys.attributes);
  set(entity, keyName(Key::attachmentParent), std::to_string(keys.attachmentParent.getAsLong()));
  set(entity, keyName(Key::attachmentType), std::to_string(keys.attachmentType));
  setIf(!keys.globalUniqueId.isNull(), entity, keyName(Key::globalUniqueId),
        keys.globalUniqueId.getAsString());
  set(entity, keyName(Key::notUnitedEntity), keys.preserved ? "1" : "0");
  setIf(!keys.relStringId.empty(), entity, keyName(Key::relStringId), keys.relStringId);
}

void setPMIType(JtkPMIVisualEntity& entity, const JtString& name) {
  switch (entity.typeID()) {
    case JtkEntity::PMI_NOTE:
      return static_cast<JtkPMINote&>(entity).setPMIType(name);
    case JtkEntity::PMI_SPOT_WELD:
      return static_cast<JtkPMISpotWeld&>(entity).setPMIType(name);
    case JtkEntity::PMI_LINE_WELD:
      return static_cast<JtkPMILineWeld&>(entity).setPMIType(name);
    case JtkEntity::PMI_MEASUREMENT_POINT:
      return static_cast<JtkPMIMeasurementPoint&>(entity).setPMIType(name);
    case JtkEntity::PMI_LOCATOR:
      return static_cast<JtkPMILocator&>(entity).setPMIType(name);
    default:
      return;
  }
}

void removeTexts(JtkPMIVisualEntity& entity) {
  for (int i = entity.numVisualTextData(); i-- > 0;) entity.unsetVisualTextData(i);
}

/// Appends a line of text with its strokes, its lower left corner at (0, y) in the frame.
void addText(JtkPMIVisualEntity& entity, const JtString& line, float y, float height) {
  jt::PMIText text;
  text.box = {0, y, jtw::pmiFont().width(line, height), y, 0, y + height};
  text.indices.push_back(0);
  for (const JtkStrokeFont::Stroke& stroke : jtw::pmiFont().layOut(line, height)) {
    for (const auto& [right, up] : stroke) {
      text.vertices.push_back(right);
      text.vertices.push_back(y + up);
    }
    text.indices.push_back(static_cast<std::int32_t>(text.vertices.size() / 2));
  }
  if (text.indices.size() == 1) text.indices.clear();
  entity.addVisualTextData(line, std::move(text));
}

/// The toolkit type that a record of an object type becomes; PMI_NONE for those without one.
JtkEntity::TypeID typeOf(const JtkwPMIData& record, NwObj::Type type) {
  switch (type) {
    case NwObj::NOTE:
    case NwObj::LABEL:
      return JtkEntity::PMI_NOTE;
    case NwObj::FRAME:
    case NwObj::COORDINATE_SYSTEM:
      return JtkEntity::PMI_COORDINATE_SYSTEM;
    case NwObj::DIMENSION:
      return JtkEntity::PMI_DIMENSION;
    case NwObj::ANNOTATION: {
      const auto* annotation = dynamic_cast<const JtkwPMIAnnotationData*>(&record);
      return annotation ? annotation->annotationBaseType() : JtkEntity::PMI_NONE;
    }
    default:
      return JtkEntity::PMI_NONE;
  }
}

bool isFilled(NwObj::Type type) {
  return type == NwObj::NOTE || type == NwObj::LABEL || type == NwObj::FRAME ||
         type == NwObj::COORDINATE_SYSTEM || type == NwObj::DIMENSION || type == NwObj::ANNOTATION;
}

}  // namespace

Point JtkwPMIWriter::stored(const RTVec3D& millimetres) const {
  const double factor = static_cast<double>(unitsFactor_);
  return {static_cast<float>(millimetres.x / factor), static_cast<float>(millimetres.y / factor),
          static_cast<float>(millimetres.z / factor)};
}

bool JtkwPMIWriter::setLines(JtkPMIVisualEntity& entity,
                             const RWClassicTValOrderedVector<RTVec3D>& vertices,
                             const RWClassicTValOrderedVector<int>& indices,
                             const RWClassicTValOrderedVector<std::int16_t>& types) const {
  std::vector<Point> points;
  points.reserve(vertices.size());
  for (const RTVec3D& vertex : vertices) points.push_back(stored(vertex));
  return entity.setVisualPolylines(points, indices, types) == 1;
}

bool JtkwPMIWriter::fill(const JtkwPMIAnnotationData& record, JtkPMIVisualEntity& entity) const {
  const RTVec3D move = record.shouldRenderLeader() ? record.leaderDragPoint() : RTVec3D();
  entity.setVisualFrame(stored(record.origin() + move), stored(record.pointOnXDirection() + move),
                        stored(record.pointOnYDirection() + move));
  if (!record.indices().empty() || !record.textIndices().empty()) {
    entity.setVisualTextHeight(record.textHeight() / unitsFactor_);
    // The strokes of the text follow the other lines.
    auto vertices = record.vertices();
    auto indices = record.indices();
    RWClassicTValOrderedVector<std::int16_t> types(record.types().begin(), record.types().end());
    const int first = static_cast<int>(vertices.size());
    if (indices.empty()) indices.push_back(0);
    for (std::size_t i = 1; i < record.textIndices().size(); ++i) {
      indices.push_back(first + record.textIndices()[i]);
      types.push_back(ApiGraphicsPMIAnnotationData::GENERAL_LINE);
    }
    vertices.insert(vertices.end(), record.textVertices().begin(), record.textVertices().end());
    if (!setLines(entity, vertices, indices, types)) return false;
    removeTexts(entity);
  }
  if (record.appearanceData()) writeAppearance(*record.appearanceData(), entity);
  if (record.annotationSubType() > 0) {
    const auto code = static_cast<std::uint16_t>(record.annotationSubType());
    if (jtk::typeOfEntityCode(code) == entity.typeID()) entity.setEntityCode(code);
  }
  setPMIType(entity, JtString(JtkwPMITypeMaps::the().getPMITypeName(record.annotationSubType())));
  return true;
}

bool JtkwPMIWriter::fill(const JtkwPMINoteData& record, JtkPMIVisualEntity& entity) const {
  entity.setVisualFrame(stored(record.origin()), stored(record.pointOnXDirection()),
                        stored(record.pointOnYDirection()));
  const JtkwPMIAppearanceData* look = record.appearanceData();
  const float height = jtw::heightOfFontSize(look ? look->fontSize() : 0) / unitsFactor_;
  entity.setVisualTextHeight(height);
  removeTexts(entity);
  float y = 0;
  for (const RWClassicCString& line : record.text()) {
    addText(entity, JtString(line), y, height);
    y -= jtk::kLinePitch * height;
  }
  const bool hasLine = record.hasExtendedLine() && record.shouldDrawExtendedLine();
  const RWClassicTValOrderedVector<RTVec3D> line{record.origin(),
                                                 record.origin() + record.extendedLine()};
  if (!(hasLine ? setLines(entity, line, {0, 2}, {0}) : setLines(entity, {}, {}, {}))) return false;

  setIf(record.displayName() != nullptr, entity, pmi::kMulticadName,
        record.displayName() ? record.displayName() : "");
  if (look) writeNoteAppearance(*look, entity);
  set(entity, pmi::kTextInPlane, "0");
  if (look && look->textHasBorder()) set(entity, pmi::kShowBorder, "1");
  if (const char* locale = localeOf(record.language())) set(entity, pmi::kLocale, locale);
  return true;
}

bool JtkwPMIWriter::fill(const JtkwPMIDimensionData& record, JtkPMIVisualEntity& entity) const {
  entity.setVisualFrame(stored(record.origin()), stored(record.pointOnXDirection()),
                        stored(record.pointOnYDirection()));
  JtkwPMIDimensionData::Points vertices;
  JtkwPMIDimensionData::Indices indices;
  JtkwPMIDimensionData::PolylineTypes types;
  record.getPMIPolylineData(vertices, indices, types);
  if (!setLines(entity, vertices, indices, {types.begin(), types.end()})) return false;
  const JtkwPMIAppearanceData* look = record.appearanceData();
  const float height = jtw::heightOfFontSize(look ? look->fontSize() : 0) / unitsFactor_;
  entity.setVisualTextHeight(height);
  removeTexts(entity);
  if (record.text()) addText(entity, JtString(record.text()), 0, height);
  if (look) writeAppearance(*look, entity);
  return true;
}

bool JtkwPMIWriter::fill(const JtkwPMIFrameData& record, JtkPMIVisualEntity& entity) const {
  // The record has directions, the entity points.
  static_cast<JtkPMICoordinateSystem&>(entity).setCoordinateFrame(
      stored(record.origin()), stored(record.origin() + record.pointOnXDirection()),
      stored(record.origin() + record.pointOnYDirection()));
  set(entity, pmi::kMulticadColor, record.shapeColorStr());
  return true;
}

bool JtkwPMIWriter::writePMI(const JtkwPMIData& record, NwObj::Type type, JtkUnitHierarchy* unit,
                             JtkPMIEntity*& entity, const JtwNwObjData* keys) {
  if (!entity && !unit) return false;
  bool done = true;
  if (isFilled(type)) {
    const JtkEntity::TypeID expected = typeOf(record, type);
    if (!entity) entity = JtkEntityFactory::createPMI(expected, unit);
    if (!entity) return false;
    const auto fillFrom = [&]<class Record>() {
      const auto* data = dynamic_cast<const Record*>(&record);
      return data && entity->isOfType(expected) &&
             fill(*data, static_cast<JtkPMIVisualEntity&>(*entity));
    };
    if (expected == JtkEntity::PMI_COORDINATE_SYSTEM && type != NwObj::ANNOTATION)
      done = fillFrom.template operator()<JtkwPMIFrameData>();
    else if (type == NwObj::DIMENSION)
      done = fillFrom.template operator()<JtkwPMIDimensionData>();
    else if (type == NwObj::ANNOTATION)
      done = fillFrom.template operator()<JtkwPMIAnnotationData>();
    else
      done = fillFrom.template operator()<JtkwPMINoteData>();
  }
  if (!entity) return done;
  auto& generic = static_cast<JtkPMIGenericEntity&>(*entity);
  if (record.displayName()) generic.setName(JtString(record.displayName()));
  if (std::string_view(record.layer()) != "-1") set(generic, pmi::kLayer, record.layer());
  if (keys) writeIdentity(*keys, generic);
  return done;
}
