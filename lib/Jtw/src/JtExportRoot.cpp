#include "JtExportRoot.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "ApiClock.h"
#include "ApiSysStringConvertors.h"
#include "Jt.h"
#include "JtByteText.h"
#include "JtChangeJournal.h"
#include "JtGroup.h"
#include "JtStorageLocation.h"
#include "JtwFileNaming.h"
#include "JtwManager.h"
#include "JtwPMIs.h"
#include "JtwProperties.h"
#include "JtwSceneGraph.h"
#include "VisMetaDataNode.h"

namespace jtw {
namespace {

using Pairs = std::unordered_map<JtNode*, JtNode*>;

/// Each node below two graphs of the same shape, with its counterpart.
Pairs pairNodes(JtNode* original, JtNode* copy) {
  Pairs pairs;
  std::vector<std::pair<JtNode*, JtNode*>> open{{original, copy}};
  while (!open.empty()) {
    const auto [from, to] = open.back();
    open.pop_back();
    if (!from || !to || !pairs.emplace(from, to).second) continue;
    for (int index = 0; index < from->numChildren(); ++index)
      open.emplace_back(from->child(index), to->child(index));
  }
  return pairs;
}

/// A node with all that a partition holds and what is said of it, for a component that is its
/// partition. The partition is empty afterwards.
jt::Ref<JtNode> asMetaDataNode(JtPartition& partition) {
  auto node = jt::make<VisMetaDataNode>();
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int index = 0; partition.getProperty(index, key, value); ++index)
    node->addProperty(key, value, true);
  for (int index = 0; index < partition.numAttributes(); ++index)
    node->appendAttribute(partition.attribute(index));
  moveChildren(partition, *node);
  return jt::Ref<JtNode>(node);
}

}  // namespace
}  // namespace jtw

bool JtExportRoot::initialize(const ApiDocumentRef& document) try {
  const jt::ChangeJournal::Pause noTransaction;
  jt::setLastError({});
  setPartition(nullptr);
  JtwManager& manager = JtwManager::the();
  if (manager.usingJtViewer()) {
    if (JtPartition* const shared = manager.findJtPartition(document)) {
      setPartition(jt::Ref<JtPartition>(shared));
      return initializeComponentNode(document);
    }
  }
  RWClassicCString location;
  RWClassicCString name;
  if (!JtwManager::getExportFileNameFromDocument(document, location, name)) {
    jt::setLastError(location + name + ": there is no such file");
    return false;
  }
  const auto place =
      jt::make<JtFSStorageLocation>(jt::textOfBytes(location), jt::textOfBytes(name));
  if (manager.usingJtViewer()) JtPartition::_autoLoadShapes = false;
  return openPartitionAt(place.get()) && initializeComponentNode(document);
} catch (const std::exception& failure) {
  jt::setLastError(failure, jtw::pathOf(document));
  setPartition(nullptr);
  return false;
} catch (...) {
  jt::setLastError(std::runtime_error(kUnknownException), jtw::pathOf(document));
  setPartition(nullptr);
  return false;
}

bool JtExportRoot::initializeAsNew(const ApiDocumentRef& document) {
  const jt::ChangeJournal::Pause noTransaction;
  setPartition(jt::make<JtPartition>(nullptr, true));
  RWClassicCString location;
  RWClassicCString name;
  JtwManager::getExportLocationAndName(document, location, name);
  updateStorageLocation(location, name);
  return initializeComponentNode(document);
}

bool JtExportRoot::stamp(JtNode* node, const char* key, const RWClassicCString& value) {
  return jtw::setString(node, key, JtString(value), true);
}

bool JtExportRoot::stampOnKey(const ApiProtoKey& key, const char* property,
                              const RWClassicWString& value) {
  JtwNode* node = nullptr;
  if (!getNodeByKey(key, node) || !node) return false;
  return stamp(node->jtNode(), property, ApiSysStringConvertors::UnicodeToRWCString(value));
}

bool JtExportRoot::setCadSource() { return stamp(jtNode(), jtw::kCadSource, jtw::kCadSourceValue); }

bool JtExportRoot::setTranslationDate() {
  const ApiClockTime now = ApiClock::utc();
  const auto text = [](int number) { return std::to_string(number); };
  return stamp(jtNode(), jtw::kTranslationDate,
               text(now.day) + '/' + text(now.month) + '/' + text(now.year) + ", " +
                   text(now.hour) + ':' + text(now.minute));
}

bool JtExportRoot::setExternalID(const ApiProtoKey& key, RWClassicWString& id) {
  return stampOnKey(key, jtw::kSourceExternalId, id);
}

bool JtExportRoot::setOriginalName(const ApiProtoKey& key, RWClassicWString& name) {
  return stampOnKey(key, jtw::kSourceOriginalName, name);
}

bool JtExportRoot::createPMIFrame(const ApiProtoKey& /*key*/, const ApiProtoKey& parentKey,
                                  const RTTran3D& /*location*/, RWClassicWString& /*name*/,
                                  ApiGraColor& /*color*/) {
  JtwNode* parent = nullptr;
  return getNodeByKey(parentKey, parent) && parent;
}

bool JtExportRoot::updateRelativeLocation(ApiSysFileName& newPath) {
  const auto* place = jt::as<JtFSStorageLocation>(getStorageLocation());
  if (!place) return false;
  return updateStorageLocation(jtw::folderOf(place->fullFilePath()), newPath.fileName());
}

bool JtExportRoot::write() {
  if (!jtw::writePMIs(*this)) return false;
  jt::SaveOptions options;
  // A file that was opened keeps its version.
  if (partition() && !partition()->container()) {
    const auto& versions = JtwManager::the().getJtVersionList();
    const auto wanted = JtwManager::the().getJtVersion();
    const auto entry = std::ranges::find(versions, wanted, &ApiGraJtVersionData::version);
    if (entry == versions.end()) {
      jt::setLastError("the version to export, " + std::to_string(wanted) +
                       ", is none of those in the list of JT versions");
      return false;
    }
    options.version = jt::FileVersion::parse(entry->jtFormatVersion());
  }
  return writeToDatastore(nullptr, options).has_value();
}

bool JtExportRoot::close() {
  if (partition()) partition()->close();
  return true;
}

void JtExportRoot::copyToPartition(JtPartition* target) {
  if (!target || !jtNode()) return;
  jt::Ref<JtNode> copy = Jt::clone(jtNode());
  if (auto* partition = jt::as<JtPartition>(copy.get())) copy = jtw::asMetaDataNode(*partition);
  if (!jt::as<VisMetaDataNode>(copy.get()) || !target->addChild(copy.get())) return;
  rebindNodes(jtw::pairNodes(jtNode(), copy.get()));
}

bool JtExportRoot::disconnect() {
  const jt::Ref<JtNode> component(jtNode());
  if (!component || component.get() == partition()) return false;
  while (auto* parent = jt::as<JtGroup>(component->parent(0)))
    if (!parent->removeChild(component.get())) return false;
  return regroup(jt::make<JtGroup>());
}
