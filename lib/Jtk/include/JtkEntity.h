#pragma once

#include <cstdint>

#include "JtkRefCounted.h"

/// A thing that the toolkit knows the type of: a node of a hierarchy, an attribute, a piece of PMI.
class JTK_API JtkEntity : public JtkRefCounted {
 public:
  /// The toolkit's type numbers. Hosts keep them in tables of their own: never renumber them. Every
  /// 32-bit value is valid; one that is not named here is a type that nothing is of.
  enum TypeID : std::int32_t {
    MATERIAL = 29,  ///< material attribute of a hierarchy node
    ASSEMBLY = 35,  ///< hierarchy node with children
    PART = 36,      ///< hierarchy node with geometry
    WIRE = 39,      ///< curve of a B-rep

    PMI_NONE = 97,  ///< no type: marks table rows and records that have no entity type of their own
    PMI_ENTITY = 98,  ///< any piece of PMI: every type from here to PMI_COORDINATE_SYSTEM is of it

    PMI_DIMENSION = 105,
    PMI_SURFACE_FINISH = 107,
    PMI_FEATURE_CONTROL_FRAME = 108,
    PMI_DATUM_FEATURE_SYMBOL = 109,
    PMI_DATUM_TARGET = 110,
    PMI_SPOT_WELD = 111,
    PMI_LINE_WELD = 112,
    PMI_MATERIAL_SPECIFICATION = 113,
    PMI_PROCESS_SPECIFICATION = 114,
    PMI_PART_SPECIFICATION = 115,
    PMI_ORGANISATION = 116,
    PMI_NOTE = 117,
    PMI_BALLOON_NOTE = 118,
    PMI_MEASUREMENT_POINT = 119,
    PMI_LOCATOR = 120,
    PMI_COORDINATE_NOTE = 123,
    PMI_EMARKING = 128,
    PMI_COORDINATE_SYSTEM = 138,

    // Types of this library.
    INSTANCE = 201,   ///< hierarchy node that represents another one
    PROPERTY = 202,   ///< property of a hierarchy node
    ATTRIBUTE = 203,  ///< any attribute of a hierarchy node
    TRANSFORM = 204,  ///< transform attribute of a hierarchy node
    BREP = 205,       ///< precise geometry of a part
  };

  /// The type that this entity was made as.
  virtual TypeID typeID() const noexcept = 0;

  /// True when this entity is of the type: when it was made as it, for every piece of PMI also when
  /// `type` is PMI_ENTITY, and for every attribute also when it is ATTRIBUTE. Nothing is of the
  /// type PMI_NONE.
  bool isOfType(TypeID type) const noexcept;

 protected:
  ~JtkEntity() override;
};
