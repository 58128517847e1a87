// Writing a batch: which PMI node has which entity, and what becomes of entities without a node.

#include "JtkwPMIWriter.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <utility>

#include "ApiSysFileAccess.h"
#include "JtPartition.h"
#include "JtTk/JtkwPMIAttributes.h"
#include "JtTk/JtkwPMIGathering.h"
#include "JtTk/JtkwPMIText.h"
#include "JtkEntityFactory.h"
#include "JtkPart.h"
#include "JtkwPMIAnnotationData.h"
#include "JtkwPMIAppearanceData.h"
#include "JtkwPMIFrameData.h"
#include "JtkwPMITypeMaps.h"
#include "JtwCollection.h"
#include "JtwFrame.h"
#include "JtwPMIAnnotation.h"
#include "JtwRoot.h"
#include "VisMetaDataNode.h"

namespace {

using Graphics = ApiGraphicsPMIAnnotationData;

/// The wrapper of a JT node that can carry PMI, or null.
JtwNode* carrierOf(JtNode* node, JtwRoot* root) {
  if (!node || !root) return nullptr;
  return node == root->jtNode() ? root : root->nodeByJtNode(node);
}

bool refuse(const char* reason) {
  jt::setLastError(reason);
  return false;
}

/// Nothing is lost when the node has no manager instead of this one.
bool isSpent(const PMIDataManager& pmi) {
  const jt::PMIData& data = pmi.data();
  const auto isZero = [](std::byte byte) { return byte == std::byte{0}; };
  return pmi.isEmpty() && data.designGroups.empty() && data.userAttributes.empty() &&
         data.coordinateSystems.empty() && std::ranges::all_of(data.trailingBytes, isZero) &&
         !data.form.opaqueRest;
}

}  // namespace

JtkwPMIWriter::JtkwPMIWriter() = default;
JtkwPMIWriter::JtkwPMIWriter(const JtkwPMIWriter&) = default;
JtkwPMIWriter& JtkwPMIWriter::operator=(const JtkwPMIWriter&) = default;
JtkwPMIWriter::~JtkwPMIWriter() = default;

bool JtkwPMIWriter::execute(const RWClassicTValOrderedVector<JtwPMI*>& pmis, JtNode* node,
                            JtwRoot* root) {
  auto* holder = jt::as<VisMetaDataNode>(node);
  carrier_ = carrierOf(node, root);
  if (!holder || !carrier_)
    return refuse("PMI can be written to the assemblies and parts of an opened component only");
  if (!holder->ensurePMI()) return false;
  PMIDataManager* const present = holder->pmi();
  if (!present && pmis.empty()) return true;
  if (present && present->entities().size() > carrier_->gatheredPMIs())
    return refuse("the PMI of the node was not gathered: writing would delete what it has");

  const auto part = jt::Ref<JtkPart>(JtkEntityFactory::createPart("DEFAULT", 0, -1));
  part->load(present);
  initJtkPMIMap(part.get());
  written_.clear();
  for (JtwPMI* pmi : pmis) {
    enterSpaceOf(*pmi);
    if (pmi->type() == JtwNode::JT_FRAME_NODE)
      writeCoordinateSystemPMI(static_cast<JtwFrame*>(pmi), part.get());
    else if (pmi->type() == JtwNode::JT_PMI_ANNOTATION_NODE)
      writeAnnotationPMI(static_cast<JtwPMIAnnotation*>(pmi), part.get());
  }
  std::set<JtkPMIEntity*> kept;
  removeDeletedPMI(part.get(), kept);
  if (unitsFactor_ != 1.0F) handleMeasurementOfNonSupportedPMI(kept);

  jt::Ref<PMIDataManager> rebuilt;
  if (part->updatePMIDataManager(rebuilt) != 1) return false;
  if (rebuilt && isSpent(*rebuilt)) rebuilt = nullptr;
  if (rebuilt != present) holder->setPMI(rebuilt.get());
  for (const auto& [pmi, entity] : written_) pmi->setStored(entity->position());
  carrier_->setGatheredPMIs(rebuilt ? rebuilt->entities().size() : 0);
  written_.clear();
  existing_.clear();
  return true;
}

