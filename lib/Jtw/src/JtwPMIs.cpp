#include "JtwPMIs.h"

#include <algorithm>
#include <vector>

#include "JtTk/JtkwPMIGathering.h"
#include "JtkPMIEntity.h"
#include "JtkwPMITypeMaps.h"
#include "JtkwPMIWriter.h"
#include "JtwFrame.h"
#include "JtwPMIAnnotation.h"
#include "JtwRoot.h"
#include "VisMetaDataNode.h"

namespace jtw {
namespace {

bool canBeWritten(JtwPMIAnnotation& annotation) {
  JtkEntity::TypeID type = JtkEntity::PMI_NONE;
  int subType = -1;
  const ApiPMIType itsType = annotation.annotationData().annotationType;
  JtkwPMITypeMaps::the().getJtTkFromApiPMIType(itsType, type, subType);
  return type != JtkEntity::PMI_NONE;
}

bool isAnnotation(JtwPMI* pmi) { return pmi->type() == JtwNode::JT_PMI_ANNOTATION_NODE; }

/// The PMI that the JT node of an object is to have. Its frame list keeps the frames; beside
/// annotations, those that are new get a coordinate system too.
std::vector<JtwPMI*> wantedPMIs(JtwRoot& root, JtwNode& carrier) {
  auto pmis = root.getJtwPMIsOfNode(carrier.jtNode());
  const bool hasAnnotation = std::ranges::any_of(pmis, isAnnotation);
  std::erase_if(pmis, [hasAnnotation](JtwPMI* pmi) {
    const bool isNewFrame = !pmi->key().isNull() && pmi->storedKey().isNull();
    return !isAnnotation(pmi) && pmi->id() < 0 && !(isNewFrame && hasAnnotation);
  });
  return pmis;
}

/// How many entities a write would remove if no PMI node claimed them.
std::size_t removableEntities(const PMIDataManager& pmi) {
  std::size_t count = 0;
  for (const jt::PMIGenericEntity& entity : pmi.pmiDataGenericArray())
    if (isRemovable(entity)) ++count;
  return count;
}

bool differ(JtwNode& carrier, const std::vector<JtwPMI*>& pmis) {
  auto* holder = jt::as<VisMetaDataNode>(carrier.jtNode());
  if (pmis.empty() && carrier.gatheredPMIs() == 0) return false;
  const PMIDataManager* pmi = holder->pmi();
  const auto stored = pmi ? pmi->generic() : nullptr;
  std::size_t claimed = 0;
  for (JtwPMI* each : pmis) {
    if (each->id() < 0) {
      if (!isAnnotation(each) || canBeWritten(static_cast<JtwPMIAnnotation&>(*each))) return true;
      continue;
    }
    if (!stored || !isAsStored(*each, *stored, pmiSpace(carrier, *each->collection()))) return true;
    ++claimed;
  }
  return stored && removableEntities(*stored) > claimed;
}

}  // namespace

std::vector<OtherPMI> otherPMIs(JtwNode& carrier, JtwCollection& collection) {
  auto* holder = jt::as<VisMetaDataNode>(carrier.jtNode());
  const PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  if (!pmi) return {};
  const auto shown = pmi->generic();
  const auto& entities = shown->pmiDataGenericArray();
  std::vector<bool> isHosts(entities.size());
  for (const JtwPMI* listed : carrier.root()->getJtwPMIsOfNode(holder))
    if (listed->id() >= 0 && static_cast<std::size_t>(listed->id()) < entities.size())
      isHosts[static_cast<std::size_t>(listed->id())] = true;
  const PMISpace space = pmiSpace(carrier, collection);
  std::vector<OtherPMI> others;
  for (std::size_t i = 0; i < entities.size(); ++i) {
    if (isHosts[i]) continue;
    const int id = static_cast<int>(i);
    const PMIEntity view = shown->pmiEntity(
        PMIDataManager::constructPMITypedID(static_cast<int>(PMIKind::genericEntity), id));
    const bool isSystem =
        jtk::typeOfEntityCode(entities[i].type) == JtkEntity::PMI_COORDINATE_SYSTEM;
    others.push_back({id, entities[i].type, view.typeName().stringToMbs(),
                      view.name().stringToMbs(), isSystem,
                      readCoordinateSystem(entities[i], space)});
  }
  return others;
}

void transformGraphics(ApiGraphicsPMIAnnotationData& graphics, const RTTran3D& by) {
  for (auto* lines : {&graphics.geomPolylineSet, &graphics.textPolylineSet})
    for (auto& line : *lines)
      for (RTVec3D& point : line) point = by.transformPoint(point);
  for (RTVec3D* axis : {&graphics.displayPlaneXAxis, &graphics.displayPlaneYAxis})
    *axis = by.transformDirection(*axis);
}

bool writePMIsOf(JtwNode& node, const RWClassicTValOrderedVector<JtwPMI*>& pmis) {
  const bool isCollection = node.isCollection() != 0;
  if (!isCollection && node.type() != JtwNode::JT_ENTITY_NODE) return true;
  if (!JtkwPMIWriter().execute(pmis, node.jtNode(), node.root())) return false;
  if (!isCollection) return true;
  auto& collection = static_cast<JtwCollection&>(node);
  collection.setHasPreservedPMI(collection.checkForPreservePMI());
  collection.writePMIKeysToJT();
  return true;
}

bool writePMIs(JtwRoot& root) {
  bool done = true;
  for (JtwNode* carrier : root.pmiCarriers()) {
    const std::vector<JtwPMI*> pmis = wantedPMIs(root, *carrier);
    if (differ(*carrier, pmis) && !writePMIsOf(*carrier, pmis)) done = false;
  }
  return done;
}

}  // namespace jtw
