#pragma once

#include <memory>
#include <optional>
#include <vector>

#include "JtExport.h"
#include "JtFlatMap.h"

namespace jt {

/// What changes to scene-graph objects replaced, so that they can be undone and redone. While a
/// journal records, every operation that changes a node, an attribute, metadata, PMI or a wireframe
/// on this thread keeps the old values first, each once, whatever file the object belongs to. What
/// is only read or loaded on demand, part files that are opened included, is no change.
///
/// A journal keeps what it knows in memory, and is no owner of it: nodes that were removed are gone
/// for all others, also as parents of nodes that are still there. It is for the thread that edits.
class JT_API ChangeJournal {
 public:
  ChangeJournal() noexcept;
  /// Stops recording; changes nothing.
  ~ChangeJournal();
  ChangeJournal(const ChangeJournal&) = delete;
  ChangeJournal& operator=(const ChangeJournal&) = delete;

  /// Begins recording on this thread; what was recorded before is dropped. False when a journal
  /// records on it already.
  bool start();
  /// Ends recording. To be called on the thread that started it.
  void stop() noexcept;
  /// True when nothing was recorded.
  bool isEmpty() const noexcept { return values_.empty(); }
  /// Exchanges the recorded values with those that the objects have now: once, the changes are
  /// undone; once more, they are redone. Takes no memory. @pre it does not record
  void swap() noexcept;
  /// False when an object that the journal would change has been changed since stop() or the last
  /// swap(): swap() would then take the graph apart. Links, properties and plain values are
  /// compared; the content of textures is not.
  bool isCurrent() const noexcept;

  /// The journal that records on this thread, or null.
  static ChangeJournal* recording() noexcept;

  /// While one lives, nothing is recorded on this thread.
  class JT_API Pause {
   public:
    Pause() noexcept;
    ~Pause();
    Pause(const Pause&) = delete;
    Pause& operator=(const Pause&) = delete;

   private:
    ChangeJournal* paused_;
  };

  /// The old value of one member; see scene/Recording.h.
  class Kept;
  /// False for a member whose old value is kept already.
  bool wants(const void* member) const noexcept;
  /// Keeps the old value of a member. A failure leaves the journal as it was.
  void keep(const void* member, std::unique_ptr<Kept> value);

 private:
  void mark() noexcept;

  std::vector<std::unique_ptr<Kept>> values_;
  std::optional<FlatMap<const void*, bool, PointerHash>> members_;  // while it records
};

}  // namespace jt