void JtkwPMIWriter::enterSpaceOf(JtwPMI& pmi) {
  if (!pmi.collection() || pmi.collection() == space_) return;
  space_ = pmi.collection();
  const jtw::PMISpace space = jtw::pmiSpace(*carrier_, *space_);
  transform_ = space.reference;
  unitsFactor_ = space.unitRatio;
}

void JtkwPMIWriter::initJtkPMIMap(JtkPart* part) {
  existing_.clear();
  for (int i = part->numChildren(); i-- > 0;)
    if (JtkPMIEntity* entity = part->child(i); entity->isOfType(JtkEntity::PMI_ENTITY))
      existing_.emplace_hint(existing_.begin(), i, jt::Ref<JtkPMIEntity>(entity));
}

JtkPMIEntity* JtkwPMIWriter::getJtkPMI(JtwPMI* node) {
  const auto found = existing_.find(node->id());
  if (found == existing_.end()) return nullptr;
  const jt::Ref<JtkPMIEntity> entity = found->second;  // the part has a reference too
  existing_.erase(found);
  written_.emplace_back(node, entity);
  return entity.get();
}

bool JtkwPMIWriter::isAsRead(JtwPMI& node, const JtkPMIEntity& entity) const {
  return entity.manager() && jtw::isAsStored(node, *entity.manager(), {unitsFactor_, transform_});
}

bool JtkwPMIWriter::writeAnnotationPMI(JtwPMIAnnotation* node, JtkPart* part) {
  const ApiWmPMIAnnotationData& data = node->annotationData();
  const Graphics& graphics = data.graphics;
  JtkPMIEntity* entity = getJtkPMI(node);
  if (entity && isAsRead(*node, *entity)) return true;
  const bool isNew = !entity || node->isRenewed();

  JtkwPMIAnnotationData record;
  record.setRWWDisplayName(node->name());
  record.setRelLoc(node->relLoc(), &transform_);
  record.setPlanarOrientation(graphics.displayPlaneXAxis, graphics.displayPlaneYAxis);
  record.setLayer(data.layer);
  auto strokes = graphics.textPolylineSet;
  const bool isRebuilt = isNew || transform_ != RTTran3D::unit || unitsFactor_ != 1.0F;
  if (isRebuilt) {
    record.setTextHeight(graphics.textHeight);
    if (strokes.empty() && !data.textLines.empty()) {
      record.setTextHeight(jtw::textHeightOf(graphics));
      strokes = jtw::layOutText(data.textLines, record, record.textHeight());
    }
    record.setGeomPolylineSet(graphics.geomPolylineSet, graphics.geomPolylineTypes);
    record.setTextPolylineSet(strokes);
  }
  JtkwPMIAppearanceData appearance;
  if (isNew)
    writeAppearanceProperties(graphics, appearance);
  else if (graphics.isInstanceInfo(Graphics::FOREGROUND_COLOR))
    JtkwPMIAppearanceData::setGraColor(graphics.textForegroundColor,
                                       appearance.textForegroundColorField());
  record.setAppearanceData(&appearance);
  if (entity && unitsFactor_ != 1.0F) handleMeasurementOfNonSupportedProp(entity);

  JtkEntity::TypeID type = JtkEntity::PMI_NONE;
  int subType = -1;
  JtkwPMITypeMaps::the().getJtTkFromApiPMIType(data.annotationType, type, subType);
  if (type == JtkEntity::PMI_NONE) return true;
  record.setAnnotationBaseType(type);
  record.setAnnotationSubType(subType);
  const bool isExisting = entity != nullptr;
  if (isExisting && isNew) jtw::clearForRenewal(*entity);
  const JtwNwObjData* keys = node->key().isNull() ? nullptr : node->KrData();
  const bool done = writePMI(record, NwObj::ANNOTATION, part, entity, keys);
  if (!entity) return done;
  if (!isExisting) {
    written_.emplace_back(node, entity);
    jtw::carryAttributes(node->carriedAttributes(), *entity);
  }
  if (isRebuilt) jtw::setTextAttributes(data.textLines, strokes.size(), *entity);
  if (isNew) static_cast<JtkPMIVisualEntity*>(entity)->setFlatToScreen(!graphics.textInPlane);
  if (unitsFactor_ != 1.0F) handleMeasurementOfNonSupportedProp(entity);
  return done;
}

