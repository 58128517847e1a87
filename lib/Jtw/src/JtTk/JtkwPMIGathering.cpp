#include "JtTk/JtkwPMIGathering.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtTk/JtkwColorText.h"
#include "JtTk/JtkwPMIAttributes.h"
#include "JtTk/JtkwPMIText.h"
#include "JtkEntityFactory.h"
#include "JtkPMIEntity.h"
#include "JtkPart.h"
#include "JtkwPMITypeMaps.h"
#include "JtwFrame.h"
#include "JtwPMIAnnotation.h"
#include "JtwPropertyNames.h"
#include "JtwRoot.h"
#include "JtwTree.h"
#include "VisMetaDataNode.h"

namespace jtw {
namespace {

using Graphics = ApiGraphicsPMIAnnotationData;

double finite(float number) { return std::isfinite(number) ? static_cast<double>(number) : 0.0; }

RTVec3D pointAt(std::span<const float> numbers, std::size_t first, double scale) {
  return RTVec3D(finite(numbers[first]), finite(numbers[first + 1]), finite(numbers[first + 2])) *
         scale;
}

long numberOf(const JtString* text, long otherwise) {
  if (!text) return otherwise;
  const std::string digits = text->stringToMbs();
  long number = otherwise;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

RWClassicCString narrow(const JtString* text) {
  return text ? text->stringToMbs() : RWClassicCString();
}

/// Files of version 9 and 10 spell the word differently.
const JtString* colorAttribute(const jt::PMIGenericEntity& entity, std::string_view name) {
  if (const JtString* found = attributeOf(entity, std::string(name).c_str())) return found;
  const std::string stem(name.substr(0, name.size() - std::string_view("Color").size()));
  return attributeOf(entity, (stem + "Colour").c_str());
}

bool readColor(const jt::PMIGenericEntity& entity, const char* name, ApiGraColor& color) {
  const JtString* text = colorAttribute(entity, name);
  const auto read = text ? colorOfPmiText(text->stringToMbs()) : std::nullopt;
  if (read) color.setRGB(read->red(), read->green(), read->blue());
  return read.has_value();
}

/// The least alpha that is written as that percentage again.
float alphaOf(long percent) {
  float alpha = static_cast<float>(percent) / 100.0F;
  if (static_cast<int>(static_cast<double>(alpha) * 100.0) < percent)
    alpha = std::nextafter(alpha, 2.0F);
  return alpha;
}

void readAppearance(const jt::PMIGenericEntity& entity, Graphics& out) {
  int flags = 0;
  if (readColor(entity, pmi::kForegroundColor, out.textForegroundColor))
    flags |= Graphics::FOREGROUND_COLOR;
  if (readColor(entity, pmi::kBackgroundColor, out.textBackgroundColor))
    flags |= Graphics::BACKGROUND_COLOR;
  if (readColor(entity, pmi::kGeometryColor, out.geomColor)) flags |= Graphics::GEOM_COLOR;
  const long opacity = numberOf(attributeOf(entity, pmi::kBackgroundOpacity), -1);
  if (opacity >= 0 && opacity <= 100) {
    out.textBackgroundColor.setAlpha(alphaOf(opacity));
    flags |= Graphics::BACKGROUND_OPACITY;
  }
  if (attributeOf(entity, pmi::kShowBorder)) {
    out.textHasBorder = numberOf(attributeOf(entity, pmi::kShowBorder), 0) != 0;
    flags |= Graphics::BORDER;
  }
  if (const long size = numberOf(attributeOf(entity, pmi::kTextSize), 0); size > 0) {
    out.fontSize = static_cast<int>(size);
    flags |= Graphics::FONT_SIZE;
  }
  if (attributeOf(entity, pmi::kTextInPlane)) {
    out.textInPlane = numberOf(attributeOf(entity, pmi::kTextInPlane), 1) != 0;
    flags |= Graphics::DISPLAY_MODE;
  } else {
    out.textInPlane = (entity.userFlags & 0x0001) == 0;
  }
  if (const long width = numberOf(attributeOf(entity, pmi::kGeometryWidth), 0); width > 0) {
    out.geomWidth = static_cast<int>(width);
    flags |= Graphics::GEOM_WIDTH;
  }
  out.instanceFlags = static_cast<short>(flags);
}

/// Polylines of `dimensions` numbers a vertex; an index that leads nowhere ends them.
template <class MakePoint>
void appendPolylines(const std::vector<std::int32_t>& indices, std::size_t vertexCount,
                     RTTwoLevelRWTOrderedVector<RTVec3D>& out, MakePoint makePoint) {
  for (std::size_t i = 0; i + 1 < indices.size(); ++i) {
    const auto first = static_cast<std::size_t>(indices[i]);
    const auto end = static_cast<std::size_t>(indices[i + 1]);
    if (indices[i] < 0 || end < first || end > vertexCount) return;
    auto& line = out.emplace_back();
    line.reserve(end - first);
    for (std::size_t vertex = first; vertex < end; ++vertex) line.push_back(makePoint(vertex));
  }
}

void readLines(const jt::PMIGenericEntity& entity, double scale, Graphics& out) {
  const auto& lines = entity.lines;
  appendPolylines(lines.indices, lines.vertices.size() / 3, out.geomPolylineSet,
                  [&](std::size_t vertex) { return pointAt(lines.vertices, vertex * 3, scale); });
  const std::size_t count = out.geomPolylineSet.size();
  if (lines.types.size() >= count)
    for (std::size_t i = 0; i < count; ++i)
      out.geomPolylineTypes.push_back(static_cast<Graphics::GeomPolylineTypes>(lines.types[i]));
  const long strokes = numberOf(attributeOf(entity, pmi::kTextStrokes), 0);
  if (strokes <= 0 || static_cast<std::size_t>(strokes) > count) return;
  const auto first = out.geomPolylineSet.end() - strokes;
  out.textPolylineSet.assign(first, out.geomPolylineSet.end());
  out.geomPolylineSet.erase(first, out.geomPolylineSet.end());
  if (!out.geomPolylineTypes.empty()) out.geomPolylineTypes.resize(out.geomPolylineSet.size());
}

/// Texts of the entity; their strokes lie in the plane of its frame.
void readTexts(const PMIDataManager& pmi, const jt::PMIGenericEntity& entity, const RTVec3D& origin,
               double scale, ApiWmPMIAnnotationData& out) {
  RTVec3D x = out.graphics.displayPlaneXAxis;
  RTVec3D y = out.graphics.displayPlaneYAxis;
  x.normalize();
  y.normalize();
  for (const jt::PMIText& text : entity.texts) {
    if (const JtString* line = pmi.string(text.stringId); line && !line->isEmpty())
      out.textLines.push_back(line->stringToMbs());
    appendPolylines(text.indices, text.vertices.size() / 2, out.graphics.textPolylineSet,
                    [&](std::size_t vertex) {
                      return origin + x * (finite(text.vertices[vertex * 2]) * scale) +
                             y * (finite(text.vertices[vertex * 2 + 1]) * scale);
                    });
  }
  const JtString* kept = attributeOf(entity, pmi::kTextLines);
  if (!kept) return;
  out.textLines.clear();
  const std::string all = kept->stringToMbs();
  for (std::size_t first = 0; first <= all.size();) {
    const std::size_t end = std::min(all.find('\n', first), all.size());
    out.textLines.push_back(all.substr(first, end - first));
    first = end + 1;
  }
}

JtwNwObjData readRecord(const jt::PMIGenericEntity& entity, const JtString& name) {
  JtwNwObjData record;
  record.name = name.toWide();
  record.displayState = narrow(attributeOf(entity, pmi::kMulticadVisibility)) != "FALSE";
  record.key = keyOf(entity);
  record.attributes = narrow(attributeOf(entity, keyName(Key::attributes)));
  record.attachmentParent =
      ApiProtoKey(numberOf(attributeOf(entity, keyName(Key::attachmentParent)), 0));
  record.attachmentType = static_cast<AttachmentType>(
      numberOf(attributeOf(entity, keyName(Key::attachmentType)), ATTACHMENT_DEFAULT));
  record.globalUniqueId =
      ApiGlobalUniqueId(narrow(attributeOf(entity, keyName(Key::globalUniqueId))));
  record.preserved = numberOf(attributeOf(entity, keyName(Key::notUnitedEntity)), 0) != 0;
  record.relStringId = narrow(attributeOf(entity, keyName(Key::relStringId)));
  return record;
}

/// Gives the object what was read; its key when it is free.
void fill(JtwPMIAnnotation& annotation, PMIState state, int id) {
  const ApiProtoKey key = state.record.key;
  state.record.key = ApiProtoKey();
  *annotation.KrData() = std::move(state.record);
  annotation.takeStoredKey(key);
  annotation.setRelLoc(state.relLoc);
  annotation.annotationData() = std::move(state.data);
  annotation.setStored(id);
}

bool isFrameAsStored(JtwPMI& frame, const jt::PMIGenericEntity& entity, const PMISpace& space) {
  const JtString* name = attributeOf(entity, pmi::kName);
  if ((name ? name->toWide() : RWClassicWString()) != frame.name()) return false;
  // What the list of frames keeps too.
  const JtwNwObjData stored = readRecord(entity, JtString());
  const JtwNwObjData& wanted = *frame.KrData();
  if (stored.key == wanted.key &&
      (stored.attributes != wanted.attributes || stored.globalUniqueId != wanted.globalUniqueId ||
       stored.attachmentParent != wanted.attachmentParent ||
       stored.attachmentType != wanted.attachmentType ||
       stored.displayState != wanted.displayState))
    return false;
  // A frame is kept in double precision elsewhere, its coordinate system in single precision.
  const RTTran3D read = readCoordinateSystem(entity, space);
  const RTTran3D place = frame.relLoc();
  const double tolerance = 1e-6 * std::max(1.0, place.getTranslation().length());
  for (std::size_t i = 0; i < 16; ++i)
    if (!(std::abs(read.values()[i] - place.values()[i]) <= tolerance)) return false;
  return true;
}

}  // namespace

PMISpace pmiSpace(JtwNode& carrier, JtwCollection& collection) {
  PMISpace space;
  if (const float ratio = carrier.measurementUnitRatio(); ratio > 0) space.unitRatio = ratio;
  if (carrier.isCollection() == 0)
    space.reference = placement(carrier, collection);
  else if (JtwRoot* root = carrier.root(); root == &carrier)
    space.reference = root->internalRelLoc();
  return space;
}

const JtString* attributeOf(const jt::PMIGenericEntity& entity, const char* name) {
  // Compared in place: a key made for each look-up would be most of what reading costs.
  const std::string_view ascii(name);
  for (const jt::PMIProperty& property : entity.properties)
    if (std::ranges::equal(property.key.text.units(), ascii)) return &property.value.text;
  return nullptr;
}

ApiProtoKey keyOf(const jt::PMIGenericEntity& entity) {
  return ApiProtoKey(numberOf(attributeOf(entity, keyName(Key::protoKey)), 0));
}

PMIState readAnnotation(const PMIDataManager& pmi, const jt::PMIGenericEntity& entity,
                        const PMISpace& space) {
  PMIState state;
  const double scale = static_cast<double>(space.unitRatio);
  Graphics& graphics = state.data.graphics;
  RTVec3D origin;
  if (entity.base.frameFlag != 0) {
    origin = pointAt(entity.base.frame, 0, scale);
    graphics.displayPlaneXAxis = pointAt(entity.base.frame, 3, scale) - origin;
    graphics.displayPlaneYAxis = pointAt(entity.base.frame, 6, scale) - origin;
  }
  state.relLoc.setTranslation(origin);
  if (space.reference != RTTran3D::unit) state.relLoc = space.reference * state.relLoc;
  graphics.textHeight = static_cast<float>(finite(entity.base.textHeight) * scale);

  const JtkEntity::TypeID type = jtk::typeOfEntityCode(entity.type);
  state.data.annotationType = JtkwPMITypeMaps::the().getApiPMITypeFromJtTk(type, entity.type);
  state.data.layer = static_cast<int>(numberOf(attributeOf(entity, pmi::kLayer), -1));
  readAppearance(entity, graphics);
  readLines(entity, scale, graphics);
  readTexts(pmi, entity, origin, scale, state.data);
  const JtString* name = attributeOf(entity, pmi::kName);
  if (!name) name = attributeOf(entity, "name");
  state.record = readRecord(entity, name ? *name : JtString());
  return state;
}

RTTran3D readCoordinateSystem(const jt::PMIGenericEntity& entity, const PMISpace& space) {
  if (entity.base.frameFlag == 0) return {};
  const double scale = static_cast<double>(space.unitRatio);
  const RTVec3D origin = pointAt(entity.base.frame, 0, scale);
  RTVec3D x = pointAt(entity.base.frame, 3, scale) - origin;
  RTVec3D z = cross(x, pointAt(entity.base.frame, 6, scale) - origin);
  if (x.normalize() == 0 || z.normalize() == 0) return RTTran3D::fromTranslation(origin);
  const RTTran3D local(x, cross(z, x), z, origin);
  return space.reference == RTTran3D::unit ? local : space.reference * local;
}

bool isRemovable(const jt::PMIGenericEntity& entity) {
  const JtkEntity::TypeID type = jtk::typeOfEntityCode(entity.type);
  // A coordinate system of another producer has no frame: it is not the host's to remove.
  return type == JtkEntity::PMI_COORDINATE_SYSTEM
             ? !keyOf(entity).isNull()
             : JtkwPMITypeMaps::the().isPMITypeOfObjType(type, ApiObjType(ApiObjType::ANNOTATION));
}

bool isAsStored(JtwPMI& pmi, const PMIDataManager& stored, const PMISpace& space) {
  const auto& entities = stored.pmiDataGenericArray();
  if (pmi.isRenewed() || static_cast<std::size_t>(pmi.id()) >= entities.size()) return false;
  const jt::PMIGenericEntity& entity = entities[static_cast<std::size_t>(pmi.id())];
  if (pmi.type() == JtwNode::JT_FRAME_NODE) return isFrameAsStored(pmi, entity, space);
  PMIState read = readAnnotation(stored, entity, space);
  read.record.key = pmi.storedKey();  // lists of the file give keys too
  return read.record == *pmi.KrData() && read.relLoc == pmi.relLoc() &&
         read.data == static_cast<JtwPMIAnnotation&>(pmi).annotationData();
}

void takeStoredPMIs(JtwNode& carrier) {
  const auto pmis = carrier.root()->getJtwPMIsOfNode(carrier.jtNode());
  auto* holder = jt::as<VisMetaDataNode>(carrier.jtNode());
  const PMIDataManager* pmi = holder && !pmis.empty() ? holder->pmi() : nullptr;
  if (!pmi) return;
  const jt::Ref<const PMIDataManager> stored = pmi->generic();
  for (JtwPMI* each : pmis) {
    const auto index = static_cast<std::size_t>(each->id());
    if (each->id() < 0 || index >= stored->pmiDataGenericArray().size() || !each->collection() ||
        each->type() != JtwNode::JT_PMI_ANNOTATION_NODE)
      continue;
    const PMISpace space = pmiSpace(carrier, *each->collection());
    if (isAsStored(*each, *stored, space)) continue;
    PMIState state = readAnnotation(*stored, stored->pmiDataGenericArray()[index], space);
    state.record.key = each->key();
    *each->KrData() = std::move(state.record);
    each->setRelLoc(state.relLoc);
    static_cast<JtwPMIAnnotation*>(each)->annotationData() = std::move(state.data);
  }
}

std::vector<std::pair<JtString, JtString>> attributesToCarry(const JtNode& node, int id) {
  // The PMI of a JT node are loaded on demand; that is no change of the node.
  auto* holder = jt::as<VisMetaDataNode>(const_cast<JtNode*>(&node));
  const PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  if (!pmi) return {};
  const jt::Ref<const PMIDataManager> shown = pmi->generic();
  const auto& entities = shown->pmiDataGenericArray();
  const auto position = static_cast<std::size_t>(id);
  return position < entities.size() ? foreignAttributes(entities[position])
                                    : std::vector<std::pair<JtString, JtString>>();
}

void stripPMIIdentity(JtNode& copy) {
  auto* holder = jt::as<VisMetaDataNode>(&copy);
  PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  if (!pmi) return;
  const auto part = jt::Ref<JtkPart>(JtkEntityFactory::createPart("DEFAULT", 0, -1));
  part->load(pmi);
  for (int i = 0; i < part->numChildren(); ++i)
    for (const Key key : {Key::protoKey, Key::globalUniqueId})
      static_cast<JtkPMIGenericEntity*>(part->child(i))->removeAttrProperty(JtString(keyName(key)));
  jt::Ref<PMIDataManager> stripped;
  if (part->updatePMIDataManager(stripped) == 1 && stripped != pmi) holder->setPMI(stripped.get());
}

void followMovedPMIs(const JtNode& part, JtwCollection& parent, std::size_t offset) {
  auto* holder = jt::as<VisMetaDataNode>(parent.jtNode());
  const PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  if (!pmi || parent.gatheredPMIs() != offset) return;
  const jt::Ref<const PMIDataManager> shown = pmi->generic();
  const auto& entities = shown->pmiDataGenericArray();
  const PMISpace space = pmiSpace(parent, parent);
  for (JtwPMI* moved : parent.root()->getJtwPMIsOfNode(&part)) {
    const std::size_t position = offset + static_cast<std::size_t>(moved->id());
    if (moved->id() < 0 || moved->type() != JtwNode::JT_PMI_ANNOTATION_NODE ||
        position >= entities.size())
      continue;
    moved->setOriginJtNode(holder);
    PMIState state = readAnnotation(*shown, entities[position], space);
    moved->setRelLoc(state.relLoc);
    static_cast<JtwPMIAnnotation*>(moved)->annotationData() = std::move(state.data);
    moved->setStored(static_cast<int>(position));
    parent.setGatheredPMIs(entities.size());
  }
  gatherPMIs(parent, parent);
}

bool gatherPMIs(JtwNode& carrier, JtwCollection& collection) {
  auto* holder = jt::as<VisMetaDataNode>(carrier.jtNode());
  if (!holder) return true;
  if (!holder->ensurePMI()) return false;
  const PMIDataManager* pmi = holder->pmi();
  if (!pmi) return true;
  const jt::Ref<const PMIDataManager> shown = pmi->generic();
  const auto& entities = shown->pmiDataGenericArray();
  const std::size_t known = carrier.gatheredPMIs();
  if (known >= entities.size()) return true;

  const PMISpace space = pmiSpace(carrier, collection);
  std::unordered_map<ApiProtoKey, JtwPMI*> frames;
  for (JtwPMI* listed : collection.PMIs())
    if (listed->type() == JtwNode::JT_FRAME_NODE && listed->originJtNode() == holder)
      frames.emplace(listed->key(), listed);
  for (std::size_t i = known; i < entities.size(); ++i) {
    const jt::PMIGenericEntity& entity = entities[i];
    const JtkEntity::TypeID type = jtk::typeOfEntityCode(entity.type);
    if (type == JtkEntity::PMI_COORDINATE_SYSTEM) {
      const auto frame = frames.find(keyOf(entity));
      if (frame != frames.end() && frame->second->id() < 0)
        frame->second->setId(static_cast<int>(i));
    } else if (type != JtkEntity::PMI_ENTITY) {
      auto annotation = std::make_unique<JtwPMIAnnotation>(&collection, carrier.root());
      annotation->setOriginJtNode(holder);
      fill(*annotation, readAnnotation(*shown, entity, space), static_cast<int>(i));
      if (annotation->key().isNull()) carrier.root()->adoptPMI(annotation.get());
      collection.addPMI(annotation.release());  // the root owns it
    }
  }
  carrier.setGatheredPMIs(entities.size());
  return true;
}

}  // namespace jtw
