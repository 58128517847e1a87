// How a root comes to its partition and lets go of it; the component node is JtwRootComponent.cpp.

#include "JtwRoot.h"

#include <exception>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include "ApiErrStream.h"
#include "ApiSysFilePath.h"
#include "DbDocument.h"
#include "DmKrUtilsComputeHierarchyComplexity.h"
#include "DmKrUtilsStreamObject.h"
#include "DmKrUtilsStreamStorageLocation.h"
#include "JtByteText.h"
#include "JtStorageLocation.h"
#include "JtwFileNaming.h"
#include "JtwKeyTable.h"
#include "JtwManager.h"
#include "JtwPMI.h"
#include "JtwRootEdits.h"
#include "JtwWalkMemo.h"
#include "JtwWrapperTable.h"

const unsigned JtwRoot::currentVersion_ = 2;

namespace jtw {
namespace {

/// The viewer's partition is not shared beyond this many nodes.
constexpr std::uint64_t kComplexityLimit = 100000;

/// Reports to the user what the version of the file has no form for.
void reportLost(const jt::SaveReport& report) {
  for (const jt::LostGeometry& lost : report.lostGeometry)
    apiErr << ApiErrCode("JTEXPORT_EXACT_GEOMETRY_LEFT_OUT")
           << ApiErrPosition(__FILE__, "JtwRoot::writeToDatastore", __LINE__) << lost.part
           << lost.reason << endErr;
}

}  // namespace
}  // namespace jtw

JtwRoot::JtwRoot(JT_LOADING_REPRESENTATION loadingRep)
    : JtwCollection(nullptr, this),
      nodesByJtNode_(std::make_unique<jtw::WrapperTable>()),
      nodesByKey_(std::make_unique<jtw::KeyTable>()),
      loadingRep_(loadingRep) {}

JtwRoot::JtwRoot() : JtwRoot(JT_LOAD_WITH_UNIT_PROPERTY) {}

JtwRoot::JtwRoot(const JtwRoot& other)
    : JtwCollection(other.jtNode(), this),
      nodesByJtNode_(std::make_unique<jtw::WrapperTable>()),
      nodesByKey_(std::make_unique<jtw::KeyTable>()),
      loadingRep_(other.loadingRep_),
      partition_(other.partition_),
      isJtKR_(other.isJtKR_),
      hasKrSwitch_(other.hasKrSwitch_),
      isNewCopy_(other.isNewCopy_),
      openError_(other.openError_),
      sharers_(other.sharers_) {}

JtwRoot& JtwRoot::operator=(const JtwRoot& other) {
  if (this == &other) return *this;
  uninitialize();
  setJtNode(other.jtNode());
  forgetCached();
  loadingRep_ = other.loadingRep_;
  partition_ = other.partition_;
  isJtKR_ = other.isJtKR_;
  hasKrSwitch_ = other.hasKrSwitch_;
  isNewCopy_ = other.isNewCopy_;
  openError_ = other.openError_;
  sharers_ = other.sharers_;
  return *this;
}

JtwRoot::~JtwRoot() { uninitialize(); }

RWClassicCString JtwRoot::getVersionAsString(unsigned version) {
  switch (version) {
    case 1:
      return "7.6Dev";
    case 2:
      return "7.6";
    default:
      return {};
  }
}

JtStorageLocation* JtwRoot::getStorageLocation() const {
  return partition_ ? partition_->storageLocation() : nullptr;
}

bool JtwRoot::updateStorageLocation(const RWClassicCString& location,
                                    const RWClassicCString& name) {
  if (!partition_ || name.empty()) return false;
  const auto place =
      jt::make<JtFSStorageLocation>(jt::textOfBytes(location), jt::textOfBytes(name));
  partition_->setStorageLocation(place.get());
  return true;
}

void JtwRoot::setPartition(jt::Ref<JtPartition> partition) {
  if (link_) link_->root = nullptr;
  link_ = nullptr;
  partition_ = std::move(partition);
  sharers_ = partition_ ? std::make_shared<char>() : nullptr;
  group_ = nullptr;
  setJtNode(nullptr);
  forgetCached();
}

bool JtwRoot::initialize(const ApiDocumentRef& document, OPEN_JT_ERR& error) {
  const jt::ChangeJournal::Pause noTransaction;
  jt::setLastError({});
  bool opened = false;
  try {
    opened = openOrShare(document, error);
  } catch (const std::exception& failure) {
    jt::setLastError(failure, jtw::pathOf(document));
  } catch (...) {
    jt::setLastError(std::runtime_error(kUnknownException), jtw::pathOf(document));
  }
  if (!opened) {
    error = JT_INITIALIZE_FAILED;
    openError_ = error;
  }
  return opened;
}

