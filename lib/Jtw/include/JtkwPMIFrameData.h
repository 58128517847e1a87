#pragma once

#include "ApiGraColor.h"
#include "JtkwPMIData.h"

/// A coordinate system. Its second and third point are the directions of its x and y axis.
class JTW_API JtkwPMIFrameData : public JtkwPMIData {
 public:
  JtkwPMIFrameData();
  JtkwPMIFrameData(const JtkwPMIFrameData&) = default;
  JtkwPMIFrameData& operator=(const JtkwPMIFrameData&) = default;
  ~JtkwPMIFrameData() override;

  /// Takes origin and axes of the location as seen from the reference: inverse(reference) *
  /// location. A null reference is the identity, and so is one that has no inverse.
  void setRelLoc(const RTTran3D& location, const RTTran3D* reference) override;
  /// Makes `location` the reference times the transform with the normalised directions, their cross
  /// product and the origin. Directions that are not perpendicular stay so.
  void getRelLoc(const RTTran3D& reference, RTTran3D& location) const override;

  /// Whether the frame is shown; true at first.
  bool visibility() const { return visible_; }
  void setVisibility(bool visible) { visible_ = visible; }

  /// The color that the frame is drawn in.
  const ApiGraColor& getGraShapeColor() const { return shapeColor_; }
  void setGraShapeColor(const ApiGraColor& color);
  /// Takes the color out of a text such as shapeColorStr() gives. False, and nothing changes, for
  /// null and for a text without such a color.
  bool setShapeColor(const char* text);
  /// The shape color as the diffuse color of a material: 17 numbers separated by commas, ambient,
  /// diffuse, specular, emission (red, green, blue, alpha) and shininess. Valid until the color is
  /// set again.
  const char* shapeColorStr() const { return shapeColorText_.c_str(); }

 private:
  bool visible_ = true;
  ApiGraColor shapeColor_;
  RWClassicCString shapeColorText_;  // made with the color, so that readers change nothing
};
