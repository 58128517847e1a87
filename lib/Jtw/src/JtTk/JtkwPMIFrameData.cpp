#include "JtkwPMIFrameData.h"

#include "JtTk/JtkwColorText.h"

JtkwPMIFrameData::JtkwPMIFrameData() : shapeColorText_(jtw::multiCadColorText(shapeColor_)) {}

JtkwPMIFrameData::~JtkwPMIFrameData() = default;

void JtkwPMIFrameData::setRelLoc(const RTTran3D& location, const RTTran3D* reference) {
  const RTTran3D seen = seenFrom(reference, location);
  setOrigin(seen.getTranslation());
  setPointOnXDirection(seen.xAxis());
  setpointOnYDirection(seen.yAxis());
}

void JtkwPMIFrameData::getRelLoc(const RTTran3D& reference, RTTran3D& location) const {
  RTVec3D x = pointOnXDirection();
  RTVec3D y = pointOnYDirection();
  x.normalize();
  y.normalize();
  location = placedIn(reference, RTTran3D(x, y, cross(x, y), origin()));
}

void JtkwPMIFrameData::setGraShapeColor(const ApiGraColor& color) {
  shapeColor_ = color;
  shapeColorText_ = jtw::multiCadColorText(color);
}

bool JtkwPMIFrameData::setShapeColor(const char* text) {
  const auto color = text ? jtw::colorOfMultiCadText(text) : std::nullopt;
  if (color) setGraShapeColor(*color);
  return color.has_value();
}
