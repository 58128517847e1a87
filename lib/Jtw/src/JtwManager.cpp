#include "JtwManager.h"

#include <utility>

#include "ApiEnvironment.h"
#include "DmKrUtilsStreamStorageManager.h"
#include "Jt.h"
#include "JtBufferProperty.h"
#include "JtExportRoot.h"
#include "JtFactory.h"
#include "JtFrameListProperty.h"
#include "JtResidencyRequestManager.h"
#include "JtkEntityFactory.h"
#include "JtwFileNaming.h"
#include "JtwNode.h"
#include "JtwTraverse.h"

JtwManager& JtwManager::the() {
  static JtwManager manager;
  return manager;
}

JtwManager::JtwManager() {
  // Made first, so that it outlives the registry: roots that are left at exit close partitions.
  JtResidencyRequestManager::instance();
  setUsingJtInCO(ApiEnvironment::isSet(ApiEnvironment::DEBUG_JT_IN_CO));
  initJtVersionList();
}

// Roots ask the registry while they are destroyed, so they go while its tables still exist.
JtwManager::~JtwManager() { roots_.clear(); }

void JtwManager::init() {
  JtLib::init();
  jt::installStorageManager(DmKrUtilsStreamStorageManager::createInstance().get());
  JtBrepLib::init();
  JtXTBrepLib::init();
  the();
  JtFactory::addType(JtFrameListProperty::classTypeID());
  JtFactory::addType(JtBufferProperty::classTypeID());
  JtwNode::init();
  JtwTraverse::init();
  JtkEntityFactory::init();
}

void JtwManager::fini() {
  JtLib::fini();
  JtBrepLib::fini();
  JtXTBrepLib::fini();
  JtwManager& manager = the();
  while (!manager.roots_.empty()) {
    // A copy: the entry that holds the reference goes away. The look-up by key can miss when
    // the document changed its identity; the entry goes all the same.
    const ApiDocumentRef document = manager.roots_.begin()->first;
    if (!manager.releaseRoot(document)) manager.roots_.erase(manager.roots_.begin());
  }
  manager.documentStructures_.clear();
  JtwNode::fini();
  JtkEntityFactory::fini();
}

void JtwManager::initJtVersionList() {
  using Version = ApiGraJtVersionData;
  constexpr std::pair<Version::apiGraJtVersion, const char*> kVersions[] = {
      {Version::JT_VERSION_8_2, "8.2"},
      {Version::JT_VERSION_9_5, "9.5"},
      {Version::JT_VERSION_10_0, "10.0"},
      {Version::JT_VERSION_10_2, "10.2"},
  };
  jtVersionList_.reserve(64);
  for (const auto& [version, text] : kVersions) {
    const ApiGraJtReleaseLabels labels = Version::configuredLabels(version);
    jtVersionList_.emplace_back(version, text, labels.label2, labels.label1);
  }
}

JtwRoot* JtwManager::root(const ApiDocumentRef& document) const {
  const auto found = roots_.find(document);
  return found == roots_.end() ? nullptr : found->second.get();
}

// Every root is made as an export root, which adds operations but no state: any registered root can
// then be handed out as either.

JtwRoot* JtwManager::computeExistingDocRoot(const ApiDocumentRef& document,
                                            JtwRoot::JT_LOADING_REPRESENTATION representation,
                                            JtwRoot::OPEN_JT_ERR& error) {
  if (JtwRoot* registered = root(document)) return registered;
  std::shared_ptr<JtwRoot> opened = std::make_shared<JtExportRoot>(representation);
  if (!opened->initialize(document, error)) return nullptr;
  return insertRootToHashTables(document, std::move(opened));
}

JtwRoot* JtwManager::computeNewDocRoot(const ApiDocumentRef& document) {
  if (JtwRoot* registered = root(document)) return registered;
  std::shared_ptr<JtwRoot> made = std::make_shared<JtExportRoot>();
  made->initializeAsNew(document);
  return insertRootToHashTables(document, std::move(made));
}

JtExportRoot* JtwManager::computeExistingExportRoot(
    const ApiDocumentRef& document, JtwRoot::JT_LOADING_REPRESENTATION representation) {
  auto dropped = JtwRoot::JT_INITIALIZE_FAILED;
  return static_cast<JtExportRoot*>(computeExistingDocRoot(document, representation, dropped));
}

