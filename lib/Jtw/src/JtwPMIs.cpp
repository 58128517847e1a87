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
  const PMIDataManager* stored = holder->pmi();
  std::size_t claimed = 0;
  for (JtwPMI* pmi : pmis) {
    if (pmi->id() < 0) {
      if (!isAnnotation(pmi) || canBeWritten(static_cast<JtwPMIAnnotation&>(*pmi))) return true;
      continue;
    }
    if (!stored || !isAsStored(*pmi, *stored, pmiSpace(carrier, *pmi->collection()))) return true;
    ++claimed;
  }
  return stored && removableEntities(*stored) > claimed;
}

}  // namespace

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
