#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

#include "JtwExport.h"

class JtwRoot;

namespace jtw {
struct RootChange;
struct RootLink;
}  // namespace jtw

// Changes to a component that are made all or not at all, and that can be undone and redone.
//
// Rolling back, undo and redo leave the component as it was, in its JT nodes, metadata and PMI as
// well as in what a save would write; no file is read or written for it. Three things to know:
//
// - They destroy all wrappers but the root, because objects may have come and gone: the next walk
//   (JtwTraverse, jtw::loadWrappers) makes them again. Look objects up again by key; pointers to
//   nodes, frames and annotations from before are invalid.
// - Frames and annotations, which have no JT nodes of their own, are written to those of their
//   collections when a transaction begins and when it is committed, as jtw::writePMIs() and
//   jtw::storeFramesInTheirForm() do. From then on they have the values that the file has room for:
//   coordinates of annotations in single precision. What no save keeps is gone with the wrappers.
//   What wrappers cache is forgotten then, as JtwNode::forgetCached() does.
// - Opening files, part files too, is no change: what was opened meanwhile stays open.
//
// One transaction is open at a time on a thread. Changes that the thread makes to other components
// meanwhile belong to it as well.

/// The committed transactions of one component, newest last. What it holds of the component may
/// take as much memory as the changes. It may outlive the component; nothing can be undone then.
class JTW_API JtwHistory {
 public:
  /// A history without transactions.
  /// @param most how many transactions are kept; older ones cannot be undone any more
  explicit JtwHistory(JtwRoot& root, std::size_t most = std::numeric_limits<std::size_t>::max());
  ~JtwHistory();
  JtwHistory(const JtwHistory&) = delete;
  JtwHistory& operator=(const JtwHistory&) = delete;

  /// How many transactions can be undone, and redone.
  std::size_t undoCount() const noexcept { return done_.size(); }
  std::size_t redoCount() const noexcept { return undone_.size(); }
  /// Undoes the last transaction, or redoes the last one that was undone. False, with nothing
  /// changed and the reason in jt::lastError(), when there is none, the component was closed, a
  /// transaction is open or a walk over the component is in progress, or when what the transaction
  /// changed was changed again outside of a transaction (code "changed_since").
  bool undo();
  bool redo();
  /// Forgets all transactions.
  void clear() noexcept;

 private:
  friend class JtwTransaction;
  using Changes = std::vector<std::unique_ptr<jtw::RootChange>>;
  bool step(Changes& from, Changes& to, const char* verb);
  /// Takes a transaction. What was undone before cannot be redone any more. @pre reserve()
  void add(std::unique_ptr<jtw::RootChange> change) noexcept;
  void reserve();

  std::shared_ptr<jtw::RootLink> link_;
  const std::size_t most_;
  Changes done_;
  Changes undone_;
};

/// One transaction; begins when begin() is called. While it is open the component is not written:
/// JtwRoot::write() returns false.
class JTW_API JtwTransaction {
 public:
  /// A transaction of its own: once committed it cannot be undone.
  explicit JtwTransaction(JtwRoot& root);
  /// A transaction that goes into a history, which must outlive it, when it is committed.
  explicit JtwTransaction(JtwHistory& history);
  /// Rolls back when the transaction is open.
  ~JtwTransaction();
  JtwTransaction(const JtwTransaction&) = delete;
  JtwTransaction& operator=(const JtwTransaction&) = delete;

  /// True between begin() and commit() or rollBack().
  bool isOpen() const noexcept { return change_ != nullptr; }
  /// Begins. Writes frames and annotations that were changed before to the JT nodes; that is not
  /// part of the transaction. False, with the reason in jt::lastError(), when a transaction is open
  /// on this thread, the component is not open, a walk over it is in progress, or frames or
  /// annotations cannot be written.
  bool begin();
  /// Makes the changes last. Nothing is written to the file; JtwRoot::write() does that. False,
  /// with the reason in jt::lastError(), when frames or annotations cannot be written: the
  /// transaction is rolled back then. A transaction without changes leaves no trace in the history.
  bool commit();
  /// Undoes everything since begin(). False when no transaction is open, when the component was
  /// closed, and during a walk over it, when the transaction stays open; the reason is in
  /// jt::lastError().
  bool rollBack();

 private:
  void end(bool isUndone) noexcept;

  std::shared_ptr<jtw::RootLink> link_;
  JtwHistory* history_ = nullptr;
  std::unique_ptr<jtw::RootChange> change_;  // while open
};
