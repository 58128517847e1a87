#include "JtkPart.h"

JtkPart::~JtkPart() = default;

int JtkPart::numLODs(ShapeList list) const noexcept {
  return static_cast<int>(levels_[static_cast<std::size_t>(list)].size());
}

const JtkPart::Level* JtkPart::level(int lod, ShapeList list) const noexcept {
  if (lod < 0 || lod >= numLODs(list)) return nullptr;
  return &levels_[static_cast<std::size_t>(list)][static_cast<std::size_t>(lod)];
}

int JtkPart::numShapes(int lod, ShapeList list) const noexcept {
  const Level* shapes = level(lod, list);
  return shapes ? static_cast<int>(shapes->size()) : 0;
}

JtShape* JtkPart::shape(int lod, int index, ShapeList list) const noexcept {
  if (index < 0 || index >= numShapes(lod, list)) return nullptr;
  return (*level(lod, list))[static_cast<std::size_t>(index)].get();
}

int JtkPart::addShape(JtShape* shape, int lod, ShapeList list) {
  if (!shape || lod < 0 || lod >= kMostLODs) return 0;
  auto& levels = levels_[static_cast<std::size_t>(list)];
  const auto index = static_cast<std::size_t>(lod);
  if (index >= levels.size()) levels.resize(index + 1);
  levels[index].emplace_back(shape);
  return 1;
}

jt::Ref<JtShape> JtkPart::takeShape(int lod, int index, ShapeList list) {
  jt::Ref<JtShape> taken(shape(lod, index, list));
  removeShape(lod, index, list);
  return taken;
}

int JtkPart::removeShape(int lod, int index, ShapeList list) {
  if (!shape(lod, index, list)) return 0;
  auto& levels = levels_[static_cast<std::size_t>(list)];
  Level& shapes = levels[static_cast<std::size_t>(lod)];
  shapes.erase(shapes.begin() + index);
  while (!levels.empty() && levels.back().empty()) levels.pop_back();
  return 1;
}

JtkPart::ShapeList JtkPart::listOf(const JtShape& shape) noexcept {
  return jt::as<JtSparseShape>(&shape) ? ShapeList::LINES : ShapeList::SURFACES;
}

JtkBrep* JtkPart::indexedBrep(int index) const noexcept {
  if (index < 0 || index >= numIndexedBreps()) return nullptr;
  return bodies_[static_cast<std::size_t>(index)].get();
}

int JtkPart::setIndexedBrep(int index, JtkBrep* brep) {
  constexpr int kMostBodies = 1 << 20;
  if (index < 0 || index >= kMostBodies) return 0;
  if (index >= numIndexedBreps()) bodies_.resize(static_cast<std::size_t>(index) + 1);
  bodies_[static_cast<std::size_t>(index)] = jt::Ref<JtkBrep>(brep);
  return 1;
}

jt::Ref<JtkBrep> JtkPart::takeIndexedBrep(int index) {
  jt::Ref<JtkBrep> taken(indexedBrep(index));
  if (taken) bodies_[static_cast<std::size_t>(index)] = nullptr;
  return taken;
}
