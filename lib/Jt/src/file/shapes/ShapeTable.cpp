#include "file/shapes/ShapeTable.h"

#include "file/archive/GuidLiteral.h"
#include "file/shapes/ShapeFields.h"

namespace jt::file {

namespace {

struct VertexShapeFields {
  void operator()(auto& ar, ShapeElement& e) const { ShapeFields::vertexShape(ar, e); }
};
struct NullShapeFields {
  void operator()(auto& ar, ShapeElement& e) const { ShapeFields::nullShape(ar, e); }
};
struct PrimitiveSetFields {
  void operator()(auto& ar, ShapeElement& e) const { ShapeFields::primitiveSet(ar, e); }
};
struct OpaqueFields {
  void operator()(auto& ar, ShapeElement& e) const { ShapeFields::opaque(ar, e); }
};

/// A kind with one field list for the three archives.
template <class Fields>
ShapeKind makeKind(const JtGuid& guid, const char* name, Mesh::Kind kind, bool hasMesh, Fields) {
  return {guid,
          name,
          kind,
          hasMesh,
          std::is_same_v<Fields, PrimitiveSetFields>,
          std::is_same_v<Fields, NullShapeFields>,
          [](Reader& ar, ShapeElement& e) { Fields{}(ar, e); },
          [](TracingReader& ar, ShapeElement& e) { Fields{}(ar, e); },
          [](Writer& ar, ShapeElement& e) { Fields{}(ar, e); }};
}

std::span<const ShapeKind> table() {
  using enum Mesh::Kind;
  static const ShapeKind kinds[] = {
      makeKind("10dd10ab-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Tri-Strip Set Shape LOD", triangles,
               true, VertexShapeFields{}),
      makeKind("10dd10a1-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Polyline Set Shape LOD", polylines,
               true, VertexShapeFields{}),
      makeKind("98134716-0011-0818-1998-080009835d5a"_guid, "Point Set Shape LOD", points, true,
               VertexShapeFields{}),
      makeKind("10dd109f-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Polygon Set Shape LOD", triangles,
               true, VertexShapeFields{}),
      makeKind("3e637aed-2a89-41f8-a9fd-553737039682"_guid, "Null Shape LOD", points, false,
               NullShapeFields{}),
      makeKind("e40373c2-1ad9-11d3-9daf-00a0c9c7ddc2"_guid, "Primitive Set Shape", triangles, true,
               PrimitiveSetFields{}),
      makeKind("4cc7a523-0728-11d3-9d8b-00a0c9c7ddc2"_guid, "Wire Harness Set Shape", polylines,
               false, OpaqueFields{}),
  };
  return kinds;
}

}  // namespace

const ShapeKind* findShapeKind(const JtGuid& guid) noexcept {
  for (const ShapeKind& kind : table())
    if (kind.guid == guid) return &kind;
  return nullptr;
}

const ShapeKind& shapeKindOf(Mesh::Kind kind) noexcept {
  return table()[static_cast<std::size_t>(kind)];
}

}  // namespace jt::file
