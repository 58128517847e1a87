#pragma once

#include "ApiGraphicsManipulatorElementGraphicsData.h"
#include "JtkwPMILineAttributes.h"
#include "RTVec3D.h"

/// An arrow head of a dimension: a triangle from its head, the tip, to both ends of its base. All
/// points are zero until they are set.
class JTW_API JtkwPMIArrow : public JtkwPMILineAttributes {
 public:
  /// @param isShownInGV whether the host's graphics view shows it
  explicit JtkwPMIArrow(bool isShownInGV = true) : JtkwPMILineAttributes(isShownInGV) {}
  JtkwPMIArrow(const JtkwPMIArrow&) = default;
  JtkwPMIArrow& operator=(const JtkwPMIArrow&) = default;
  ~JtkwPMIArrow() override;

  /// The host's type of the element.
  ApiGraphicsManipulatorElementGraphicsData::Type type() const {
    return ApiGraphicsManipulatorElementGraphicsData::ARROW;
  }

  /// The tip, and the base: its ends and its middle. In millimetres.
  const RTVec3D& headPoint() const { return head_; }
  void setHeadPoint(const RTVec3D& point) { head_ = point; }
  const RTVec3D& baseLeftPoint() const { return baseLeft_; }
  void setBaseLeftPoint(const RTVec3D& point) { baseLeft_ = point; }
  const RTVec3D& baseMidPoint() const { return baseMid_; }
  void setBaseMidPoint(const RTVec3D& point) { baseMid_ = point; }
  const RTVec3D& baseRightPoint() const { return baseRight_; }
  void setBaseRightPoint(const RTVec3D& point) { baseRight_ = point; }
  /// Half the width of the base, where the host draws a cone; in millimetres.
  float radius() const { return radius_; }
  void setRadius(float radius) { radius_ = radius; }

 private:
  RTVec3D head_;
  RTVec3D baseLeft_;
  RTVec3D baseMid_;
  RTVec3D baseRight_;
  float radius_ = 0.0F;
};
