#pragma once

#include <memory>

#include "JtChangeJournal.h"
#include "JtGroup.h"
#include "JtNode.h"

class JtwRoot;

namespace jtw {

/// The way from transactions to their root, for as long as it has the partition that it had.
struct RootLink {
  JtwRoot* root = nullptr;
  bool isInTransaction = false;
};

/// What a transaction changed, with the root's own JT nodes of the other state.
struct RootChange {
  jt::ChangeJournal journal;
  jt::Ref<JtNode> node;
  jt::Ref<JtGroup> group;
};

/// What transactions do with a root.
class RootEdits {
 public:
  /// The link to a root; the same one for all callers.
  static std::shared_ptr<RootLink> linkTo(JtwRoot& root);
  /// The root, when it can be edited now and no transaction is open; else null, with the reason in
  /// jt::lastError().
  static JtwRoot* editable(const RootLink& link);
  /// True unless the component was closed.
  static bool isOpen(const RootLink& link) noexcept;
  static bool isWalked(const JtwRoot& root) noexcept;
  /// Writes frames and annotations that differ from what the JT nodes have. False, with the reason
  /// in jt::lastError(), when some cannot be written.
  static bool writeFramesAndPMIs(JtwRoot& root);
  /// Has the change know which JT nodes the root has.
  static void capture(const JtwRoot& root, RootChange& change);
  /// True when the journal has recorded nothing and the root has the same JT nodes.
  static bool isEmpty(const JtwRoot& root, const RootChange& change);
  /// Brings the component to the other state of the change, without wrappers.
  static void exchange(JtwRoot& root, RootChange& change) noexcept;
};

}  // namespace jtw
