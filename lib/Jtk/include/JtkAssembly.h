#pragma once

#include <vector>

#include "JtkUnitHierarchy.h"

/// A node with nodes below it; made by JtkEntityFactory::createAssembly().
class JTK_API JtkAssembly final : public JtkUnitHierarchy {
 public:
  TypeID typeID() const noexcept override { return ASSEMBLY; }

  /// Appends a node; the assembly takes a reference. A node may be below several others, and below
  /// one several times. @return 1; 0 for null, the assembly itself and what it is below of
  int addChild(JtkHierarchy* node);
  /// How many nodes there are directly below.
  int numChildNodes() const noexcept { return static_cast<int>(nodes_.size()); }
  JtkHierarchy* nodeBelow(int index) const noexcept override;

 private:
  friend class JtkEntityFactory;
  JtkAssembly() = default;
  ~JtkAssembly() override;
  void releaseChildNodes(Dismantler& out) noexcept override;

  std::vector<jt::Ref<JtkHierarchy>> nodes_;
};
