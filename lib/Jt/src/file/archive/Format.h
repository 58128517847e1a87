#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>

namespace jt::file {

/// What differs between the generations of the format. Code asks for a feature, never for a number.
enum class Feature : std::uint8_t {
  wideToc,             ///< 64-bit offsets in header and table of contents
  lzma,                ///< segments are compressed with xz, not zlib
  segmentObjectIds,    ///< elements outside the scene graph have object ids too
  localVersions,       ///< elements carry local version fields
  byteVersions,        ///< local versions are one byte, not two
  fieldFinal,          ///< attributes have final flags for each field
  lodReserved,         ///< LOD nodes have two reserved fields
  shapeReservedBox,    ///< shape nodes store their box twice
  wideBindings,        ///< vertex bindings are one 64-bit field
  vertexQuantization,  ///< vertex shape nodes store quantization bits
  bindingsTwice,       ///< vertex shape nodes repeat their bindings
  doubleTransforms,    ///< transform values are double precision
  materialPattern,     ///< materials may store colours as one number
  materialReflectivity,
  materialBumpiness,
  latePayloadId,     ///< late-loaded atoms name a payload object
  attributeTail,     ///< attributes end with one more field (10.5)
  partitionVersion,  ///< partition nodes carry a local version (10.5)
  genericPMI,        ///< PMI entities are all generic, and their text is wide
  shortPMIFlags,     ///< flags of PMI properties are one byte (10.5)
};

/// The form of one file: version and byte order.
struct Format {
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
    using enum Feature;
    for (const Feature feature : {lzma, segmentObjectIds, localVersions, byteVersions})
      if (has(feature) != other.has(feature)) return false;
    return bigEndian == other.bigEndian;
  }

  /// True when PMI looks alike in segments that do. @pre sameSegmentsAs(other)
  bool samePMIAs(const Format& other) const noexcept {
    return has(Feature::shortPMIFlags) == other.has(Feature::shortPMIFlags);
  }

  bool has(Feature feature) const noexcept {
    return (row() >> static_cast<unsigned>(feature)) & 1U;
  }

 private:
  static constexpr std::uint32_t bits(std::initializer_list<Feature> features) {
    std::uint32_t mask = 0;
    for (const Feature feature : features) mask |= 1U << static_cast<unsigned>(feature);
    return mask;
  }
  /// One row a generation. 10.5 adds to 10.0; what stands between is read by the length of
  /// elements.
  std::uint32_t row() const noexcept {
    using enum Feature;
    constexpr std::uint32_t v8 =
        bits({lodReserved, shapeReservedBox, vertexQuantization, materialPattern});
    constexpr std::uint32_t v9 =
        bits({segmentObjectIds, localVersions, lodReserved, shapeReservedBox, wideBindings,
              vertexQuantization, bindingsTwice, materialReflectivity, latePayloadId});
    constexpr std::uint32_t v10 = bits(
        {wideToc, lzma, segmentObjectIds, localVersions, byteVersions, fieldFinal, wideBindings,
         doubleTransforms, materialReflectivity, materialBumpiness, latePayloadId, genericPMI});
    constexpr std::uint32_t v105 = v10 | bits({attributeTail, partitionVersion, shortPMIFlags});
    if (major < 9) return v8;
    if (major < 10) return v9;
    return major == 10 && minor < 5 ? v10 : v105;
  }
};

}  // namespace jt::file
