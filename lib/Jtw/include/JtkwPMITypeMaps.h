#pragma once

#include <cstdint>
#include <map>

#include "ApiObjType.h"
#include "ApiPMIType.h"
#include "JtkEntity.h"
#include "JtwExport.h"
#include "RWClassic.h"

/// What relates the host's PMI types to the toolkit's entity types and sub-types, to display names,
/// to object types and to each other: two levels, groups ("... Entities") and their members. One
/// table, built on first use and never changed. No query fails: an unknown value has the neutral
/// answer. Safe from any thread.
class JTW_API JtkwPMITypeMaps {
 public:
  using ApiPMITypes = RWClassicTValOrderedVector<ApiPMIType>;

  /// The maps; they live until the library is unloaded.
  static const JtkwPMITypeMaps& the();

  /// Groups and types outside every group, in the order of the table. The model view label is
  /// outside every group too, but has no toolkit type of its own and is not among them.
  ApiPMITypes getAllBaseApiPMIType() const { return bases_; }
  /// The type's group; API_PMI_NONE for a group, a type outside every group, an unknown type.
  ApiPMIType getParentApiPMIType(ApiPMIType type) const;
  /// The top of the type's chain of parents: the type itself where it has none.
  ApiPMIType getBaseApiPMIType(ApiPMIType type) const;
  /// The members of a group in the order of the table; empty for every other type.
  ApiPMITypes getChildrenApiPMIType(ApiPMIType type) const;
  bool doesTypeHaveChildren(ApiPMIType type) const { return children_.contains(type); }
  /// True when the two are equal or `ancestor` is a parent of `type`, at any distance.
  bool isAncestorOfType(ApiPMIType type, ApiPMIType ancestor) const;

  /// The host's type of a toolkit entity: by its sub-type where that is greater than 0 and known,
  /// else by its toolkit type; API_PMI_NONE where neither is known.
  ApiPMIType getApiPMITypeFromJtTk(JtkEntity::TypeID jtkType, int subType) const;
  /// The toolkit's types of a host type.
  /// @param jtkType  the type's own toolkit type, else its group's, else JtkEntity::PMI_NONE
  /// @param subType  the type's own sub-type, else -1; never its group's
  void getJtTkFromApiPMIType(ApiPMIType type, JtkEntity::TypeID& jtkType, int& subType) const;

  /// The name to display; empty for an unknown type.
  RWClassicCString getPMITypeName(ApiPMIType type) const;
  /// The name of the type with this toolkit sub-type; empty where there is none.
  RWClassicCString getPMITypeName(int subType) const;

  /// Whether objects of this PMI type are of the host's object type; false for an unknown type.
  bool isPMITypeOfObjType(ApiPMIType type, ApiObjType objType) const;
  /// The same for the host's type of a toolkit type; false where the toolkit type has none.
  bool isPMITypeOfObjType(JtkEntity::TypeID jtkType, ApiObjType objType) const;

 private:
  JtkwPMITypeMaps();

  ApiPMITypes bases_;
  std::map<ApiPMIType, ApiPMIType> parents_;
  std::map<ApiPMIType, ApiPMITypes> children_;
  std::map<JtkEntity::TypeID, ApiPMIType> typesByJtkType_;
  std::map<std::int32_t, ApiPMIType> typesBySubType_;
  std::map<ApiPMIType, ApiObjType> objTypes_;
  std::map<ApiPMIType, RWClassicCString> names_;
};
