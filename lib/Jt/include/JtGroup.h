#pragma once

#include <cstddef>
#include <vector>

#include "JtNode.h"

/// A node with any number of children, in order.
class JT_API JtGroup : public JtNode {
 public:
  JtGroup() = default;
  ~JtGroup() override;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;

  int numChildren() const noexcept override { return static_cast<int>(children_.size()); }
  JtNode* child(int index) const noexcept override;

  /// Appends a child; the group takes a reference. False for null, for the group itself or one of
  /// its ancestors (the graph must stay acyclic), and for a group that is carried unread.
  bool addChild(JtNode* child);
  /// Inserts a child before `index`; otherwise as addChild.
  bool insertChild(int index, JtNode* child);
  /// Removes the child of that index; false when there is none.
  bool removeChild(int index);
  /// Removes the first occurrence of `child`; false when it is none.
  bool removeChild(const JtNode* child);

 protected:
  JtGroup(const JtGroup& other) : JtNode(other), groupVersion_(other.groupVersion_) {}
  void releaseChildren(Dismantler& out) noexcept override;
  void disown(const JtNode& child) override;

 private:
  friend class Jt;
  friend struct jt::file::FieldAccess;
  /// Inserts a child that closes no cycle, whether or not the group is opaque.
  void link(std::ptrdiff_t index, JtNode& child);

  jt::LocalVersion groupVersion_;
  std::vector<jt::Ref<JtNode>> children_;
};
