#include "JtShape.h"

#include "codec/shape/VertexBindings.h"
#include "scene/Recording.h"

void JtShape::setStatistics(const jt::ShapeStatistics& statistics) {
  change(statistics_, reservedBox_);
  statistics_ = statistics;
  reservedBox_ = statistics.box;
}

void JtVertexShape::setVertexBindings(std::uint64_t bindings) {
  change(bindings_, bindingsAgain_, oldBindings_);
  bindings_ = bindings;
  if (bindingsAgain_) bindingsAgain_ = bindings;
  oldBindings_ = jt::codec::VertexBindings{bindings}.oldForm();
}
