#pragma once

#include <cstdint>

#include "JtkPMIEntity.h"

namespace jtk {

/// What a new entity of a toolkit type is in a file.
struct PMIKind {
  JtkEntity::TypeID type;
  std::uint16_t code;
  std::uint16_t parentCode;
  const char* name;
};

/// The kind of a toolkit type, or null for types that no entity can be made of.
const PMIKind* kindOf(JtkEntity::TypeID type) noexcept;

/// The code of the group that an entity code belongs to, and the group's display name.
std::uint16_t parentCodeOf(std::uint16_t code) noexcept;
const char* groupNameOf(std::uint16_t parentCode) noexcept;

}  // namespace jtk
