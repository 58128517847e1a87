#include "PMIKinds.h"

#include <algorithm>
#include <array>

namespace jtk {
namespace {

using Type = JtkEntity::TypeID;

constexpr std::uint16_t kRoot = 0x0001;
constexpr std::uint16_t kWelds = 0x0002;
constexpr std::uint16_t kTolerancing = 0x0080;
constexpr std::uint16_t kNotes = 0x0100;

constexpr std::array<PMIKind, 17> kKinds{{
    {Type::PMI_DIMENSION, 0x0082, kTolerancing, "Dimensions"},
    {Type::PMI_SURFACE_FINISH, 0x0041, kRoot, "Surface Finishes"},
    {Type::PMI_FEATURE_CONTROL_FRAME, 0x0081, kTolerancing, "Feature Control Frames"},
    {Type::PMI_DATUM_FEATURE_SYMBOL, 0x0084, kTolerancing, "Datum Feature Symbols"},
    {Type::PMI_DATUM_TARGET, 0x0088, kTolerancing, "Datum Targets"},
    {Type::PMI_SPOT_WELD, 0x0004, kWelds, "Spot Welds"},
    {Type::PMI_LINE_WELD, 0x0008, kWelds, "Line Welds"},
    {Type::PMI_MATERIAL_SPECIFICATION, 0x0231, kRoot, "Material Specifications"},
    {Type::PMI_PROCESS_SPECIFICATION, 0x0232, kRoot, "Process Specifications"},
    {Type::PMI_PART_SPECIFICATION, 0x0233, kRoot, "Part Specifications"},
    {Type::PMI_ORGANISATION, 0x0245, kRoot, "Organisations"},
    {Type::PMI_NOTE, 0x0100, kRoot, "Notes"},
    {Type::PMI_BALLOON_NOTE, 0x0235, kRoot, "Balloon Notes"},
    {Type::PMI_MEASUREMENT_POINT, 0x0042, kRoot, "Measurement Points"},
    {Type::PMI_LOCATOR, 0x0118, kRoot, "Locators"},
    {Type::PMI_COORDINATE_NOTE, 0x0239, kRoot, "Coordinate Notes"},
    {Type::PMI_EMARKING, 0x0244, kRoot, "eMarkings"},
}};
constexpr PMIKind kCoordinateSystem{Type::PMI_COORDINATE_SYSTEM, 0x0104, kRoot,
                                    "Coordinate Systems"};

/// Codes of members of a group beside the code of the group itself.
struct Member {
  std::uint16_t code;
  Type type;
};
constexpr std::array<Member, 20> kMembers{{
    {0x0018, Type::PMI_SPOT_WELD},
    {0x0020, Type::PMI_SPOT_WELD},
    {0x0028, Type::PMI_SPOT_WELD},
    {0x0040, Type::PMI_SPOT_WELD},
    {0x0010, Type::PMI_LINE_WELD},
    {0x0011, Type::PMI_LINE_WELD},
    {0x0012, Type::PMI_LINE_WELD},
    {0x0014, Type::PMI_LINE_WELD},
    {0x0021, Type::PMI_LINE_WELD},
    {0x0022, Type::PMI_LINE_WELD},
    {0x0024, Type::PMI_LINE_WELD},
    {0x0101, Type::PMI_NOTE},
    {0x0102, Type::PMI_NOTE},
    {0x0120, Type::PMI_MEASUREMENT_POINT},
    {0x0121, Type::PMI_MEASUREMENT_POINT},
    {0x0122, Type::PMI_MEASUREMENT_POINT},
    {0x0124, Type::PMI_MEASUREMENT_POINT},
    {0x0128, Type::PMI_MEASUREMENT_POINT},
    {0x0044, Type::PMI_LOCATOR},
    {0x0104, Type::PMI_COORDINATE_SYSTEM},
}};

}  // namespace

const PMIKind* kindOf(JtkEntity::TypeID type) noexcept {
  if (type == kCoordinateSystem.type) return &kCoordinateSystem;
  const auto found = std::ranges::find(kKinds, type, &PMIKind::type);
  return found == kKinds.end() ? nullptr : &*found;
}

JtkEntity::TypeID typeOfEntityCode(std::uint16_t code) noexcept {
  if (const auto kind = std::ranges::find(kKinds, code, &PMIKind::code); kind != kKinds.end())
    return kind->type;
  const auto member = std::ranges::find(kMembers, code, &Member::code);
  return member == kMembers.end() ? Type::PMI_ENTITY : member->type;
}

std::uint16_t parentCodeOf(std::uint16_t code) noexcept {
  if (code == 0x0101 || code == 0x0102) return kNotes;
  const PMIKind* kind = kindOf(typeOfEntityCode(code));
  return kind ? kind->parentCode : kRoot;
}

const char* groupNameOf(std::uint16_t parentCode) noexcept {
  switch (parentCode) {
    case kWelds:
      return "Welds";
    case kTolerancing:
      return "Geometric Tolerancing";
    case kNotes:
      return "Notes";
    default:
      return "PMI";
  }
}

}  // namespace jtk
