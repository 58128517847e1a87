#include "JtkEntity.h"

JtkEntity::~JtkEntity() = default;

bool JtkEntity::isOfType(TypeID type) const noexcept {
  const TypeID own = typeID();
  if (type == PMI_NONE) return false;
  if (type == PMI_ENTITY) return own >= PMI_ENTITY && own <= PMI_COORDINATE_SYSTEM;
  if (type == ATTRIBUTE) return own == ATTRIBUTE || own == MATERIAL || own == TRANSFORM;
  return type == own;
}
