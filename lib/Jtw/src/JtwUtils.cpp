#include "JtwUtils.h"

#include "ApiDocument.h"
#include "ApiDocumentRef.h"
#include "ApiSysStringConvertors.h"
#include "Jt.h"
#include "JtFormatError.h"
#include "JtTk/JtkwPMIGathering.h"
#include "JtTk/JtkwPMIReader.h"
#include "JtwCollection.h"
#include "JtwManager.h"
#include "JtwNode.h"
#include "JtwPMI.h"
#include "JtwPMIAnnotation.h"
#include "JtwPMIs.h"
#include "JtwProperties.h"
#include "JtwSharedAtoms.h"

using jtw::Key;

namespace {

/// @param inherited also look at what is above the node
bool hasProperty(const JtNode* node, const JtPropAtom* key, bool inherited, bool& has) {
  if (!node) return false;
  JtPropAtom* value = nullptr;
  has = node->lookupProperty(key, value, inherited) && value;
  return true;
}

/// Adds PMI to what a node has. False, with the reason in lastError, when that cannot be done.
bool addPMI(JtNode* node, const PMIDataManager& pmi) {
  auto* holder = jt::as<VisMetaDataNode>(node);
  if (!holder) {
    jt::setLastError("PMI cannot be moved to a node that is neither an assembly nor a part");
    return false;
  }
  if (!holder->ensurePMI()) return false;
  try {
    if (PMIDataManager* own = holder->pmi()) {
      own->makeGeneric();  // so that its entities keep their positions
      own->merge(pmi);
    } else {
      const auto made = jt::make<PMIDataManager>();
      made->merge(pmi);
      holder->setPMI(made.get());
    }
    return true;
  } catch (const JtFormatError& error) {
    jt::setLastError(error.what());
    return false;
  }
}

std::size_t entityCount(JtNode* node) {
  auto* holder = jt::as<VisMetaDataNode>(node);
  const PMIDataManager* pmi = holder ? holder->pmi() : nullptr;
  return pmi ? pmi->entities().size() : 0;
}

}  // namespace

bool JtwUtilsJtHasProtoKey(JtNode* node, bool& has) {
  return hasProperty(node, jtw::keyAtom(Key::protoKey), false, has);
}

bool JtwUtilsJtHasKinDevice(JtNode* node, bool& has) {
  return hasProperty(node, jtw::keyAtom(Key::kinBuffer), true, has);
}

bool JtwUtilsJtHasKinModelingDevice(JtNode* node, bool& has) {
  return hasProperty(node, jtw::keyAtom(Key::kinModelingBuffer), true, has);
}

bool JtwUtilsDidJtOriginateFromNativeJt(JtPartition* partition, bool& native) {
  const auto key = jt::make<JtStringPropAtom>(JtString(jtw::kOriginateFromNativeJt));
  return hasProperty(partition, key.get(), true, native);
}

bool JtwUtilsIsPMIModeOn(const JtPartition* partition, bool& on) {
  on = false;
  ApiDocumentRef document;
  if (!JtwManager::the().getApiDocumentRef(partition, document)) return false;
  on = ApiDocument::doesHaveProperty(document, ApiDocument::PMI_MODE);
  return true;
}

bool JtwUtilsShouldExcludePMI(JtwPMI* pmi, bool& exclude) {
  if (!pmi) return false;
  exclude = false;
  if (pmi->type() != JtwNode::JT_PMI_ANNOTATION_NODE) return true;
  const ApiPMIType type = static_cast<JtwPMIAnnotation*>(pmi)->annotationData().annotationType;
  exclude = type == API_PMI_MODEL_VIEW_LABEL ||
            (type != API_PMI_NONE && JtwManager::the().isPMITypeExcluded(type));
  return true;
}

bool JtwUtilsDoesPMIContainMulticadGeom(JtNode* node) {
  return JtkwPMIReader(node).hasGenericEntity(kMulticadGeometry);
}

bool JtwUtilsDoesPMIContatinGraphicPMI(JtNode* node) { return JtkwPMIReader(node).hasGraphicPMI(); }

bool JtwUtilsMovePMIFromNodeToParent(JtwNode* node, VisPartNode* part) {
  if (!part || !part->ensurePMI()) return true;
  const PMIDataManager* pmi = part->pmi();
  JtwNode* parent = node ? node->parentNode() : nullptr;
  const bool isMoved = pmi && !pmi->isEmpty() && parent;
  const std::size_t offset = isMoved ? entityCount(parent->jtNode()) : 0;
  if (isMoved && !addPMI(parent->jtNode(), *pmi)) return true;
  part->setPMI(nullptr);
  if (isMoved && parent->isCollection() != 0)
    jtw::followMovedPMIs(*part, static_cast<JtwCollection&>(*parent), offset);
  return true;
}

// The host's interface has the list by value.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool JtwUtilsWritePMIs(JtwNode* node, RWClassicTValOrderedVector<JtwPMI*> pmis) {
  if (node) jtw::writePMIsOf(*node, pmis);
  return true;
}

RWClassicWString JtwUtilsGetNamePropertyAsRWWString(const JtNode* node) {
  const JtString* name = jtw::stringProperty(node, Jt::jtPropName);
  if (!name) return {};
  const RWClassicWString wide = ApiSysStringConvertors::RWCStringToUnicode(name->stringToMbs());
  return wide.empty() ? name->toWide() : wide;
}

JtString JtwUtilsGetRWWStringAsJtString(const RWClassicWString& s) {
  return JtString(ApiSysStringConvertors::isAscii(s)
                      ? ApiSysStringConvertors::toAscii(s)
                      : ApiSysStringConvertors::UnicodeToRWCString(s));
}

void JtwUtilsConvertRWCStringToJtString(const RWClassicCString& s, JtString& out) {
  out = ApiSysStringConvertors::isAscii(s)
            ? JtString(s)
            : JtString(ApiSysStringConvertors::RWCStringToUnicode(s));
}
