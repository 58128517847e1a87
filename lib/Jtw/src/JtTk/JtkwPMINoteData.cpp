#include "JtkwPMINoteData.h"

JtkwPMINoteData::JtkwPMINoteData() { lines_.reserve(10); }

JtkwPMINoteData::~JtkwPMINoteData() = default;

void JtkwPMINoteData::setRelLoc(const RTTran3D& location, const RTTran3D* /*reference*/) {
  const RTVec3D place = location.getTranslation();
  setOrigin(place);
  setPointOnXDirection(place + RTVec3D(1, 1, 0));
  setpointOnYDirection(place + RTVec3D(0, 0, 1));
  rotation_ = location;
  rotation_.setTranslation(RTVec3D());
}

void JtkwPMINoteData::getRelLoc(const RTTran3D& reference, RTTran3D& location) const {
  location.setTranslation(origin());
  if (reference != RTTran3D::unit) location *= reference;
}

void JtkwPMINoteData::setText(const char* line) {
  if (line) lines_.emplace_back(line);
}

void JtkwPMINoteData::setExtendedLine(RTVec3D end) {
  extendedLine_ = rotation_.transformPoint(end);
  hasExtendedLine_ = true;
}
