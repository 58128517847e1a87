#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "ApiDocumentRef.h"
#include "Component.h"
#include "JtBounds.h"
#include "JtDiagnostic.h"
#include "JtwObjects.h"
#include "JtwTransaction.h"
#include "NewDocument.h"

namespace binding {

/// A component that Python has open. All its objects share it, so that it lives as long as one of
/// them; after close() they only say that it is closed.
class OpenComponent : public std::enable_shared_from_this<OpenComponent> {
 public:
  /// Opens a document: a component folder or a JT file. Throws Failure.
  static std::shared_ptr<OpenComponent> open(const std::string& path);
  /// A new component of that name; nothing is on disk before save(). Throws Failure.
  static std::shared_ptr<OpenComponent> create(const std::string& path, float unitRatio,
                                               bool replaces);
  ~OpenComponent();
  OpenComponent(const OpenComponent&) = delete;
  OpenComponent& operator=(const OpenComponent&) = delete;

  /// Ends it; what was not saved is lost. Throws EditError "transaction" in a thread that did not
  /// begin the open transaction.
  void close();
  /// False when one has a transaction open in another thread, which alone can end it.
  static bool closeAll() noexcept;
  bool isClosed() const noexcept { return root_ == nullptr; }

  const std::string& path() const noexcept { return name_.text; }
  /// Throws EditError "closed", as all that follows.
  JtwRoot& root() const;
  jtw::Objects& objects();
  JtPartition& partition() const { return *root().partition(); }

  /// What was noticed while the file was read.
  const std::vector<jt::Diagnostic>& notes() const { return partition().notes(); }

  /// Changes when wrappers may have gone: pointers to objects from before are to be looked up anew.
  std::uint64_t generation() const noexcept { return generation_; }
  void objectsGone() noexcept {
    ++generation_;
    extents_.reset();
  }
  /// To be called before something of the component is changed. Throws EditError "transaction" when
  /// the change would belong to a transaction of another component or of another thread.
  void prepareChange();
  /// Extent of the object of that index, with what is below it; null for none.
  const jt::Box* extent(std::size_t index);

  /// Saves the component to where it came from.
  jt::SaveReport save(const jt::SaveOptions& options);
  /// Writes a copy of it, as it is now, to another file, with the part files that it refers to.
  jt::SaveReport saveCopy(const std::string& path, const jt::SaveOptions& options);
  /// Saves it to that file: its own, or another one, where its part files come along.
  jt::SaveReport saveTo(const std::string& path, const jt::SaveOptions& options);
  /// Writes frames and annotations to their JT nodes, so that the partition has everything.
  void settle();

  /// Throws EditError "transaction" when one is open.
  void begin();
  void commit();
  void rollBack();
  bool isInTransaction() const noexcept { return transaction_ && transaction_->isOpen(); }
  /// False when there is nothing to undo or redo. Throws EditError.
  bool undo();
  bool redo();
  std::size_t undoCount() const noexcept { return history_ ? history_->undoCount() : 0; }
  std::size_t redoCount() const noexcept { return history_ ? history_->redoCount() : 0; }

 private:
  explicit OpenComponent(const std::string& path);
  void take(JtwRoot& root);
  bool belongsElsewhere() const noexcept;
  void end() noexcept;
  bool step(bool (JtwHistory::*way)());
  void requireOwnThread() const;

  tool::DocumentName name_;
  ApiDocumentRef document_;
  std::optional<tool::NewDocument> new_;  // until it is saved for the first time
  JtwRoot* root_ = nullptr;
  std::optional<jtw::Objects> objects_;
  std::optional<std::vector<std::optional<jt::Box>>> extents_;  // of all objects, until a change
  std::uint64_t generation_ = 0;
  std::optional<JtwHistory> history_;
  std::optional<JtwTransaction> transaction_;
  std::thread::id thread_;  // that began the transaction
};

}  // namespace binding
