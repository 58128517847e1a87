#pragma once

class JtNode;
class JtPartition;

/// The units of length that nodes of native JT data name.
class JtwMeasurementUnitsInterface {
 public:
  /// Millimetres per unit of a node. 1 for every node when the environment says that units are to
  /// be ignored, which is asked once.
  /// @return false, with `scale` untouched, for a node that is not a metadata node or has no unit
  static bool getScaleFromUnits(JtNode* node, double& scale);

  /// Records on every node of the partition whose unit is not the millimetre what its scale is, in
  /// "KrMeasurementUnitProp". Nothing below parts, or in other files, is looked at.
  /// @param takeRecorded a scale that is recorded already is kept; otherwise it is brought up to
  /// what the unit says now
  static void recordScales(JtPartition& partition, bool takeRecorded);
};
