#include "OpenComponent.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>
#include <system_error>

#include "Failure.h"
#include "InputFile.h"
#include "JtAssembly.h"
#include "JtByteText.h"
#include "JtLastError.h"
#include "JtwEditError.h"
#include "JtwManager.h"
#include "JtwNewComponent.h"
#include "JtwOpening.h"
#include "JtwPMIs.h"
#include "JtwSelection.h"
#include "JtwTree.h"
#include "Library.h"
#include "PartCopies.h"
#include "SaveResult.h"

namespace binding {
namespace {

std::set<OpenComponent*>& allOpen() {
  static auto* const all = new std::set<OpenComponent*>;
  return *all;
}

/// Components with an open transaction, by the thread that began it: the library records all
/// changes of a thread.
std::map<std::thread::id, OpenComponent*>& transactions() {
  static auto* const all = new std::map<std::thread::id, OpenComponent*>;
  return *all;
}

/// A document of its own: two openings of one file are two components.
ApiDocumentRef openDocument(const tool::DocumentName& name) {
  static std::uint64_t count = 0;
  if (name.isStream) tool::failUsage("'" + name.text + "' is a stream; only files can be opened");
  ApiDocumentRef document = tool::openHostDocument(name);
  document->setIdentity(name.path + "#" + std::to_string(++count));
  return document;
}

}  // namespace

OpenComponent::OpenComponent(const std::string& path)
    : name_(path), document_(openDocument(name_)) {
  allOpen().insert(this);
}

void OpenComponent::take(JtwRoot& root) {
  root_ = &root;
  objects_.emplace(root, name_.text);
  history_.emplace(root);
}

std::shared_ptr<OpenComponent> OpenComponent::open(const std::string& path) {
  const std::shared_ptr<OpenComponent> component(new OpenComponent(path));
  jtw::OpenError error;
  JtwRoot* const root = jtw::openComponent(component->document_, error);
  if (!root) tool::failToOpen(component->document_, component->name_);
  if (!jtw::loadWrappers(*root))
    throw tool::Failure(tool::ExitCode::input, "not_a_component", "the component cannot be walked",
                        {.file = path});
  component->take(*root);
  return component;
}

std::shared_ptr<OpenComponent> OpenComponent::create(const std::string& path, float unitRatio,
                                                     bool replaces) {
  const std::shared_ptr<OpenComponent> component(new OpenComponent(path));
  component->new_.emplace(component->name_, component->document_, replaces, unitRatio);
  component->take(component->new_->root());
  return component;
}

OpenComponent::~OpenComponent() {
  const Locked lock;
  end();
}

void OpenComponent::close() {
  if (belongsElsewhere()) requireOwnThread();
  end();
}

void OpenComponent::end() noexcept {
  if (allOpen().erase(this) == 0) return;
  objectsGone();
  if (isInTransaction()) transactions().erase(thread_);
  transaction_.reset();
  history_.reset();
  objects_.reset();
  new_.reset();
  root_ = nullptr;
  JtwManager::the().releaseRoot(document_);
  JtwManager::the().releaseDocument(document_);
}

bool OpenComponent::closeAll() noexcept {
  const std::set<OpenComponent*> all = allOpen();
  for (OpenComponent* component : all)
    if (!component->belongsElsewhere()) component->end();
  return allOpen().empty();
}

bool OpenComponent::belongsElsewhere() const noexcept {
  return isInTransaction() && thread_ != std::this_thread::get_id();
}

void OpenComponent::prepareChange() {
  root();
  extents_.reset();
  if (isInTransaction()) {
    requireOwnThread();
  } else if (transactions().contains(std::this_thread::get_id())) {
    jtw::failRefused(path(), "transaction",
                     "a transaction of another component is open on this thread");
  }
}

JtwRoot& OpenComponent::root() const {
  if (!root_) jtw::failRefused(path(), "closed", "the component is closed");
  return *root_;
}

jtw::Objects& OpenComponent::objects() {
  root();
  return *objects_;
}

const jt::Box* OpenComponent::extent(std::size_t index) {
  if (!extents_ || extents_->size() != objects().entries().size())
    extents_ = jtw::extentsOf(objects());
  const std::optional<jt::Box>& extent = extents_->at(index);
  return extent ? &*extent : nullptr;
}

void OpenComponent::settle() {
  prepareChange();
  objects().storeFrames();
  if (!jtw::writePMIs(root())) jtw::failRefused(path(), "pmi_not_written", jt::lastError());
}

jt::SaveReport OpenComponent::save(const jt::SaveOptions& options) {
  root();
  if (isInTransaction())
    jtw::failRefused(path(), "transaction", "a component is not saved while a transaction is open");
  settle();
  if (!new_) return tool::savePartition(partition(), nullptr, options, path());
  jt::SaveReport report = new_->save(options);
  if (options.dryRun) return report;
  partition().setStorageLocation(tool::outputLocation(new_->file()).get());
  new_.reset();
  return report;
}

jt::SaveReport OpenComponent::saveCopy(const std::string& path, const jt::SaveOptions& options) {
  settle();
  if (new_ && !jtw::completeNewComponent(root()))
    jtw::failRefused(name_.text, "not_updated", "the materials cannot be completed");
  const JtStorageLocation* const place = partition().storageLocation();
  const std::string input = place ? jt::bytesOfText(place->displayName()) : name_.path;
  const std::vector<jt::PartFile> parts = jt::partFilesOf(partition());
  // Part files that were changed here are not on disk as they are now.
  const bool changesParts =
      options.version || std::ranges::any_of(parts, [](const jt::PartFile& part) {
        return part.partition && part.partition->isContentModified();
      });
  return tool::saveCopy(partition(), partition(), parts,
                        {.input = input, .output = path, .changesParts = changesParts}, options);
}

jt::SaveReport OpenComponent::saveTo(const std::string& path, const jt::SaveOptions& options) {
  const JtStorageLocation* const place = partition().storageLocation();
  std::error_code ignored;
  const bool isOwn =
      place && std::filesystem::equivalent(jt::bytesOfText(place->displayName()), path, ignored);
  return isOwn ? save(options) : saveCopy(path, options);
}

// --- Transactions

void OpenComponent::begin() {
  prepareChange();
  if (isInTransaction()) jtw::failRefused(path(), "transaction", "a transaction is open already");
  objects().storeFrames();
  transaction_.emplace(*history_);
  if (!transaction_->begin()) jtw::failRefused(path(), "transaction", jt::lastError());
  thread_ = std::this_thread::get_id();
  transactions()[thread_] = this;
}

void OpenComponent::requireOwnThread() const {
  root();
  if (!isInTransaction()) jtw::failRefused(path(), "transaction", "no transaction is open");
  if (thread_ != std::this_thread::get_id())
    jtw::failRefused(path(), "transaction", "the transaction belongs to another thread");
}

void OpenComponent::commit() {
  requireOwnThread();
  try {
    objects().storeFrames();
  } catch (...) {
    rollBack();
    throw;
  }
  transactions().erase(thread_);
  if (transaction_->commit()) return;
  const std::string reason = jt::lastError();
  objectsGone();
  objects().forgetChanges();
  jtw::failRefused(path(), "transaction", reason);
}

void OpenComponent::rollBack() {
  requireOwnThread();
  objectsGone();
  transactions().erase(thread_);
  const bool isDone = transaction_->rollBack();
  objects().forgetChanges();
  if (!isDone) jtw::failRefused(path(), "transaction", jt::lastError());
}

bool OpenComponent::step(bool (JtwHistory::*way)()) {
  objects().storeFrames();
  objectsGone();
  const bool isDone = ((*history_).*way)();
  objects().forgetChanges();
  return isDone;
}

bool OpenComponent::undo() {
  prepareChange();
  if (history_->undoCount() == 0) return false;
  if (!step(&JtwHistory::undo)) jtw::failRefused(path(), "not_undone", jt::lastError());
  return true;
}

bool OpenComponent::redo() {
  prepareChange();
  if (history_->redoCount() == 0) return false;
  if (!step(&JtwHistory::redo)) jtw::failRefused(path(), "not_redone", jt::lastError());
  return true;
}

}  // namespace binding