bool JtwRoot::openOrShare(const ApiDocumentRef& document, OPEN_JT_ERR& error) {
  setPartition(nullptr);
  JtwManager& manager = JtwManager::the();
  JtPartition* const shared = manager.usingJtViewer() ? manager.findJtPartition(document) : nullptr;
  if (shared) {
    const DmKrUtilsComputeHierarchyComplexity complexity(shared, jtw::kComplexityLimit);
    if (shared->openCount() == 0 || complexity.IsComplexityHigherThanLimit()) {
      isNewCopy_ = true;
    } else {
      setPartition(jt::Ref<JtPartition>(shared));
      // Runs once more below: the second run finds the component that this one leaves.
      initializeComponentNode(document);
    }
  }
  if (!partition_) openPartition(document, error);
  return partition_ && initializeComponentNode(document);
}

bool JtwRoot::initializeAsNew(const ApiDocumentRef& document) {
  const jt::ChangeJournal::Pause noTransaction;
  setPartition(jt::make<JtPartition>(nullptr, true));
  const bool initialized = initializeComponentNode(document);
  RWClassicCString location;
  RWClassicCString name;
  jtw::findDatastorePlace(document, location, name);
  updateStorageLocation(location, name);
  return initialized;
}

void JtwRoot::openPartition(const ApiDocumentRef& document, OPEN_JT_ERR& error) {
  const jt::Ref<JtStorageLocation> location(computeLocation(document, error));
  if (JtwManager::the().usingJtViewer()) JtPartition::_autoLoadShapes = false;
  if (location) openPartitionAt(location.get());
}

bool JtwRoot::openPartitionAt(JtStorageLocation* location) {
  JtPartition* opened = nullptr;
  try {
    JtPartition::openPartition(location, nullptr, opened, JtwManager::the().readLimits());
  } catch (const std::exception& failure) {
    // What counts is whether a partition came back.
    jt::setLastError(failure, jt::bytesOfText(location->displayName()));
  } catch (...) {
    jt::setLastError(std::runtime_error(kUnknownException),
                     jt::bytesOfText(location->displayName()));
  }
  if (!opened) return false;
  setPartition(jt::Ref<JtPartition>::adopt(opened));
  JtPartition::openAllPartitions(opened, true);
  return true;
}

JtStorageLocation* JtwRoot::computeLocation(const ApiDocumentRef& document, OPEN_JT_ERR& error) {
  CComPtr<IStream> stream;
  if (!getStreamFromDocument(document, stream)) {
    jt::setLastError(jtw::pathOf(document) +
                     ": the document keeps its JT data in a stream, but has none");
    return nullptr;
  }
  if (stream) {
    auto* place = new DmKrUtilsStreamStorageLocation;
    place->setStreamObject(jt::make<DmKrUtilsStreamObject>(stream).get());
    return place;
  }
  RWClassicCString location;
  RWClassicCString name;
  if (JtwManager::getFileNameFromDocument(document, location, name)) {
    // Without a name the document itself is the JT file, and missing: opening it says so.
    if (name.empty()) name = jtw::pathOf(document);
    return new JtFSStorageLocation(jt::textOfBytes(location), jt::textOfBytes(name));
  }
  setJtError(location, error);
  jt::setLastError(jtw::pathOf(document) + (error == JT_PATH_NOT_FOUND
                                                ? ": there is no such document"
                                                : ": there is no JT file in the document"));
  return nullptr;
}

bool JtwRoot::hasJtData(const ApiDocumentRef& document, OPEN_JT_ERR& error) {
  auto why = JT_FILE_NOT_FOUND;
  const jt::Ref<JtStorageLocation> place(computeLocation(document, why));
  const auto* file = jt::as<JtFSStorageLocation>(place.get());
  if (place && (!file || ApiSysFilePath(file->fullFilePath()).exists())) return true;
  error = why;
  return false;
}

bool JtwRoot::getStreamFromDocument(const ApiDocumentRef& document, CComPtr<IStream>& stream) {
  stream.Release();
  const auto access = DbDocument::docAccess(document, DbDocument::STREAM);
  const auto* streamAccess = dynamic_cast<const DbIStreamAccess*>(access.get());
  if (!streamAccess) return true;
  const bool might = streamAccess->mightHaveIStream();
  if (!might && !streamAccess->shouldHaveIStream()) return true;
  stream = streamAccess->getIStream();
  return stream || might;
}

void JtwRoot::setJtError(const RWClassicCString& path, OPEN_JT_ERR& error) {
  const bool present = path.empty() || ApiSysFilePath(path).exists();
  error = present ? JT_FILE_NOT_FOUND : JT_PATH_NOT_FOUND;
}

bool JtwRoot::uninitialize() {
  destroyNodes();
  if (!partition_) return true;
  JtwManager& manager = JtwManager::the();
  const bool lastSharer = sharers_.use_count() <= 1;
  if (manager.usingJtViewer()) {
    // Of the references on the partition, which are this root's own?
    const int own = jtNode() == partition_.get() ? 2 : 1;
    if (partition_->refCount() <= own) manager.removeJtPartition(partition_.get());
  } else if (lastSharer) {
    partition_->close();
  }
  setPartition(nullptr);
  return true;
}

