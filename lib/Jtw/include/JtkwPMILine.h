#pragma once

#include "ApiGraphicsManipulatorElementGraphicsData.h"
#include "JtkwPMILineAttributes.h"
#include "RTVec3D.h"

/// A straight line of a dimension.
class JTW_API JtkwPMILine : public JtkwPMILineAttributes {
 public:
  /// A line between two points, in millimetres. @param isShownInGV whether the host's graphics
  /// view shows it
  JtkwPMILine(const RTVec3D& beginPoint, const RTVec3D& endPoint, bool isShownInGV = true)
      : JtkwPMILineAttributes(isShownInGV), begin_(beginPoint), end_(endPoint) {}
  JtkwPMILine(const JtkwPMILine&) = default;
  JtkwPMILine& operator=(const JtkwPMILine&) = default;
  ~JtkwPMILine() override;

  /// The host's type of the element.
  ApiGraphicsManipulatorElementGraphicsData::Type type() const {
    return ApiGraphicsManipulatorElementGraphicsData::LINE;
  }

  /// The ends, in millimetres.
  const RTVec3D& beginPoint() const { return begin_; }
  const RTVec3D& endPoint() const { return end_; }

 private:
  RTVec3D begin_;
  RTVec3D end_;
};
