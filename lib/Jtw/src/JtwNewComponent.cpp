#include "JtwNewComponent.h"

#include "JtwPropertyNames.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwUpdateJtMaterials.h"

namespace jtw {

bool isMarkedNative(const JtPartition& partition) {
  return partition.property(JtString(kOriginateFromNativeJt)) != nullptr;
}

bool holdsComponent(const JtPartition& partition) { return componentOf(partition) != nullptr; }

bool completeNewComponent(JtwRoot& root) {
  JtPartition* const partition = root.partition();
  if (!partition) return false;
  const auto key = jt::make<JtStringPropAtom>(JtString(kOriginateFromNativeJt));
  partition->deleteProperty(key.get());
  return JtwUpdateJtMaterials().executeOnUpgradedComponent(&root);
}

}  // namespace jtw
