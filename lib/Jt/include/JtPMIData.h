#pragma once

// What the element "PMI Manager Meta Data" of ISO 14306 holds. Versions 8 and 9 of the format keep
// thirteen collections of typed entities beside the generic ones ("typed layout"), version 10 keeps
// generic entities alone ("generic layout"); one structure serves both. All text is in one table
// and is named by its index there, -1 for none. Coordinates are in the unit of the node.

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "JtExport.h"
#include "JtSceneObject.h"
#include "JtString.h"

namespace jt {

/// What every entity begins with.
struct PMIBase {
  std::int32_t userLabel = 0;  ///< the producer's number of the entity, unique in one manager
  std::uint8_t frameFlag = 0;  ///< not 0: `frame` is stored
  /// Origin, a point on the x axis and one on the y axis, three coordinates each.
  std::array<float, 9> frame{};
  float textHeight = 0;
  std::uint8_t symbolValid = 1;
};

/// One line of text.
struct PMIText {
  std::int32_t stringId = -1;
  std::int32_t font = 1;  ///< 1 = Simplex; -1 with fonts of the manager's own
  std::int32_t reserved = 0;
  float reservedNumber = 0;
  std::array<float, 6> box{};  ///< origin x, y, right, bottom, left, top in the frame
  std::vector<std::int32_t> indices;
  std::vector<float> vertices;
};

/// Polylines one behind the other: n of them have n + 1 indices, polyline i is made of the vertices
/// indices[i] up to, not including, indices[i + 1]. Types and widths: one for each, or none.
struct PMIPolylines {
  std::vector<std::int32_t> indices;
  std::vector<std::int16_t> types;
  std::vector<std::int16_t> widths;  ///< generic layout
  std::vector<float> vertices;       ///< x, y of typed entities, x, y, z of generic ones
};

/// Dimensions, notes, symbols and welds of the typed layout.
struct PMI2DEntity {
  PMIBase base;
  std::vector<PMIText> texts;
  PMIPolylines lines;
  std::uint32_t urlFlag = 0;  ///< of notes
};

/// Spot welds, measurement points and reference geometry of the typed layout.
struct PMI3DEntity {
  PMIBase base;
  std::int32_t stringId = -1;
  std::int16_t dimensionality = 3;
  std::vector<std::int32_t> indices;
  std::vector<float> vertices;
  /// Spot weld: point, approach, clamping, normal. Measurement point: location, measurement,
  /// coordinate, normal. Three numbers each.
  std::array<float, 12> vectors{};
};

/// A coordinate system of the typed layout.
struct PMICoordinateSystem {
  std::int32_t nameId = -1;
  std::array<float, 9> frame{};  ///< origin, a point on the x axis, one on the y axis
};

/// A design group of the typed layout.
struct PMIDesignGroup {
  /// A value of a group, with its label.
  struct Attribute {
    std::int32_t type = 1;  ///< 1 integer, 2 number, 3 text
    std::int32_t integer = 0;
    double number = 0;
    std::int32_t stringId = -1;
    std::int32_t labelId = -1;
    std::int32_t descriptionId = -1;
  };
  std::int32_t nameId = -1;
  std::vector<Attribute> attributes;
};

/// A link between two entities. Ends are `PMITypedID`s as stored: bit 31 set, the low bits are a
/// position in the list of CAD tags instead.
struct PMIAssociation {
  std::uint32_t source = 0;
  std::uint32_t destination = 0;
  std::int32_t reason = 98;            ///< 98: the source is shown in the destination, a model view
  std::int32_t sourceOwner = -1;       ///< name of the owning component; -1: this manager's node
  std::int32_t destinationOwner = -1;  ///< as `sourceOwner`
};

/// A text with the flag that hides it.
struct PMIPropertyText {
  JtString text;
  std::uint32_t hidden = 0;  ///< 0 or 1
};

/// A key with a value, both text; numbers are written out.
struct PMIProperty {
  PMIPropertyText key;
  PMIPropertyText value;
};

/// A model view: where the camera is, and how it looks.
struct PMIModelView {
  std::array<float, 3> eyeDirection{};  ///< from the eye to the target
  float angle = 0;                      ///< degrees about the eye direction
  std::array<float, 3> eyePosition{};
  std::array<float, 3> target{};
  std::array<float, 3> viewAngles{};  ///< degrees about x, y, z
  float viewportDiameter = 0;         ///< 0: not set
  float reservedNumber = 0;
  std::int32_t reserved = 0;
  std::int32_t isActive = 0;
  std::int32_t viewId = 0;
  std::int32_t nameId = -1;
  std::vector<PMIProperty> properties;  ///< generic layout
};

/// An entity whose kind is a code: the only kind of the generic layout, and in the typed layout
/// beside the others.
struct PMIGenericEntity {
  PMIBase base;
  std::vector<PMIText> texts;
  PMIPolylines lines;  ///< x, y, z
  std::vector<PMIProperty> properties;
  std::int32_t typeNameId = -1;
  std::int32_t parentTypeNameId = -1;
  std::uint16_t type = 1;        ///< 0x0082 dimension, 0x0100 note, 0x0104 coordinate system, ...
  std::uint16_t parentType = 1;  ///< code of the group that the type belongs to
  std::uint16_t userFlags = 0;   ///< bit 0: flat to the screen
};

/// Filled areas, for entities or the characters of a font.
struct PMIPolygons {
  /// The polygons of one element.
  struct Filled {
    std::array<std::int32_t, 3> bindings{};  ///< color, normal, texture; 1: stored
    std::int32_t dimension = 0;
    std::vector<std::int32_t> primitiveTypes;
    std::vector<std::int32_t> primitiveIndices;
    std::vector<std::int32_t> vertexIndices;
    std::vector<float> vertices;
    std::vector<float> normals;
    std::vector<float> colors;
    std::vector<float> textureCoords;
  };
  LocalVersion version;
  std::int32_t reserved = 0;               ///< 9.x
  std::vector<std::int32_t> vertexCounts;  ///< one for each element; 0: the element is empty
  std::vector<Filled> filled;              ///< the elements that are not
};

/// A font that texts are drawn with: a shape for each character.
struct PMIFont {
  JtString name;
  std::vector<std::int32_t> characters;
  PMIPolygons polygons;  ///< one element for each character
};

/// A number that a producer gives to an entity, a face or an edge, to find it again.
struct PMICadTag {
  std::int64_t number = 0;
  bool isWide = false;  ///< stored in 64 bits, else in 32
  friend bool operator==(const PMICadTag&, const PMICadTag&) = default;
};

/// The CAD tags of an element.
struct PMICadTags {
  std::uint32_t flag = 0;             ///< 1: the rest is stored
  std::vector<std::int32_t> indices;  ///< into the tags, one for each entity in a fixed order
  LocalVersion version;
  std::vector<std::byte> coded;  ///< the tags as stored, behind their length
  /// The tags when they were decoded or are new; then these are stored.
  std::optional<std::vector<PMICadTag>> tags;
};

/// What one element was found to do where producers differ. Elements are written back so.
struct PMIForm {
  bool byteFlags = false;     ///< hidden flags are one byte (generic layout)
  bool guardedText = true;    ///< text without indices stores no vertices, not even their count
  bool ownersAlways = false;  ///< associations have owners in spite of an old PMI version
  bool lengthAtOnce = false;  ///< the length of the CAD tags counts from their version on
  bool opaqueRest = false;    ///< what is behind the generic entities was kept as bytes
  friend bool operator==(const PMIForm&, const PMIForm&) = default;
};

/// How the bytes that an element was read from are laid out.
enum class PMILayout : std::uint8_t { none, typed8, typed9, generic10, generic105 };

/// Everything that a PMI element holds.
struct PMIData {
  enum Flat {
    dimension,
    note,
    datumFeatureSymbol,
    datumTarget,
    featureControlFrame,
    lineWeld,
    surfaceFinish,
    locator,
    flatKinds
  };
  enum Solid { spotWeld, measurementPoint, referenceGeometry, solidKinds };

