#include "JtkwPMIDimensionData.h"

#include <utility>

#include "ApiSysStringConvertors.h"
#include "JtTk/JtkwDimensionPlane.h"

namespace {

/// Puts the points of the frame into a plane, if there is one.
bool setPlane(JtkwPMIData& data, const std::optional<jtw::PlaneAxes>& axes) {
  if (!axes) return false;
  data.setPointOnXDirection(data.origin() + axes->x);
  data.setpointOnYDirection(data.origin() + axes->y);
  return true;
}

}  // namespace

JtkwPMIDimensionData::~JtkwPMIDimensionData() = default;

void JtkwPMIDimensionData::setRelLoc(const RTTran3D& location, const RTTran3D* /*reference*/) {
  setOrigin(location.getTranslation());
  setPointOnXDirection(origin());
  setpointOnYDirection(origin());
}

void JtkwPMIDimensionData::getRelLoc(const RTTran3D& reference, RTTran3D& location) const {
  const auto axes = jtw::planeAxes(pointOnXDirection() - origin(), pointOnYDirection() - origin());
  if (axes) location = RTTran3D(axes->x, axes->y, cross(axes->x, axes->y), RTVec3D());
  location.setTranslation(origin());
  location = placedIn(reference, location);
}

bool JtkwPMIDimensionData::calculateDimensionPlane(const Lines& lines, const Arrows& arrows) {
  return setPlane(*this, jtw::linearDimensionPlane(lines, arrows));
}

bool JtkwPMIDimensionData::calculateAngularDimensionPlane(const Lines& lines,
                                                          const Arrows& arrows) {
  return setPlane(*this, jtw::angularDimensionPlane(lines, arrows));
}

void JtkwPMIDimensionData::setText(const char* text) {
  if (text)
    text_ = RWClassicCString(text);  // a copy first: the text may be the one that goes
  else
    text_.reset();
}

void JtkwPMIDimensionData::setRWCText(const RWClassicCString& text) {
  text_ =
      ApiSysStringConvertors::UnicodeToRWCString(ApiSysStringConvertors::RWCStringToUnicode(text));
}

bool JtkwPMIDimensionData::setPolylines(const Polylines& polylines) {
  if (!polylines_.assign(polylines)) return false;
  types_.assign(polylines.size(), ApiGraphicsPMIAnnotationData::GENERAL_LINE);
  return true;
}

bool JtkwPMIDimensionData::setPolylines(const Lines& lines, const Arrows& arrows) {
  Polylines drawn;
  for (const JtkwPMILine* line : lines)
    if (line && line->isShownInGV()) drawn.push_back({line->beginPoint(), line->endPoint()});
  PolylineTypes types(drawn.size(), ApiGraphicsPMIAnnotationData::GENERAL_LINE);
  for (const JtkwPMIArrow* arrow : arrows)
    if (arrow && arrow->isShownInGV())
      drawn.push_back({arrow->baseLeftPoint(), arrow->headPoint(), arrow->baseRightPoint(),
                       arrow->baseLeftPoint()});
  types.resize(drawn.size(), ApiGraphicsPMIAnnotationData::ARROW);
  if (!polylines_.assign(drawn)) return false;
  types_ = std::move(types);
  return true;
}

void JtkwPMIDimensionData::getPMIPolylineData(Points& vertices, Indices& indices,
                                              PolylineTypes& types) const {
  vertices = polylines_.vertices();
  indices = polylines_.indices();
  types = types_;
}
