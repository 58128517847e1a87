#include "JtkwPMIAnnotationData.h"

#include <utility>

JtkwPMIAnnotationData::~JtkwPMIAnnotationData() = default;

void JtkwPMIAnnotationData::setPlanarOrientation(RTVec3D x, RTVec3D y) {
  setPointOnXDirection(origin() + x);
  setpointOnYDirection(origin() + y);
}

void JtkwPMIAnnotationData::getPlanarOrientation(RTVec3D& x, RTVec3D& y) const {
  x = pointOnXDirection() - origin();
  y = pointOnYDirection() - origin();
  x.normalize();
  y.normalize();
}

bool JtkwPMIAnnotationData::takeLines(jtw::PolylineStore lines, const PolylineTypes& types) {
  if (types.size() > lines.size()) return false;
  types_ = types;
  types_.resize(lines.size(), ApiGraphicsPMIAnnotationData::GENERAL_LINE);
  lines_ = std::move(lines);
  return true;
}

bool JtkwPMIAnnotationData::setPolylines(const Points& vertices, const Indices& indices,
                                         const PolylineTypes& types) {
  jtw::PolylineStore lines;
  return lines.assign(vertices, indices) && takeLines(std::move(lines), types);
}

bool JtkwPMIAnnotationData::setGeomPolylineSet(const Polylines& polylines,
                                               const PolylineTypes& types) {
  jtw::PolylineStore lines;
  return lines.assign(polylines) && takeLines(std::move(lines), types);
}

JtkwPMIAnnotationData::Polylines JtkwPMIAnnotationData::getPolylineOfType(
    ApiGraphicsPMIAnnotationData::GeomPolylineTypes type) const {
  Polylines found;
  for (std::size_t i = 0; i < types_.size(); ++i) {
    if (types_[i] != type) continue;
    const auto points = lines_.polyline(i);
    found.emplace_back(points.begin(), points.end());
  }
  return found;
}

bool JtkwPMIAnnotationData::findPolylineSeg(int index, int& begin, int& end) const {
  if (index < 0 || static_cast<std::size_t>(index) >= lines_.size()) return false;
  begin = indices()[static_cast<std::size_t>(index)];
  end = indices()[static_cast<std::size_t>(index) + 1];
  return true;
}

bool JtkwPMIAnnotationData::getPolyline(int index, Points& points) const {
  int begin = 0;
  int end = 0;
  if (!findPolylineSeg(index, begin, end)) return false;
  points.assign(vertices().begin() + begin, vertices().begin() + end);
  return true;
}

bool JtkwPMIAnnotationData::setPolyline(int index, const Points& points) {
  return index >= 0 && lines_.replace(static_cast<std::size_t>(index), points);
}

bool JtkwPMIAnnotationData::setPolygons(const Points& vertices, const Indices& indices) {
  return polygons_.assign(vertices, indices);
}

bool JtkwPMIAnnotationData::setTextPolylines(const Points& vertices, const Indices& indices) {
  return text_.assign(vertices, indices);
}

void JtkwPMIAnnotationData::setLeaderDragPoint(const RTVec3D& move, bool shouldRenderLeader) {
  leaderDragPoint_ = move;
  shouldRenderLeader_ = shouldRenderLeader;
}