void JtkwPMIWriter::matchFrame(JtwFrame& frame) {
  if (frame.id() >= 0 || frame.key().isNull()) return;
  for (const auto& [index, entity] : existing_)
    if (entity->isOfType(JtkEntity::PMI_COORDINATE_SYSTEM) &&
        jtw::keyOf(entity->data()) == frame.key()) {
      frame.setId(index);
      return;
    }
}

bool JtkwPMIWriter::writeCoordinateSystemPMI(JtwFrame* node, JtkPart* part) {
  matchFrame(*node);
  JtkPMIEntity* entity = getJtkPMI(node);
  if (entity && isAsRead(*node, *entity)) return true;
  JtkwPMIFrameData record;
  record.setRWWDisplayName(node->name());
  record.setRelLoc(node->relLoc(), &transform_);
  record.setVisibility(node->displayState());
  bool isDefault = true;
  record.setGraShapeColor(node->color(isDefault));
  const bool isExisting = entity != nullptr;
  const JtwNwObjData* keys = node->key().isNull() ? nullptr : node->KrData();
  const bool done = writePMI(record, NwObj::COORDINATE_SYSTEM, part, entity, keys);
  if (entity && !isExisting) written_.emplace_back(node, entity);
  return done;
}

void JtkwPMIWriter::removeDeletedPMI(JtkPart* part, std::set<JtkPMIEntity*>& kept) {
  std::vector<JtkPMIEntity*> gone;
  for (const auto& [index, entity] : existing_) {
    if (jtw::isRemovable(entity->data()))
      gone.push_back(entity.get());
    else
      kept.insert(entity.get());
  }
  part->removePMIs(gone);
}

void JtkwPMIWriter::handleMeasurementOfNonSupportedPMI(const std::set<JtkPMIEntity*>& entities) {
  for (JtkPMIEntity* entity : entities) handleMeasurementOfNonSupportedProp(entity);
}

void JtkwPMIWriter::handleMeasurementOfNonSupportedProp(JtkPMIEntity* entity) {
  auto* generic = static_cast<JtkPMIGenericEntity*>(entity);
  const JtString name(jtw::pmi::kAnchorPoint);
  if (!entity->isChanged() || entity->data().base.frameFlag == 0 || !generic->attrProperty(name))
    return;
  const auto& frame = entity->data().base.frame;
  char text[160];  // a float has at most 47 characters so
  std::snprintf(text, sizeof text, "%f %f %f", static_cast<double>(frame[0]),
                static_cast<double>(frame[1]), static_cast<double>(frame[2]));
  generic->addAttrProperty(name, JtString(text));
}

bool JtkwPMIWriter::shouldWriteAppearanceProperty(const Graphics& data, short flag) {
  return data.isInstanceInfo(flag) || data.isPrototypeInfo(flag);
}

void JtkwPMIWriter::writeAppearanceProperties(const Graphics& data,
                                              JtkwPMIAppearanceData& appearance) {
  const auto has = [&data](short flag) { return shouldWriteAppearanceProperty(data, flag); };
  if (has(Graphics::FOREGROUND_COLOR))
    appearance.setGraColor(data.textForegroundColor, appearance.textForegroundColorField());
  if (has(Graphics::BACKGROUND_COLOR))
    appearance.setGraColor(data.textBackgroundColor, appearance.textBackgroundColorField());
  if (has(Graphics::BACKGROUND_OPACITY))
    appearance.setTransparency(data.textBackgroundColor.getAlpha());
  if (has(Graphics::BORDER)) appearance.setTextHasBorder(data.textHasBorder);
  if (has(Graphics::FONT_SIZE)) appearance.setFontSize(data.fontSize);
  if (has(Graphics::DISPLAY_MODE)) appearance.setTextInPlane(data.textInPlane);
  if (has(Graphics::GEOM_COLOR))
    appearance.setGraColor(data.geomColor, appearance.geomColorField());
  if (has(Graphics::GEOM_WIDTH)) appearance.setGeomWidth(data.geomWidth);
}

RWClassicCString JtkwPMIWriter::fontsFilePath() {
  constexpr std::size_t kLongestFolder = 260;
  RWClassicCString folder = ApiSysFileAccess::programFolder();
  folder.resize(std::min(folder.size(), kLongestFolder));
  return folder + "QNPMIFonts.bin";
}
