#pragma once

#include "JtkUnitHierarchy.h"

/// A node with geometry; made by JtkEntityFactory::createPart().
class JTK_API JtkPart final : public JtkUnitHierarchy {
 public:
  TypeID typeID() const noexcept override { return PART; }

 private:
  friend class JtkEntityFactory;
  JtkPart() = default;
  ~JtkPart() override;
};
