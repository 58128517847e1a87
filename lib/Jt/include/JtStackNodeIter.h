#pragma once

#include <functional>
#include <vector>

#include "JtNode.h"
#include "JtRefCounted.h"

/// Depth-first walk over a scene graph with its own stack, so that depth does not matter. Nodes
/// that several paths reach are visited once a path; a pre-visit can prune. Reference counted.
class JT_API JtStackNodeIter : public JtRefCounted {
 public:
  /// What a pre-visit wants.
  enum class Next { descend, skipChildren, stop };

  /// Called on the way down, before the children. Without one the walk descends everywhere.
  void setPreVisit(std::function<Next(JtNode*)> visit) { pre_ = std::move(visit); }
  /// Called on the way up, after the children (also when they were skipped); false stops the walk.
  void setPostVisit(std::function<bool(JtNode*)> visit) { post_ = std::move(visit); }

  /// Walks from `start` down. Children added or removed below a node before its pre-visit returns
  /// are taken into account. A visit may also take the visited node and its siblings out of the
  /// node above; the walk goes on with the next sibling that is left. False when a visit stopped
  /// the walk.
  bool run(JtNode* start);
  /// The node above the one that is being visited on the current path; null at the start.
  JtNode* pathParent() const;
  /// Levels above the node that is being visited.
  std::size_t depth() const noexcept { return stack_.empty() ? 0 : stack_.size() - 1; }

 private:
  struct Level {
    jt::Ref<JtNode> node;
    int nextChild = 0;
    bool skip = false;
    // Compared only: the child that was visited last, and the one behind it at that time.
    const JtNode* visited = nullptr;
    const JtNode* following = nullptr;
  };
  static JtNode* findNext(Level& level);
  std::function<Next(JtNode*)> pre_;
  std::function<bool(JtNode*)> post_;
  std::vector<Level> stack_;
};
