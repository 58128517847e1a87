#pragma once

#include "JtNode.h"

/// An occurrence of a node: its one child, with a name, a placement and an appearance of its own.
/// Many instances may name the same child.
class JT_API JtInstance : public JtNode {
 public:
  JtInstance() = default;
  ~JtInstance() override;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;

  int numChildren() const noexcept override { return child_ ? 1 : 0; }
  JtNode* child(int index) const noexcept override { return index == 0 ? child_.get() : nullptr; }
  /// Sets the child (null: none); the instance takes a reference. False when the graph would get a
  /// cycle or the instance is carried unread.
  bool setChild(JtNode* child);

 protected:
  JtInstance(const JtInstance& other) : JtNode(other), instanceVersion_(other.instanceVersion_) {}
  void releaseChildren(Dismantler& out) noexcept override;
  void disown(const JtNode& child) override;

 private:
  friend class Jt;
  friend struct jt::file::FieldAccess;
  /// Sets a child that closes no cycle, whether or not the instance is opaque.
  void link(JtNode* child);

  jt::LocalVersion instanceVersion_;
  jt::Ref<JtNode> child_;
};