JtExportRoot* JtwManager::computeNewExportRoot(const ApiDocumentRef& document) {
  if (JtExportRoot* registered = exportRoot(document)) return registered;
  auto made = std::make_shared<JtExportRoot>();
  made->initializeAsNew(document);
  return static_cast<JtExportRoot*>(insertRootToHashTables(document, std::move(made)));
}

JtExportRoot* JtwManager::exportRoot(const ApiDocumentRef& document) const {
  return static_cast<JtExportRoot*>(root(document));
}

JtwRoot* JtwManager::insertRootToHashTables(const ApiDocumentRef& document,
                                            std::shared_ptr<JtwRoot> root) {
  JtwRoot* const inserted = root.get();
  roots_.insert_or_assign(document, std::move(root));
  if (usingJtViewer_) insertJtPartition(document, inserted->partition());
  if (inserted->hasKrSwitch()) docsWithKrSwitch_.insert(document);
  if (inserted->isJtKR()) docsWithKrJt_.insert(document);
  return inserted;
}

bool JtwManager::releaseRoot(const ApiDocumentRef& document) {
  // Taken out first: the root's end may come back here.
  return !roots_.extract(document).empty();
}

void JtwManager::releaseAllRoots() {
  RWClassicTValOrderedVector<ApiDocumentRef> documents;
  documents.reserve(64);
  for (const auto& entry : roots_) documents.push_back(entry.first);
  for (const ApiDocumentRef& document : documents) releaseRoot(document);
}

bool JtwManager::refreshRootsDocuments() {
  RWClassicTValOrderedVector<std::pair<ApiDocumentRef, std::shared_ptr<JtwRoot>>> entries(
      roots_.begin(), roots_.end());
  roots_.clear();
  for (auto& [document, root] : entries) roots_.insert_or_assign(document, std::move(root));
  if (usingJtViewer_) refreshDocTojtPartitionsHash();
  return true;
}

bool JtwManager::updateRootDocument(const ApiDocumentRef& oldDocument,
                                    const ApiDocumentRef& newDocument) {
  const auto found = roots_.find(oldDocument);
  if (found == roots_.end() || root(newDocument)) return false;
  std::shared_ptr<JtwRoot> moved = found->second;

  RWClassicCString location;
  RWClassicCString name;
  jtw::findDatastorePlace(newDocument, location, name);
  moved->updateStorageLocation(location, name);

  roots_.erase(found);
  if (usingJtViewer_) removeJtPartition(moved->partition());
  insertRootToHashTables(newDocument, std::move(moved));
  return true;
}

bool JtwManager::updateRootDocumentWithJtFileName(const ApiDocumentRef& document,
                                                  RWClassicCString& jtFileName) {
  JtwRoot* const registered = root(document);
  if (!registered) return false;
  RWClassicCString location;
  RWClassicCString replaced;
  jtw::findDatastorePlace(document, location, replaced);
  return registered->updateStorageLocation(location, jtFileName);
}

void JtwManager::insertDocumentStructure(const ApiDocumentRef& document,
                                         ApiDocument::Structure structure) {
  documentStructures_.insert_or_assign(document, structure);
}

bool JtwManager::findDocumentStructure(const ApiDocumentRef& document,
                                       ApiDocument::Structure& structure) const {
  const auto found = documentStructures_.find(document);
  if (found == documentStructures_.end()) return false;
  structure = found->second;
  return true;
}

bool JtwManager::findDocumentStructure(const JtwRoot* root,
                                       ApiDocument::Structure& structure) const {
  ApiDocumentRef document;
  return root && root->partition() && getApiDocumentRef(root->partition(), document) &&
         findDocumentStructure(document, structure);
}

bool JtwManager::docHasKrJt(const ApiDocumentRef& document) const {
  return docsWithKrJt_.contains(document);
}

bool JtwManager::docHasKrSwitch(const ApiDocumentRef& document) const {
  return docsWithKrSwitch_.contains(document);
}

void JtwManager::setUsingJtViewer(bool on) {
  usingJtViewer_ = on;
  if (on) setUsingJtInCO(true);
}

bool JtwManager::isPMITypeExcluded(ApiPMIType type) const {
  const auto index = static_cast<std::size_t>(type);
  return index < excludedPMITypes_.size() && excludedPMITypes_[index];
}
