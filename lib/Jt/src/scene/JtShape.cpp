#include "JtShape.h"

#include "codec/shape/VertexBindings.h"

void JtShape::setStatistics(const jt::ShapeStatistics& statistics) {
  statistics_ = statistics;
  reservedBox_ = statistics.box;
  touch();
}

void JtVertexShape::setVertexBindings(std::uint64_t bindings) {
  bindings_ = bindings;
  if (bindingsAgain_) bindingsAgain_ = bindings;
  oldBindings_ = jt::codec::VertexBindings{bindings}.oldForm();
  touch();
}
