#include "file/elements/ElementTable.h"

#include <unordered_map>

#include "JtFlatMap.h"
#include "file/elements/AtomFields.h"
#include "file/elements/AttributeFields.h"
#include "file/elements/NodeFields.h"

namespace jt::file {

namespace {

/// The object as a T. What is written comes from anywhere, so its class is not taken on trust.
template <class T>
const T& checked(const JtSceneObject& object) {
  if (const T* known = as<T>(&object)) return *known;
  throw JtFormatError("not_writable", std::string("an object of type ") + object.typeID()->name() +
                                          " cannot be written as a " + T::classTypeID()->name());
}

template <class T, class Fields>
constexpr ElementKind makeKind(const JtGuid& guid, const char* name, std::uint8_t baseType,
                               ElementClass elementClass) {
  return {guid,
          name,
          baseType,
          elementClass,
          T::classTypeID(),
          sizeof(T),
          [] { return Ref<JtSceneObject>(new T); },
          [](Reader& ar, JtSceneObject& object) {
            Fields::run(ar, static_cast<T&>(object));
            Fields::trailingBytes(ar, static_cast<T&>(object));
          },
          [](TracingReader& ar, JtSceneObject& object) {
            Fields::run(ar, static_cast<T&>(object));
            Fields::trailingBytes(ar, static_cast<T&>(object));
          },
          [](Writer& ar, const JtSceneObject& object) {
            const T& known = checked<T>(object);
            Fields::run(ar, known);
            Fields::trailingBytes(ar, known);
          },
          [](FieldLister& ar, const JtSceneObject& object) {
            const T& known = checked<T>(object);
            Fields::run(ar, known);
            ar.beginTrailingBytes();
            Fields::trailingBytes(ar, known);
          }};
}

template <class T>
ElementKind node(const char* guid, const char* name, std::uint8_t baseType) {
  return makeKind<T, NodeFields>(*JtGuid::parse(guid), name, baseType, ElementClass::node);
}
template <class T>
ElementKind attribute(const char* guid, const char* name) {
  return makeKind<T, AttributeFields>(*JtGuid::parse(guid), name, 3, ElementClass::attribute);
}
template <class T>
ElementKind atom(const char* guid, const char* name, std::uint8_t baseType) {
  return makeKind<T, AtomFields>(*JtGuid::parse(guid), name, baseType, ElementClass::atom);
}

// The base types are those of ISO 14306: 0 node, 1 group, 2 shape, 3 attribute, 5 atom, 6 reference
// atom, 8 late-loaded atom.
const std::vector<ElementKind>& table() {
  static const std::vector<ElementKind> kinds{
      node<JtNode>("10dd1035-2ac8-11d1-9b6b-0080c7bb5997", "Base Node", 0),
      node<JtPartition>("10dd103e-2ac8-11d1-9b6b-0080c7bb5997", "Partition Node", 1),
      node<JtGroup>("10dd101b-2ac8-11d1-9b6b-0080c7bb5997", "Group Node", 1),
      node<JtInstance>("10dd102a-2ac8-11d1-9b6b-0080c7bb5997", "Instance Node", 0),
      node<VisPartNode>("ce357244-38fb-11d1-a506-006097bdc6e1", "Part Node", 1),
      node<VisMetaDataNode>("ce357245-38fb-11d1-a506-006097bdc6e1", "Meta Data Node", 1),
      node<JtLOD>("10dd102c-2ac8-11d1-9b6b-0080c7bb5997", "LOD Node", 1),
      node<JtRangeLOD>("10dd104c-2ac8-11d1-9b6b-0080c7bb5997", "Range LOD Node", 1),
      node<JtSwitch>("10dd10f3-2ac8-11d1-9b6b-0080c7bb5997", "Switch Node", 1),
      node<JtShape>("10dd1059-2ac8-11d1-9b6b-0080c7bb5997", "Base Shape Node", 2),
      node<JtVertexShape>("10dd107f-2ac8-11d1-9b6b-0080c7bb5997", "Vertex Shape Node", 2),
      node<JtTriStripSet>("10dd1077-2ac8-11d1-9b6b-0080c7bb5997", "Tri-Strip Set Shape Node", 2),
      node<JtPolylineSet>("10dd1046-2ac8-11d1-9b6b-0080c7bb5997", "Polyline Set Shape Node", 2),
      node<JtPointSet>("98134716-0010-0818-1998-080009835d5a", "Point Set Shape Node", 2),
      node<JtPolygonSet>("10dd1048-2ac8-11d1-9b6b-0080c7bb5997", "Polygon Set Shape Node", 2),
      node<JtNullShape>("d239e7b6-dd77-4289-a07d-b0ee79f79494", "Null Shape Node", 2),
      node<JtPrimitiveSet>("e40373c1-1ad9-11d3-9daf-00a0c9c7ddc2", "Primitive Set Shape Node", 2),
      node<JtWireHarnessSet>("4cc7a521-0728-11d3-9d8b-00a0c9c7ddc2", "Wire Harness Set Shape Node",
                             2),

      attribute<JtMaterial>("10dd1030-2ac8-11d1-9b6b-0080c7bb5997", "Material Attribute"),
      attribute<JtTextureImage>("10dd1073-2ac8-11d1-9b6b-0080c7bb5997", "Texture Image Attribute"),
      attribute<JtDrawStyle>("10dd1014-2ac8-11d1-9b6b-0080c7bb5997", "Draw Style Attribute"),
      attribute<JtLightSet>("10dd1096-2ac8-11d1-9b6b-0080c7bb5997", "Light Set Attribute"),
      attribute<JtInfiniteLight>("10dd1028-2ac8-11d1-9b6b-0080c7bb5997",
                                 "Infinite Light Attribute"),
      attribute<JtPointLight>("10dd1045-2ac8-11d1-9b6b-0080c7bb5997", "Point Light Attribute"),
      attribute<JtLineStyle>("10dd10c4-2ac8-11d1-9b6b-0080c7bb5997", "Linestyle Attribute"),
      attribute<JtPointStyle>("8d57c010-e5cb-11d4-840e-00a0d2182f9d", "Pointstyle Attribute"),
      attribute<JtXform>("10dd1083-2ac8-11d1-9b6b-0080c7bb5997", "Geometric Transform Attribute"),
      attribute<JtShaderEffects>("aa1b831d-6e47-4fee-a865-cd7e1f2f39db",
                                 "Shader Effects Attribute"),
      attribute<JtOpaqueAttribute>("2798bcad-e409-47ad-bd46-0b371fd75d61",
                                   "Vertex Shader Attribute"),
      attribute<JtOpaqueAttribute>("ad8dccc2-7a80-456d-b0d5-dd3a0b8d21e7",
                                   "Fragment Shader Attribute"),
      attribute<JtTextureCoordinateGenerator>("aa1b831d-6e47-4fee-a865-cd7e1f2f39dc",
                                              "Texture Coordinate Generator Attribute"),
      attribute<JtOpaqueAttribute>("a3cfb921-bdeb-48d7-b396-8b8d0ef485a0", "Mapping Plane"),
      attribute<JtOpaqueAttribute>("3e70739d-8cb0-41ef-845c-a198d4003b3f", "Mapping Cylinder"),
      attribute<JtOpaqueAttribute>("72475fd1-2823-4219-a06c-d9e6e39a45c1", "Mapping Sphere"),
      attribute<JtOpaqueAttribute>("92f5b094-6499-4d2d-92aa-60d05a4432cf", "Mapping TriPlanar"),
      attribute<JtOpaqueAttribute>("10dd1106-2ac8-11d1-9b6b-0080c7bb5997", "Palette Map Attribute"),

      atom<JtPropAtom>("10dd104b-2ac8-11d1-9b6b-0080c7bb5997", "Base Property Atom", 5),
      atom<JtStringPropAtom>("10dd106e-2ac8-11d1-9b6b-0080c7bb5997", "String Property Atom", 5),
      atom<JtInt32PropAtom>("10dd102b-2ac8-11d1-9b6b-0080c7bb5997", "Integer Property Atom", 5),
      atom<JtFloatPropAtom>("10dd1019-2ac8-11d1-9b6b-0080c7bb5997", "Floating Point Property Atom",
                            5),
      atom<JtPtrPropAtom>("10dd1004-2ac8-11d1-9b6b-0080c7bb5997", "JT Object Reference Atom", 6),
      atom<JtDatePropAtom>("ce357246-38fb-11d1-a506-006097bdc6e1", "Date Property Atom", 5),
      atom<JtLateLoadedPropAtom>("e0b05be5-fbbd-11d1-a3a7-00aa00d10954",
                                 "Late Loaded Property Atom", 8),
      atom<JtVector4fPropAtom>("2e7db4be-c71a-4b18-9d07-c7227e9fef76", "Vector4f Property Atom", 5),
  };
  return kinds;
}

/// Other spellings of ids that are in the table.
const JtGuid kVertexShapeSwapped{
    0x10dd107f, 0x2ac8, 0x11d1, {0x6b, 0x9b, 0x00, 0x80, 0xc7, 0xbb, 0x59, 0x97}};

/// Type ids differ in their first field.
struct TypeIdHash {
  std::size_t operator()(const JtGuid& id) const noexcept { return id.data1; }
};
using KindIndex = FlatMap<JtGuid, const ElementKind*, TypeIdHash>;

/// The kinds by object type id: asked for every element of a file.
KindIndex indexOfKinds() {
  KindIndex index(2 * table().size());
  for (const ElementKind& kind : table()) index.insert(kind.guid, &kind);
  for (const ElementKind& kind : table())
    if (kind.type == JtVertexShape::classTypeID()) index.insert(kVertexShapeSwapped, &kind);
  return index;
}

}  // namespace

const ElementKind* findElementKind(const JtGuid& guid) {
  static const KindIndex index = indexOfKinds();
  const ElementKind* const* kind = index.find(guid);
  return kind ? *kind : nullptr;
}

const ElementKind* findElementKind(const JtType* type) {
  static const auto byType = [] {
    std::unordered_map<const JtType*, const ElementKind*> map;
    for (const ElementKind& kind : table())
      if (kind.type != JtOpaqueAttribute::classTypeID()) map.emplace(kind.type, &kind);
    return map;
  }();
  const auto found = byType.find(type);
  return found == byType.end() ? nullptr : found->second;
}

const ElementKind& unknownNodeKind() noexcept {
  static const ElementKind kind =
      makeKind<JtNode, NodeFields>({}, "Unknown Node", kNodeBaseType, ElementClass::node);
  return kind;
}

const ElementKind& unknownGroupKind() noexcept {
  static const ElementKind kind =
      makeKind<JtGroup, NodeFields>({}, "Unknown Group Node", kGroupBaseType, ElementClass::node);
  return kind;
}

const ElementKind& unknownAttributeKind() noexcept {
  static const ElementKind kind = makeKind<JtOpaqueAttribute, AttributeFields>(
      {}, "Unknown Attribute", 3, ElementClass::attribute);
  return kind;
}

const ElementKind& unknownAtomKind() noexcept {
  static const ElementKind kind =
      makeKind<JtOpaquePropAtom, AtomFields>({}, "Unknown Property Atom", 5, ElementClass::atom);
  return kind;
}

ElementClass classOfBaseType(std::uint8_t baseType) noexcept {
  if (baseType <= 2) return ElementClass::node;
  if (baseType == 3) return ElementClass::attribute;
  return ElementClass::atom;
}

}  // namespace jt::file
