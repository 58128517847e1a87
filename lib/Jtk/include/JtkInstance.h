#pragma once

#include "JtkHierarchy.h"

/// An occurrence of a node, with a name, properties and attributes of its own; made by
/// JtkEntityFactory::createInstance().
class JTK_API JtkInstance final : public JtkHierarchy {
 public:
  TypeID typeID() const noexcept override { return INSTANCE; }
  /// The node that occurs here; null: none. Not owned.
  JtkHierarchy* child() const noexcept { return child_.get(); }
  /// The instance takes a reference. @return 1; 0 for a node that this instance is below of
  int setChild(JtkHierarchy* node);
  JtkHierarchy* nodeBelow(int index) const noexcept override;

 private:
  friend class JtkEntityFactory;
  JtkInstance() = default;
  ~JtkInstance() override;
  void releaseChildNodes(Dismantler& out) noexcept override;

  jt::Ref<JtkHierarchy> child_;
};
