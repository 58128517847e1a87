#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>

namespace jt::file {

/// What differs between the generations of the format. Code asks for a feature, never for a number.
enum class Feature : std::uint8_t {
  // Container and segments.
  wideToc,           ///< 64-bit offsets in header and table of contents
  lzma,              ///< segments are compressed with xz, not zlib
  segmentObjectIds,  ///< elements outside the scene graph have object ids too
  localVersions,     ///< elements carry local version fields
  byteVersions,      ///< local versions are one byte, not two

  // Nodes.
  lodReserved,         ///< LOD nodes have two reserved fields
  shapeReservedBox,    ///< shape nodes store their box twice
  wideBindings,        ///< vertex bindings are one 64-bit field
  vertexQuantization,  ///< vertex shape nodes store quantization bits
  bindingsTwice,       ///< vertex shape nodes repeat their bindings
  primitiveBindings,   ///< primitive sets have vertex bindings too, not two fields of their own
  textureGeneration,   ///< nodes of primitive sets always store how texture coordinates are made
  wireHarnesses,       ///< there are nodes of wire harnesses
  partitionVersion,    ///< partition nodes carry a local version (10.5)
  partitionBoxTwice,   ///< new partitions store their extent in both boxes
  onePartitionBox,     ///< new partitions store one box, not two

  // Attributes and property atoms.
  fieldFinal,        ///< attributes have final flags for each field
  attributeTail,     ///< attributes end with one more field (10.5)
  doubleTransforms,  ///< transform values are double precision
  materialPattern,   ///< materials may store colors as one number
  materialReflectivity,
  materialBumpiness,
  readableTextures,   ///< the form of textures and texture coordinate generators is known
  oneTextureBlock,    ///< textures have one block of images, not up to three
  wideSharedFlag,     ///< the flag of shared images takes four bytes, not one
  readableLights,     ///< the form of lights is known
  shadowInLightData,  ///< the shadow factors of lights are in the data that all lights have
  shaderEffects,      ///< there are attributes of shader effects
  latePayloadId,      ///< late-loaded atoms name a payload object
  utcOffset,          ///< dates may have an offset to UTC

  // Shapes and wireframes.
  topology,            ///< triangles are compressed by topology, not as strips
  mk3Packets,          ///< packets of the third kind, and 64-bit ones
  nestedCollections,   ///< shape elements nest their parts and their versions
  topMasks,            ///< the highest bits of face attribute masks have a packet of their own
  predictedLists,      ///< lists of polylines and points are predicted
  groupedPoints,       ///< points have groups, as polylines do
  uniqueCoordinates,   ///< vertex records count their unique coordinates
  packedNormals,       ///< quantized normals are one code, not four
  packedColors,        ///< quantized colors are one code, not four
  readableWireframes,  ///< the form of wireframes is known

  // PMI and exact geometry.
  genericPMI,      ///< PMI entities are all generic, and their text is wide
  shortPMIFlags,   ///< flags of PMI properties are one byte (10.5)
  typedPMITail,    ///< typed PMI may end with properties of views, polygons and fonts
  xtBuildNumber,   ///< XT B-reps name the build of the kernel
  xtSubordinates,  ///< XT B-reps may be subordinate to another
};

/// The form of one file: version and byte order.
struct Format {
 private:
  using Row = std::uint64_t;  ///< a bit for each feature
  static constexpr Row bits(std::initializer_list<Feature> features) {
    Row mask = 0;
    for (const Feature feature : features) mask |= Row{1} << static_cast<unsigned>(feature);
    return mask;
  }

 public:
  int major = 10;
  int minor = 0;
  bool bigEndian = false;

  friend bool operator==(const Format&, const Format&) = default;

  /// True when files of both look alike but for the number: elements need not be converted.
  bool sameFormAs(const Format& other) const noexcept {
    return sameGenerationAs(other) && bigEndian == other.bigEndian;
  }
  /// True when both have all features alike; the byte order may differ.
  bool sameGenerationAs(const Format& other) const noexcept { return row() == other.row(); }
  /// True when the segments beside the scene graph look alike; but see samePMIAs().
  bool sameSegmentsAs(const Format& other) const noexcept {
    constexpr Row kNotInSegments =
        bits({Feature::attributeTail, Feature::partitionVersion, Feature::shortPMIFlags});
    return ((row() ^ other.row()) & ~kNotInSegments) == 0 && bigEndian == other.bigEndian;
  }

  /// True when PMI looks alike in segments that do. @pre sameSegmentsAs(other)
  bool samePMIAs(const Format& other) const noexcept {
    return has(Feature::shortPMIFlags) == other.has(Feature::shortPMIFlags);
  }

  bool has(Feature feature) const noexcept {
    return ((row() >> static_cast<unsigned>(feature)) & 1U) != 0;
  }

 private:
  /// One row a generation. 10.5 adds to 10.0; what lies between is read by the length of
  /// elements.
  Row row() const noexcept {
    using enum Feature;
    constexpr Row kV8 = bits({lodReserved, shapeReservedBox, vertexQuantization, materialPattern,
                              wireHarnesses, partitionBoxTwice, shaderEffects});
    constexpr Row kV9 =
        bits({segmentObjectIds, localVersions, lodReserved, shapeReservedBox, wideBindings,
              vertexQuantization, bindingsTwice, textureGeneration, materialReflectivity,
              readableTextures, readableLights, shaderEffects, latePayloadId, topology, topMasks,
              uniqueCoordinates, readableWireframes, typedPMITail, xtBuildNumber});
    constexpr Row kV10 = bits({wideToc,           lzma,
                               segmentObjectIds,  localVersions,
                               byteVersions,      wideBindings,
                               primitiveBindings, textureGeneration,
                               onePartitionBox,   fieldFinal,
                               doubleTransforms,  materialReflectivity,
                               materialBumpiness, readableTextures,
                               oneTextureBlock,   wideSharedFlag,
                               readableLights,    shadowInLightData,
                               latePayloadId,     utcOffset,
                               topology,          mk3Packets,
                               nestedCollections, predictedLists,
                               groupedPoints,     packedNormals,
                               packedColors,      readableWireframes,
                               genericPMI,        typedPMITail,
                               xtBuildNumber,     xtSubordinates});
    constexpr Row kV105 = kV10 | bits({attributeTail, partitionVersion, shortPMIFlags});
    if (major < 9) return kV8;
    if (major < 10) return kV9;
    return major == 10 && minor < 5 ? kV10 : kV105;
  }
};

}  // namespace jt::file
