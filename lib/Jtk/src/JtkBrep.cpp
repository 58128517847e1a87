#include "JtkBrep.h"

#include <utility>

#include "JtInspect.h"

JtkBrep::~JtkBrep() = default;

JtkBrep::JtkBrep(JtString key, JtLateLoadedPropAtom* atom) : key_(std::move(key)), atom_(atom) {}

int JtkBrep::numEntities(TypeID type) const noexcept {
  return type == WIRE ? static_cast<int>(wires_.size()) : 0;
}

JtkEntity* JtkBrep::entity(TypeID type, int index) const noexcept {
  if (index < 0 || index >= numEntities(type)) return nullptr;
  return wires_[static_cast<std::size_t>(index)].get();
}

bool JtkBrep::isSegmentType(int type) noexcept { return jt::isExactGeometry(type); }
