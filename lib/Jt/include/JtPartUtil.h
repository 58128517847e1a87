#pragma once

#include "JtExport.h"
#include "JtNode.h"

/// Length units of parts and assemblies.
class JT_API JtPartUtil {
 public:
  /// Unit codes: 0 unknown or none, then the units in the order of the format's own list, 12 the
  /// unit that needs no conversion.
  enum Unit {
    unknown = 0,
    micrometers,
    millimeters,
    centimeters,
    decimeters,
    meters,
    kilometers,
    inches,
    feet,
    yards,
    mils,
    miles,
    native
  };
  /// The unit that the node itself names ("JT_PROP_MEASUREMENT_UNITS", case does not matter). False
  /// when it names none or one that is not in the list.
  static bool obtainMeasureUnit(const JtNode* node, Unit& unit);
  /// Metres per unit: the factor to the unit of XT geometry. False for `unknown` and `native`.
  static bool obtainScaleToXtFromUnit(Unit unit, double& scale);
  /// Millimetres in the unit that the node itself names; 0 when it names none.
  static double millimetresOf(const JtNode& node);
  /// Millimetres in the unit of length that holds at a node, its own or that of the next node above
  /// it, by first parents, that names one; 1 when none does.
  static double millimetresAt(const JtNode& node);
  /// The word that files use, first letter capital; empty for `unknown` and `native`.
  static const char* unitName(Unit unit);
};
