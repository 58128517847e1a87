// The extents of listed objects.

#include "JtwSelection.h"

namespace jtw {
namespace {

jt::Box pointBox(const RTVec3D& point) {
  jt::Box box;
  box.min = {static_cast<float>(point.x), static_cast<float>(point.y), static_cast<float>(point.z)};
  box.max = box.min;
  return box;
}

/// The box around a box in the coordinates inside an object, in millimetres of the component.
jt::Box placed(const jt::Box& box, JtwNode& node) {
  const RTTran3D place = node.absLoc();
  const auto unit = static_cast<double>(node.measurementUnitRatio());
  jt::Box result;
  for (const auto& [x, y, z] : jt::corners(box))
    result =
        jt::unite(result, pointBox(place.transformPoint(RTVec3D(unit * x, unit * y, unit * z))));
  return result;
}

}  // namespace

std::vector<std::optional<jt::Box>> extentsOf(const Objects& objects) {
  std::vector<std::optional<jt::Box>> extents(objects.entries().size());
  // Children are listed behind their parent.
  for (std::size_t i = extents.size(); i-- > 0;) {
    JtwNode& node = objects.node(i);
    if (node.isOfTypePMI())
      extents[i] = pointBox(node.absLoc().getTranslation());
    else if (node.isCollection() == 0 && node.jtNode())
      if (const auto content = jt::contentBounds(*node.jtNode()))
        extents[i] = placed(*content, node);
    const auto parent = objects.parentOf(i);
    if (!parent || !extents[i]) continue;
    std::optional<jt::Box>& above = extents[*parent];
    above = above ? jt::unite(*above, *extents[i]) : *extents[i];
  }
  return extents;
}

}  // namespace jtw