  LocalVersion version;         ///< of the element; from 2 on, 9.x has more at the end
  std::int16_t pmiVersion = 8;  ///< typed layout: of the content
  std::int16_t reserved = 0;    ///< typed layout
  std::int16_t unused = -1;     ///< generic layout
  std::array<std::vector<PMI2DEntity>, flatKinds> flat;    ///< typed layout
  std::array<std::vector<PMI3DEntity>, solidKinds> solid;  ///< typed layout
  std::vector<PMIDesignGroup> designGroups;
  std::vector<PMICoordinateSystem> coordinateSystems;  ///< typed layout
  std::vector<PMIAssociation> associations;
  std::vector<std::array<std::int32_t, 2>> userAttributes;  ///< string ids of key and value
  std::vector<JtString> strings;
  bool latin1 = false;  ///< typed layout: the strings are Latin-1, else UTF-8
  std::vector<PMIModelView> modelViews;
  std::vector<PMIGenericEntity> genericEntities;
  std::vector<PMIProperty> viewProperties;  ///< 9.x, element version 2: one for each model view
  PMIPolygons polygons;
  PMICadTags cadTags;
  std::vector<PMIFont> fonts;
  std::vector<std::byte> trailingBytes;  ///< what follows and is not understood

  /// The areas belong to the generic entities one by one. Nothing in the format says so; the same
  /// number of both in what was read is taken as a sign.
  bool hasAreaForEachEntity = false;
  PMIForm form;
  PMILayout layout = PMILayout::none;
  bool bigEndian = false;  ///< byte order of the bytes that are kept as they are
};

}  // namespace jt
