#include "SavePlan.h"

#include <algorithm>

#include "JtInstance.h"
#include "JtLOD.h"
#include "ShapeGeometry.h"
#include "ShapeSegment.h"
#include "VisMetaDataNode.h"

namespace jt::file {

namespace {

constexpr std::int32_t kWithoutLevel = 6;
constexpr std::int32_t kFirstLevel = 7;
constexpr int kLastLevel = 9;

int levelOf(const JtLOD& lod, const JtNode& child) {
  for (int level = 0; level < std::min(kLastLevel, lod.numChildren()); ++level)
    if (lod.child(level) == &child) return level;
  return kLastLevel;
}

/// The atom of geometry that is still to be stored, or null.
const JtLateLoadedPropAtom* unstoredGeometry(const JtShape& shape) {
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; shape.getProperty(i, key, value); ++i) {
    const auto* late = as<JtLateLoadedPropAtom>(value);
    if (late && as<ShapeGeometry>(late->loaded())) return late;
  }
  return nullptr;
}

}  // namespace

std::int32_t SavePlan::segmentTypeOf(const JtShape& shape) {
  constexpr int kFarthest = 64;  // groups between a shape and its LOD node
  const JtNode* child = &shape;
  for (int i = 0; i < kFarthest; ++i) {
    const JtNode* parent = child->parent(0);
    if (!parent || as<VisMetaDataNode>(parent) || as<JtInstance>(parent)) break;
    if (const auto* lod = as<JtLOD>(parent)) return kFirstLevel + levelOf(*lod, *child);
    child = parent;
  }
  return kWithoutLevel;
}

SavePlan::SavePlan(const JtPartition& top, const std::vector<const JtNode*>& nodes, bool isChanged,
                   const ShapeEncoding& encoding, const Format& format)
    : top_(&top), bounds_(isChanged ? top.grownBounds() : std::nullopt) {
  for (const JtNode* node : nodes) {
    const auto* shape = as<JtShape>(node);
    if (shape && (shape->isModified() || shape->propertiesModified()))
      planShape(*shape, encoding, format);
  }
}

void SavePlan::planShape(const JtShape& shape, const ShapeEncoding& encoding,
                         const Format& format) {
  const JtLateLoadedPropAtom* atom = unstoredGeometry(shape);
  if (!atom) return;
  if (const auto* vertexShape = as<JtVertexShape>(&shape))
    quantization_[vertexShape] =
        codec::quantizationOf(codec::VertexBindings{vertexShape->vertexBindings()},
                              generationOf(format), optionsOf(encoding));
  const std::int32_t type = segmentTypeOf(shape);
  const Mesh* mesh = as<ShapeGeometry>(atom->loaded())->mesh().get();
  const JtLateLoadedPropAtom*& first = byMesh_[{mesh, type}];
  if (!first) first = atom;
  geometry_.try_emplace(atom, NewGeometry{first, type});
}

Ref<JtSceneObject> SavePlan::copyOf(const JtSceneObject& object) const {
  if (&object == top_ && bounds_) {
    Ref<JtPartition> copy(static_cast<JtPartition*>(top_->clone().get()));
    copy->setBounds(*bounds_);
    return copy;
  }
  const auto told = quantization_.empty() ? quantization_.end() : quantization_.find(&object);
  if (told == quantization_.end()) return {};
  const Ref<JtBase> made = object.clone();
  auto* copy = as<JtVertexShape>(made.get());
  copy->quantization_ = told->second;
  return copy;
}

const SavePlan::NewGeometry* SavePlan::newGeometryOf(const JtPropAtom& atom) const {
  const auto found = geometry_.empty() ? geometry_.end() : geometry_.find(&atom);
  return found == geometry_.end() ? nullptr : &found->second;
}

}  // namespace jt::file
