#include "JtLOD.h"
#include "JtShape.h"
#include "JtSwitch.h"

void JtRangeLOD::setRangeLimits(std::vector<float> limits) {
  limits_ = std::move(limits);
  touch();
}

void JtRangeLOD::setCenter(const std::array<float, 3>& center) {
  center_ = center;
  touch();
}

void JtSwitch::setSelectedChild(int index) {
  selected_ = index;
  touch();
}

JtNode* JtSwitch::representation(bool selected) const {
  const bool shows = selected_ >= 0 && selected_ < numChildren();
  const int shown = shows ? selected_ : 0;
  if (selected || numChildren() < 2) return child(shown);
  return child(shown == 0 ? 1 : 0);
}

void JtShape::setStatistics(const jt::ShapeStatistics& statistics) {
  statistics_ = statistics;
  reservedBox_ = statistics.box;
  touch();
}

void JtVertexShape::setVertexBindings(std::uint64_t bindings) {
  bindings_ = bindings;
  if (bindingsAgain_) bindingsAgain_ = bindings;
  touch();
}
