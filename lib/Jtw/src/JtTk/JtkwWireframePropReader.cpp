#include "JtkwWireframePropReader.h"

#include <algorithm>
#include <memory>

#include "DmKrUtilsGeomUtilities.h"
#include "JtTk/JtkwImporter.h"
#include "JtTk/JtkwPMIReader.h"
#include "JtkEntityFactory.h"
#include "JtkPMIEntity.h"
#include "JtkPart.h"
#include "JtwCollection.h"
#include "JtwEntity.h"
#include "JtwPMI.h"
#include "JtwRoot.h"

JtkwWireframePropReader::JtkwWireframePropReader() = default;
JtkwWireframePropReader::JtkwWireframePropReader(const JtkwWireframePropReader&) = default;
JtkwWireframePropReader& JtkwWireframePropReader::operator=(const JtkwWireframePropReader&) =
    default;
JtkwWireframePropReader::~JtkwWireframePropReader() = default;

bool JtkwWireframePropReader::execute(JtwEntity* entity, VisPartNode* part) {
  fillJtkWireMap(nullptr);
  if (!part || part->ensureWFRep() != 1) return false;
  const JtWireframeRep* stored = DmKrUtilsGeomUtilities::getJtWFRepOfVisPartNode(part);
  if (!stored || stored->numEdges() == 0) return false;

  constexpr ApiGraColor kGray(204, 204, 204);
  bool isDefault = true;
  defaultColor_ = kGray;
  if (entity) {
    const ApiGraColor own = entity->color(isDefault);
    if (!isDefault) defaultColor_ = own;
  }
  const auto importer = std::make_unique<JtkwImporter>();
  jt::Ref<JtkBrep> brep;
  if (importer->importWFRep(part, brep) != 1 || !brep) return false;
  fillJtkWireMap(brep.get());
  root_ = entity ? entity->root() : nullptr;
  removeMulticadPMI(part);
  root_ = nullptr;
  return true;
}

void JtkwWireframePropReader::fillJtkWireMap(JtkBrep* brep) {
  brep_ = jt::Ref<JtkBrep>(brep);
  wires_.clear();
  const int count = brep ? brep->numEntities(JtkEntity::WIRE) : 0;
  wires_.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i)
    if (const auto* wire = static_cast<const JtkWire*>(brep->entity(JtkEntity::WIRE, i)))
      wires_.insert_or_assign(wire->id(), wire);
}

ApiGraColor JtkwWireframePropReader::getColor(int id) {
  const auto found = wires_.find(id);
  const JtkMaterial* material = found == wires_.end() ? nullptr : found->second->material();
  if (!material) return defaultColor_;
  const jt::Rgba& color = material->diffuseColor();
  return ApiGraColor::fromUnit(color[0], color[1], color[2], color[3]);
}

RWClassicWString JtkwWireframePropReader::getName(int id) {
  const auto found = wires_.find(id);
  return found == wires_.end() ? RWClassicWString() : found->second->name().toWide();
}

void JtkwWireframePropReader::removeMulticadPMI(VisPartNode* part) {
  if (!part || !part->ensurePMI()) return;
  PMIDataManager* const present = part->pmi();
  if (!present) return;
  const auto scratch = jt::Ref<JtkPart>(JtkEntityFactory::createPart("DEFAULT", 0, -1));
  scratch->load_JtkPMIDataManager(present);
  const std::vector<int> removed = JtkwPMIReader(part).genericEntities(kMulticadGeometry);
  std::vector<JtkPMIEntity*> entities;
  entities.reserve(removed.size());
  for (const int position : removed) entities.push_back(scratch->child(position));
  scratch->removePMIs(entities);
  jt::Ref<PMIDataManager> rebuilt;
  if (scratch->updatePMIDataManager(rebuilt) != 1 || !rebuilt || rebuilt == present) return;
  part->setPMI(rebuilt.get());
  followRemoval(*part, removed);
}

/// Annotations know their entity by its position.
void JtkwWireframePropReader::followRemoval(VisPartNode& part,
                                            const std::vector<int>& removed) const {
  JtwNode* carrier = root_ ? root_->nodeByJtNode(&part) : nullptr;
  if (!carrier) return;
  std::size_t gatheredBefore = 0;  // of the removed ones
  for (const int position : removed)
    if (static_cast<std::size_t>(position) < carrier->gatheredPMIs()) ++gatheredBefore;
  for (JtwPMI* pmi : root_->getJtwPMIsOfNode(&part)) {
    if (pmi->id() < 0) continue;
    const auto place = std::ranges::lower_bound(removed, pmi->id());
    if (place != removed.end() && *place == pmi->id()) {
      pmi->clearParent();
      pmi->setOriginJtNode(nullptr);
    } else {
      pmi->setId(pmi->id() - static_cast<int>(place - removed.begin()));
    }
  }
  carrier->setGatheredPMIs(carrier->gatheredPMIs() - gatheredBefore);
}
