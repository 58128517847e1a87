#include "ShapePlan.h"

#include <algorithm>
#include <map>

#include "JtInstance.h"
#include "JtLOD.h"
#include "SceneWriter.h"
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

/// The property with geometry that is still to be stored: its key, and the geometry's atom.
Property newGeometryOf(const JtShape& shape) {
  JtPropAtom* key = nullptr;
  JtPropAtom* value = nullptr;
  for (int i = 0; shape.getProperty(i, key, value); ++i) {
    const auto* late = as<JtLateLoadedPropAtom>(value);
    if (late && as<ShapeGeometry>(late->loaded())) return {key, value};
  }
  return {};
}

}  // namespace

std::int32_t ShapePlan::segmentTypeOf(const JtShape& shape) {
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

void ShapePlan::tellEncoding(JtVertexShape& shape, const ShapeEncoding& encoding,
                             const Format& format) {
  shape.quantization_ = codec::quantizationOf(codec::VertexBindings{shape.bindings_},
                                              generationOf(format), optionsOf(encoding));
}

void ShapePlan::prepare(const JtNode& root, const ShapeEncoding& encoding, const Format& format) {
  // Shapes with the same mesh share an atom, and with it a segment.
  std::map<std::pair<const Mesh*, std::int32_t>, Ref<JtPropAtom>> atoms;
  for (const JtNode* node : SceneWriter::nodesOf(root)) {
    auto* shape = const_cast<JtShape*>(as<JtShape>(node));
    if (!shape || !(shape->isModified() || shape->propertiesModified())) continue;
    const Property property = newGeometryOf(*shape);
    if (!property.value) continue;
    auto& atom = static_cast<JtLateLoadedPropAtom&>(*property.value);
    if (auto* vertexShape = const_cast<JtVertexShape*>(as<JtVertexShape>(node)))
      tellEncoding(*vertexShape, encoding, format);
    const std::int32_t type = segmentTypeOf(*shape);
    const Mesh* mesh = as<ShapeGeometry>(atom.loaded())->mesh().get();
    Ref<JtPropAtom>& first = atoms[{mesh, type}];
    if (!first) {
      first = &atom;
      atom.segmentType_ = type;
    } else if (!(first == &atom)) {
      shape->addProperty(property.key.get(), first.get(), true);
    }
  }
}

}  // namespace jt::file
