#pragma once

#include "JtGroup.h"

/// A group that shows at most one of its children.
class JT_API JtSwitch : public JtGroup {
 public:
  JtSwitch() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtSwitch(*this)); }

  /// Index of the child that is shown as stored; -1 or out of range: none.
  int selectedChild() const noexcept { return selected_; }
  void setSelectedChild(int index);
  /// One of the switch's children to represent it. With `selected` the one the switch shows (the
  /// first child when it shows none); otherwise the alternative: the first child that is not the
  /// selected one, or the selected one when there is no other. Null when the switch is empty. Not
  /// owned.
  JtNode* representation(bool selected) const;

 protected:
  JtSwitch(const JtSwitch&) = default;

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion switchVersion_;
  std::int32_t selected_ = 0;
};
