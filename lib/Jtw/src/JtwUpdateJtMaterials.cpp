#include "JtwUpdateJtMaterials.h"

#include <exception>

#include "ApiErrStream.h"
#include "DmKrUtilsInterface.h"
#include "JtStreamMgr.h"
#include "JtSwitch.h"
#include "JtwFileNaming.h"
#include "JtwManager.h"
#include "JtwPropertyNames.h"
#include "JtwRoot.h"
#include "JtwSceneGraph.h"
#include "JtwTraverse.h"
#include "VisMetaDataNode.h"
#include "VisPartNode.h"

namespace jtw {
namespace {

/// The level that the host's error stream shows "updated already" with.
constexpr int kAlreadyUpdatedLevel = 3;
/// Representations of a switch that carry the mark.
constexpr int kMarkedRepresentations = 2;

/// Begins a report; the caller adds what else there is to say, and closes it.
ApiErrMessage report(const char* code, int line, const RWClassicCString& path) {
  ApiErrMessage message;
  message << ApiErrCode(code)
          << ApiErrPosition(__FILE__, "JtwUpdateJtMaterials::executeOnComponent", line) << path;
  return message;
}

/// False for a number that is 0. Other marks count by being there.
bool isNonZero(const JtPropAtom& value) {
  if (const auto* number = jt::as<JtInt32PropAtom>(&value)) return number->value() != 0;
  if (const auto* number = jt::as<JtFloatPropAtom>(&value)) return number->value() != 0;
  return true;
}

}  // namespace
}  // namespace jtw

JtwUpdateJtMaterials::JtwUpdateJtMaterials()
    : markerKey_(jt::make<JtStringPropAtom>(JtString(jtw::kUpdatedMaterials)).release()) {}

JtwUpdateJtMaterials::~JtwUpdateJtMaterials() { markerKey_->unref(); }

bool JtwUpdateJtMaterials::executeOnComponent(const ApiDocumentRef& doc) {
  RWClassicCString directory;
  RWClassicCString fileName;
  try {
    jt::setLastError({});
    if (!JtwManager::the().getFileNameFromDocument(doc, directory, fileName)) {
      jt::setLastError(jtw::pathOf(doc) + ": there is no JT file in the document");
      return false;
    }
    // Without a name the document itself is the JT file, and missing.
    const RWClassicCString path = directory + fileName;
    return updateFile(path.empty() ? jtw::pathOf(doc) : path);
  } catch (const std::exception& failure) {
    jt::setLastError(failure, jtw::pathOf(doc));
    return false;
  }
}

bool JtwUpdateJtMaterials::updateFile(const RWClassicCString& path) {
  const jt::Ref<JtPartition> partition =
      DmKrUtilsInterface::OpenJt(path, JtwManager::the().readLimits());
  if (!partition) {
    jtw::report("JTUPDATE_OPEN_FILE_FAILED", __LINE__, path) << endErr;
    return false;
  }
  if (!initKrComponentNode(partition.get())) {
    jtw::report("JTUPDATE_FILE_IS_NATIVE_JT", __LINE__, path) << endErr;
    return true;
  }
  if (hasComponentBeenUpdated()) {
    jtw::report("JTUPDATE_FILE_HAS_BEEN_UPDATED", __LINE__, path)
        << jtw::kAlreadyUpdatedLevel << endErr;
    return true;
  }
  if (!DmKrUtilsUpdateJtMaterials(false).execute(partition.get(), conversion_)) return false;
  addPropToUpdatedComponent();
  partition->setVersion(JtStreamMgr(*partition).getVersion());
  if (save(*partition)) return true;
  jtw::report("JTUPDATE_SAVE_FILE_FAILED", __LINE__, path) << endErr;
  return false;
}

bool JtwUpdateJtMaterials::executeOnUpgradedComponent(JtwRoot* root) {
  JtPartition* const partition = root ? root->partition() : nullptr;
  if (!partition || !initKrComponentNode(partition)) return false;
  const bool converted = DmKrUtilsUpdateJtMaterials(true).execute(partition, conversion_);
  if (converted) addPropToUpdatedComponent();
  return converted;
}

bool JtwUpdateJtMaterials::initKrComponentNode(const JtPartition* partition) {
  JtSwitch* switchNode = nullptr;
  componentNode_ = hasKrSwitch(partition, switchNode) ? static_cast<JtNode*>(switchNode)
                                                      : jtw::componentOf(*partition);
  return componentNode_ != nullptr;
}

bool JtwUpdateJtMaterials::hasKrSwitch(const JtPartition* partition, JtSwitch*& switchNode) {
  switchNode = partition->numChildren() == 1 ? jt::as<JtSwitch>(partition->child(0)) : nullptr;
  if (!switchNode) return false;
  const auto key = jt::make<JtStringPropAtom>(JtString(jtw::kSwitch));
  JtPropAtom* value = nullptr;
  return switchNode->lookupProperty(key.get(), value, true) && value && jtw::isNonZero(*value);
}

bool JtwUpdateJtMaterials::hasComponentBeenUpdated() {
  const JtNode* const marked =
      jt::as<JtSwitch>(componentNode_) ? componentNode_->child(0) : componentNode_;
  JtPropAtom* value = nullptr;
  return marked && marked->lookupProperty(markerKey_, value, true) && value;
}

void JtwUpdateJtMaterials::addPropToUpdatedComponent() {
  const auto value = jt::make<JtVoidPtrPropAtom>();
  if (!jt::as<JtSwitch>(componentNode_)) {
    componentNode_->addProperty(markerKey_, value.get(), true);
    return;
  }
  for (int index = 0; index < jtw::kMarkedRepresentations; ++index)
    if (JtNode* const representation = componentNode_->child(index))
      representation->addProperty(markerKey_, value.get(), true);
}

bool JtwUpdateJtMaterials::save(JtPartition& partition) {
  saveOptions_.version.reset();
  try {
    saved_ = partition.saveAllPartitions(saveOptions_);
    return true;
  } catch (const JtFormatError& error) {
    saveError_ = error;
    jt::setLastError(error.what());
  } catch (const std::exception& failure) {
    jt::setLastError(failure.what());
  }
  return false;
}
