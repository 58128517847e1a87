#include "file/elements/ElementTable.h"

#include "JtFlatMap.h"
#include "file/archive/GuidLiteral.h"
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

/// As one function: what a file has most of is read by it.
template <class T, class Fields>
[[gnu::flatten]] void readElement(Reader& ar, JtSceneObject& object) {
  Fields::run(ar, static_cast<T&>(object));
  Fields::trailingBytes(ar, static_cast<T&>(object));
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
          [] {
            T* const object = new T;
            object->refNew();
            return Ref<JtSceneObject>::adopt(object);
          },
          readElement<T, Fields>,
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
ElementKind node(const JtGuid& guid, const char* name, std::uint8_t baseType) {
  return makeKind<T, NodeFields>(guid, name, baseType, ElementClass::node);
}
template <class T>
ElementKind attribute(const JtGuid& guid, const char* name) {
  return makeKind<T, AttributeFields>(guid, name, 3, ElementClass::attribute);
}
template <class T>
ElementKind atom(const JtGuid& guid, const char* name, std::uint8_t baseType) {
  return makeKind<T, AtomFields>(guid, name, baseType, ElementClass::atom);
}

// The base types are those of ISO 14306: 0 node, 1 group, 2 shape, 3 attribute, 5 atom, 6 reference
// atom, 8 late-loaded atom.
std::span<const ElementKind> table() {
  static const ElementKind kinds[] = {
      node<JtNode>("10dd1035-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Base Node", 0),
      node<JtPartition>("10dd103e-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Partition Node", 1),
      node<JtGroup>("10dd101b-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Group Node", 1),
      node<JtInstance>("10dd102a-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Instance Node", 0),
      node<VisPartNode>("ce357244-38fb-11d1-a506-006097bdc6e1"_guid, "Part Node", 1),
      node<VisMetaDataNode>("ce357245-38fb-11d1-a506-006097bdc6e1"_guid, "Meta Data Node", 1),
      node<JtLOD>("10dd102c-2ac8-11d1-9b6b-0080c7bb5997"_guid, "LOD Node", 1),
      node<JtRangeLOD>("10dd104c-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Range LOD Node", 1),
      node<JtSwitch>("10dd10f3-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Switch Node", 1),
      node<JtShape>("10dd1059-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Base Shape Node", 2),
      node<JtVertexShape>("10dd107f-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Vertex Shape Node", 2),
      node<JtTriStripSet>("10dd1077-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Tri-Strip Set Shape Node",
                          2),
      node<JtPolylineSet>("10dd1046-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Polyline Set Shape Node",
                          2),
      node<JtPointSet>("98134716-0010-0818-1998-080009835d5a"_guid, "Point Set Shape Node", 2),
      node<JtPolygonSet>("10dd1048-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Polygon Set Shape Node", 2),
      node<JtNullShape>("d239e7b6-dd77-4289-a07d-b0ee79f79494"_guid, "Null Shape Node", 2),
      node<JtPrimitiveSet>("e40373c1-1ad9-11d3-9daf-00a0c9c7ddc2"_guid, "Primitive Set Shape Node",
                           2),
      node<JtWireHarnessSet>("4cc7a521-0728-11d3-9d8b-00a0c9c7ddc2"_guid,
                             "Wire Harness Set Shape Node", 2),

      attribute<JtMaterial>("10dd1030-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Material Attribute"),
      attribute<JtTextureImage>("10dd1073-2ac8-11d1-9b6b-0080c7bb5997"_guid,
                                "Texture Image Attribute"),
      attribute<JtDrawStyle>("10dd1014-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Draw Style Attribute"),
      attribute<JtLightSet>("10dd1096-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Light Set Attribute"),
      attribute<JtInfiniteLight>("10dd1028-2ac8-11d1-9b6b-0080c7bb5997"_guid,
                                 "Infinite Light Attribute"),
      attribute<JtPointLight>("10dd1045-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Point Light Attribute"),
      attribute<JtLineStyle>("10dd10c4-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Linestyle Attribute"),
      attribute<JtPointStyle>("8d57c010-e5cb-11d4-840e-00a0d2182f9d"_guid, "Pointstyle Attribute"),
      attribute<JtXform>("10dd1083-2ac8-11d1-9b6b-0080c7bb5997"_guid,
                         "Geometric Transform Attribute"),
      attribute<JtShaderEffects>("aa1b831d-6e47-4fee-a865-cd7e1f2f39db"_guid,
                                 "Shader Effects Attribute"),
      attribute<JtOpaqueAttribute>("2798bcad-e409-47ad-bd46-0b371fd75d61"_guid,
                                   "Vertex Shader Attribute"),
      attribute<JtOpaqueAttribute>("ad8dccc2-7a80-456d-b0d5-dd3a0b8d21e7"_guid,
                                   "Fragment Shader Attribute"),
      attribute<JtTextureCoordinateGenerator>("aa1b831d-6e47-4fee-a865-cd7e1f2f39dc"_guid,
                                              "Texture Coordinate Generator Attribute"),
      attribute<JtOpaqueAttribute>("a3cfb921-bdeb-48d7-b396-8b8d0ef485a0"_guid, "Mapping Plane"),
      attribute<JtOpaqueAttribute>("3e70739d-8cb0-41ef-845c-a198d4003b3f"_guid, "Mapping Cylinder"),
      attribute<JtOpaqueAttribute>("72475fd1-2823-4219-a06c-d9e6e39a45c1"_guid, "Mapping Sphere"),
      attribute<JtOpaqueAttribute>("92f5b094-6499-4d2d-92aa-60d05a4432cf"_guid,
                                   "Mapping TriPlanar"),
      attribute<JtOpaqueAttribute>("10dd1106-2ac8-11d1-9b6b-0080c7bb5997"_guid,
                                   "Palette Map Attribute"),

      atom<JtPropAtom>("10dd104b-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Base Property Atom", 5),
      atom<JtStringPropAtom>("10dd106e-2ac8-11d1-9b6b-0080c7bb5997"_guid, "String Property Atom",
                             5),
      atom<JtInt32PropAtom>("10dd102b-2ac8-11d1-9b6b-0080c7bb5997"_guid, "Integer Property Atom",
                            5),
      atom<JtFloatPropAtom>("10dd1019-2ac8-11d1-9b6b-0080c7bb5997"_guid,
                            "Floating Point Property Atom", 5),
      atom<JtPtrPropAtom>("10dd1004-2ac8-11d1-9b6b-0080c7bb5997"_guid, "JT Object Reference Atom",
                          6),
      atom<JtDatePropAtom>("ce357246-38fb-11d1-a506-006097bdc6e1"_guid, "Date Property Atom", 5),
      atom<JtLateLoadedPropAtom>("e0b05be5-fbbd-11d1-a3a7-00aa00d10954"_guid,
                                 "Late Loaded Property Atom", 8),
      atom<JtVector4fPropAtom>("2e7db4be-c71a-4b18-9d07-c7227e9fef76"_guid,
                               "Vector4f Property Atom", 5),
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
    FlatMap<const JtType*, const ElementKind*> map(table().size());
    for (const ElementKind& kind : table())
      if (kind.type != JtOpaqueAttribute::classTypeID()) map.insert(kind.type, &kind);
    return map;
  }();
  const ElementKind* const* kind = byType.find(type);
  return kind ? *kind : nullptr;
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
