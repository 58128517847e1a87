#pragma once

#include "JtString.h"
#include "JtkEntity.h"

/// A node of a toolkit hierarchy.
class JTK_API JtkHierarchy : public JtkEntity {
 public:
  /// The name to display.
  const JtString& name() const noexcept { return name_; }
  void setName(const JtString& name) { name_ = name; }

 protected:
  ~JtkHierarchy() override;

 private:
  JtString name_;
};
