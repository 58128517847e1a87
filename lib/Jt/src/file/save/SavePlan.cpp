#include "file/save/SavePlan.h"

#include <algorithm>

#include "JtInstance.h"
#include "JtLOD.h"
#include "VisMetaDataNode.h"
#include "file/graph/SceneSource.h"
#include "file/shapes/ShapeGeometry.h"
#include "file/shapes/ShapeSegment.h"

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

/// The atom of a shape's geometry, or null.
const JtLateLoadedPropAtom* geometryOf(const JtShape& shape) {
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; shape.getProperty(i, key, value); ++i) {
    const auto* late = as<JtLateLoadedPropAtom>(value);
    if (late && isShapeSegment(late->segmentType())) return late;
  }
  return nullptr;
}

bool isUnstored(const JtLateLoadedPropAtom& atom) { return as<ShapeGeometry>(atom.loaded()); }

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

SavePlan::SavePlan(const std::vector<const JtNode*>& nodes, const ShapeEncoding& encoding,
                   const Format& format, SegmentConverter& converter) {
  for (const JtNode* node : nodes) {
    const auto* shape = as<JtShape>(node);
    if (!shape) continue;
    const bool isChangedShape = shape->isModified() || shape->propertiesModified();
    const SceneSource* source = SceneSource::sourceOf(*shape);
    if (!isChangedShape && source && source->format().sameSegmentsAs(format)) continue;
    const JtLateLoadedPropAtom* atom = geometryOf(*shape);
    if (!atom) continue;
    const auto* vertexShape = as<JtVertexShape>(shape);
    if (isUnstored(*atom)) {
      planNew(*shape, *atom, encoding, format);
    } else if (vertexShape) {
      planConverted(*vertexShape, *atom, converter);
    }
  }
}

void SavePlan::growBounds(const JtPartition& top) {
  top_ = &top;
  bounds_ = top.grownBounds();
}

void SavePlan::planNew(const JtShape& shape, const JtLateLoadedPropAtom& atom,
                       const ShapeEncoding& encoding, const Format& format) {
  const Mesh* mesh = as<ShapeGeometry>(atom.loaded())->mesh().get();
  if (as<JtVertexShape>(&shape)) {
    const codec::Generation generation = generationOf(format);
    const codec::VertexBindings bindings = codec::bindingsOf(*mesh, generation);
    shapes_[&shape] = {bindings, codec::quantizationOf(bindings, generation, optionsOf(encoding))};
  }
  const std::int32_t type = segmentTypeOf(shape);
  const JtLateLoadedPropAtom*& first = byMesh_[{mesh, type}];
  if (!first) first = &atom;
  geometry_.try_emplace(&atom, NewGeometry{first, type});
}

/// The node of geometry that is encoded anew follows its segment.
void SavePlan::planConverted(const JtVertexShape& shape, const JtLateLoadedPropAtom& atom,
                             SegmentConverter& converter) {
  const SceneSource* source = SceneSource::sourceOf(atom);
  const TocEntry* entry = source ? source->container().find(atom.segmentId()) : nullptr;
  if (!entry) return;
  const std::optional<ShapeStorage>& stored = converter.convert(source->container(), *entry).shape;
  if (stored) shapes_[&shape] = *stored;
}

Ref<JtSceneObject> SavePlan::copyOf(const JtSceneObject& object) const {
  if (&object == top_ && bounds_) {
    Ref<JtPartition> copy(static_cast<JtPartition*>(top_->clone().get()));
    copy->setBounds(*bounds_);
    return copy;
  }
  const auto planned = shapes_.empty() ? shapes_.end() : shapes_.find(&object);
  if (planned == shapes_.end()) return {};
  const Ref<JtBase> made = object.clone();
  auto* copy = as<JtVertexShape>(made.get());
  copy->setVertexBindings(planned->second.bindings.bits);
  FieldAccess::quantization(*copy) = planned->second.quantization;
  return copy;
}

const SavePlan::NewGeometry* SavePlan::newGeometryOf(const JtPropAtom& atom) const {
  const auto found = geometry_.empty() ? geometry_.end() : geometry_.find(&atom);
  return found == geometry_.end() ? nullptr : &found->second;
}

}  // namespace jt::file
