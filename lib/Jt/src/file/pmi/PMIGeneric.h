#pragma once

// Entities of the fixed kinds of 8.x and 9.x as generic ones.

#include "file/pmi/PMIKinds.h"

namespace jt::file {

/// The corresponding generic entity: lines in x, y, z, and what generic entities have no field for
/// as properties. Its type names are -1. @pre the kind is a fixed one and has that entity
PMIGenericEntity genericForm(const PMIData& data, PMIKind kind, std::size_t index);

/// Name of the type of an entity of a fixed kind, and that of the type's group.
struct PMITypeNames {
  const char* type;
  const char* parent;
};
PMITypeNames genericTypeNames(const PMIGenericEntity& entity, const PMIFixedKind& kind);

/// Puts generic entities in the place of all entities of fixed kinds, behind the generic ones that
/// are there. Indirect ends of associations are changed accordingly. What direct ends of fixed
/// kinds name is not known; they stay as they are.
void makeGeneric(PMIData& data);

}  // namespace jt::file
