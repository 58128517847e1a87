#include "JtkwPMIData.h"

#include "ApiSysStringConvertors.h"

JtkwPMIData::~JtkwPMIData() = default;

RTTran3D JtkwPMIData::seenFrom(const RTTran3D* reference, const RTTran3D& location) {
  // Products with the identity are left out: they would turn infinite numbers into none.
  if (!reference || *reference == RTTran3D::unit) return location;
  return reference->inverse() * location;
}

RTTran3D JtkwPMIData::placedIn(const RTTran3D& reference, const RTTran3D& location) {
  return reference == RTTran3D::unit ? location : reference * location;
}

void JtkwPMIData::setRelLoc(const RTTran3D& location, const RTTran3D* reference) {
  origin_ = seenFrom(reference, location).getTranslation();
}

void JtkwPMIData::getRelLoc(const RTTran3D& reference, RTTran3D& location) const {
  location.setTranslation(origin_);
  location = placedIn(reference, location);
}

void JtkwPMIData::setDisplayName(const char* name) {
  if (name)
    displayName_ = RWClassicCString(name);  // a copy first: the text may be the name that goes
  else
    displayName_.reset();
}

void JtkwPMIData::setRWWDisplayName(const RWClassicWString& name) {
  displayName_ = ApiSysStringConvertors::UnicodeToRWCString(name);
}

void JtkwPMIData::getRWWDisplayName(RWClassicWString& name) const {
  name = ApiSysStringConvertors::RWCStringToUnicode(displayName_.value_or(RWClassicCString()));
}

void JtkwPMIData::setReferenceFrame(const double* origin, const double* pointOnX,
                                    const double* pointOnY, double scale) {
  const auto scaled = [scale](const double* p) { return RTVec3D(p[0], p[1], p[2]) * scale; };
  origin_ = scaled(origin);
  pointOnX_ = scaled(pointOnX);
  pointOnY_ = scaled(pointOnY);
}

void JtkwPMIData::setLayer(int layer) { layer_ = std::to_string(layer); }