void JtwRoot::destroyNodes() {
  forgetWrappers();
  deleted_.clear();
}

void JtwRoot::forgetWrappers() noexcept {
  // Destructors come here: the list takes no memory.
  JtwNode* first = nullptr;
  const auto add = [this, &first](JtwNode* node) {
    if (node == this || node->nextToEnd_) return;
    node->nextToEnd_ = first ? first : node;
    first = node;
  };
  const auto next = [](const JtwNode* node) {
    return node->nextToEnd_ == node ? nullptr : node->nextToEnd_;
  };
  for (const auto& entry : nodesByKey_->all()) add(entry.second);
  nodesByJtNode_->forEach([&add](JtNode*, JtwNode* node) { add(node); });
  for (JtwNode* node : unkeyedPMIs_) add(node);
  // Collections and PMI refer to each other: they part while all of them are alive.
  for (JtwNode* node = first; node; node = next(node))
    if (node->isCollection() != 0) static_cast<JtwCollection*>(node)->uninit();
  uninit();
  ++forgotten_;
  nodesByKey_->clear();
  nodesByJtNode_->clear();
  pmisByJtNode_.clear();
  unkeyedPMIs_.clear();
  entries_.byKey = entries_.byJtNode = 0;
  framesRead_ = framesFound_ = pmisCalculated_ = false;
  framesStored_ = 0;
  setGatheredPMIs(0);
  forgetCached();
  while (first) {
    JtwNode* const node = std::exchange(first, next(first));
    if (walks_ == 0) {
      delete node;
      continue;
    }
    try {
      deleted_.emplace(node, nullptr).first->second.reset(node);
    } catch (const std::bad_alloc&) {  // the walk may still use it
    }
  }
}

bool JtwRoot::regroup(jt::Ref<JtGroup> group) {
  group_ = std::move(group);
  return group_ && group_->addChild(jtNode());
}

std::optional<jt::SaveReport> JtwRoot::writeToDatastore(JtNode* node,
                                                        const jt::SaveOptions& options) {
  jt::setLastError({});
  if (link_ && link_->isInTransaction) {
    jt::setLastError("a transaction is open: commit it or roll it back before writing");
    return std::nullopt;
  }
  JtStorageLocation* const place = getStorageLocation();
  if (!place) {
    jt::setLastError(partition_ ? "the component has no place to be written to"
                                : "the component is not open");
    return std::nullopt;
  }
  try {
    jt::SaveReport report = node && node != partition_.get()
                                ? partition_->saveAs(node, place, options)
                                : partition_->save(nullptr, options);
    jtw::reportLost(report);
    return report;
  } catch (const std::exception& failure) {
    jt::setLastError(failure, jt::bytesOfText(place->displayName()));
  } catch (...) {
    jt::setLastError(std::runtime_error(kUnknownException), jt::bytesOfText(place->displayName()));
  }
  return std::nullopt;
}

void JtwRoot::rebindNodes(const std::unordered_map<JtNode*, JtNode*>& replacements) {
  const auto rebind = [&replacements](JtwNode& wrapper) {
    const auto found = replacements.find(wrapper.jtNode());
    if (found == replacements.end()) return;
    wrapper.setJtNode(found->second);
    if (!wrapper.isOfTypePMI()) wrapper.forgetCached();  // a PMI's place and color are its own
  };
  std::unordered_set<JtwNode*> wrappers{this};
  for (const auto& entry : nodesByKey_->all()) wrappers.insert(entry.second);
  nodesByJtNode_->forEach([&wrappers](JtNode*, JtwNode* node) { wrappers.insert(node); });
  for (JtwNode* wrapper : wrappers) rebind(*wrapper);

  ++forgotten_;
  const auto replaced = [&replacements](JtNode* node) {
    const auto found = replacements.find(node);
    return found == replacements.end() ? node : found->second;
  };
  jtw::WrapperTable byJtNode;
  nodesByJtNode_->forEach(
      [&](JtNode* node, JtwNode* wrapper) { byJtNode.insert(replaced(node), wrapper); });
  *nodesByJtNode_ = std::move(byJtNode);
  auto pmisByOldNode = std::exchange(pmisByJtNode_, {});
  for (auto& [node, pmis] : pmisByOldNode)
    pmisByJtNode_.emplace(replaced(const_cast<JtNode*>(node)), std::move(pmis));
  for (const auto& [node, pmis] : pmisByJtNode_)
    for (JtwPMI* pmi : pmis.entries()) {
      pmi->origin_ = jt::Ref<const JtNode>(node);
      pmi->filedUnder_ = pmi->filings_ == 1 ? node : nullptr;
      rebind(*pmi);  // frames without key are in no other map
    }
}
