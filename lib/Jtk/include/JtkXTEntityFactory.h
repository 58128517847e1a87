#pragma once

#include <cstdint>

#include "JtPartUtil.h"
#include "JtkExport.h"

namespace jtk {

/// The toolkit's numbers of length units. They differ from those of JtPartUtil::Unit.
enum UnitCode : std::int32_t {
  NO_UNIT = 0,
  MICROMETERS = 1,
  MILLIMETERS = 2,
  CENTIMETERS = 3,
  DECIMETERS = 4,
  METERS = 5,
  INCHES = 6,
  KILOMETERS = 7,
  FEET = 8,
  YARDS = 9,
  MILES = 10,
  MILS = 11,
};

/// The unit of a code, JtPartUtil::unknown for NO_UNIT and for numbers that are none.
JTK_API JtPartUtil::Unit unitOfCode(int code) noexcept;

}  // namespace jtk

/// Settings for precise geometry that is made anew. The toolkit makes none: the unit is kept and
/// returned. Safe from any thread.
class JTK_API JtkXTEntityFactory {
 public:
  /// @param code of jtk::UnitCode. @return 1; 0 for a number that is none, without effect
  static int setUnits(int code);
  static int units();
};
