#pragma once

// Field lists of the attribute elements, in the order and with the names of ISO 14306.

#include <algorithm>
#include <bit>

#include "JtAttribute.h"
#include "JtLights.h"
#include "JtMaterial.h"
#include "JtStyles.h"
#include "JtTexture.h"
#include "JtXform.h"
#include "file/archive/Archive.h"
#include "file/archive/FieldAccess.h"
#include "file/archive/GuidLiteral.h"

namespace jt::file {

struct FieldAccess::Attributes {
  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtMaterial>& material) {
    base(ar, material);
    ar.version("versionNumber", material.version_, 2, 1);
    dataFlags(ar, material);
    color(ar, "ambient", material.ambient_, material.pattern_ & 0x02);
    ar("diffuse", material.diffuse_);
    color(ar, "specular", material.specular_, material.pattern_ & 0x04);
    color(ar, "emission", material.emission_, material.pattern_ & 0x08);
    ar("shininess", material.shininess_);
    if (ar.has(Feature::materialBumpiness)) {
      float reflectivity = material.reflectivity();
      ar("reflectivity", reflectivity);
      if constexpr (Ar::kReading) material.reflectivity_ = reflectivity;
      ar("bumpiness", material.bumpiness_);
    } else if (ar.has(Feature::materialReflectivity)) {
      if (isFresh(ar, material)) {
        float reflectivity = material.reflectivity();
        ar("reflectivity", reflectivity);
      } else {
        ar.optional("reflectivity", material.reflectivity_);
      }
    }
    tail(ar, material);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtXform>& xform) {
    base(ar, xform);
    ar.version("versionNumber", xform.version_, 1, 1);
    std::uint16_t mask = maskOf(xform);
    ar("storedValuesMask", mask);
    const auto count = static_cast<std::size_t>(std::popcount(mask));
    bool wide = ar.has(Feature::doubleTransforms);
    if constexpr (Ar::kReading) {
      // The number of values is known, so the length distinguishes single from double precision.
      if (ar.left() == 8 * count || ar.left() == 8 * count + 4) {
        wide = true;
      } else if (ar.left() == 4 * count) {
        wide = false;
      }
      xform.storedMask_ = mask;
      xform.doubleValues_ = wide;
      xform.matrix_ = kIdentity;
    } else if (!isFresh(ar, xform)) {
      wide = xform.doubleValues_.value_or(wide);
    }
    for (std::size_t i = 0; i < 16; ++i) {
      if (!(mask & (0x8000U >> i))) continue;
      if (wide) {
        ar("elementValue", xform.matrix_[i]);
      } else {
        ar.template as<float>("elementValue", xform.matrix_[i]);
      }
    }
    tail(ar, xform);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtDrawStyle>& style) {
    base(ar, style);
    ar.version("versionNumber", style.version_, 1, 1);
    ar("dataFlags", style.flags_);
    tail(ar, style);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtLineStyle>& style) {
    base(ar, style);
    ar.version("versionNumber", style.version_, 1, 1);
    ar("dataFlags", style.flags_);
    ar("lineWidth", style.width_);
    tail(ar, style);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPointStyle>& style) {
    base(ar, style);
    ar.version("versionNumber", style.version_, 1, 1);
    ar("dataFlags", style.flags_);
    ar("pointSize", style.size_);
    tail(ar, style);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtLightSet>& set) {
    base(ar, set);
    ar.version("versionNumber", set.version_, 1, 1);
    ar.list("lightObjectId", set.lights_);
    tail(ar, set);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtInfiniteLight>& light) {
    lightData(ar, light);
    ar.version("versionNumber", light.version_, 1, 1);
    ar("direction", light.direction_);
    lightTail(ar, light);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtPointLight>& light) {
    lightData(ar, light);
    ar.version("versionNumber", light.version_, 1, 1);
    ar("position", light.position_);
    ar("attenuation", light.attenuation_);
    ar("spreadAngle", light.spreadAngle_);
    ar("spotDirection", light.spotDirection_);
    ar("spotIntensity", light.spotIntensity_);
    lightTail(ar, light);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtTextureImage>& texture) {
    if (!ar.has(Feature::readableTextures))
      ar.fail("versionNumber", "textures of 8.x are not decoded");
    base(ar, texture);
    ar.version("versionNumber", texture.version_, 3, 1);
    const bool oneBlock = ar.has(Feature::oneTextureBlock);
    if constexpr (Ar::kReading) {
      const int blocks = oneBlock ? 1 : texture.version_.value;
      if (blocks < 1 || blocks > 3)
        ar.fail("versionNumber", "expected a texture version of 1 to 3, found " +
                                     std::to_string(texture.version_.value));
      texture.blocks_.resize(static_cast<std::size_t>(blocks));
    }
    // 9.x stores images in the third block, behind two empty ones; 10.x has one block.
    const bool takesLast =
        !Ar::kReading && ar.isDefaulted(texture.version_) && !texture.blocks_.empty();
    const std::size_t stubs = takesLast && !oneBlock ? 2 : 0;
    const std::size_t first = takesLast ? texture.blocks_.size() - 1 : 0;
    for (std::size_t i = 0; i < stubs; ++i) {
      TextureBlock stub;
      textureBlock(ar, stub, false, false);
    }
    for (std::size_t i = first; i < texture.blocks_.size(); ++i)
      textureBlock(ar, texture.blocks_[i], oneBlock, !oneBlock && (stubs > 0 || i == 2));
    tail(ar, texture);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtTextureCoordinateGenerator>& generator) {
    base(ar, generator);
    if (!ar.has(Feature::readableTextures)) return;
    ar.version("versionNumber", generator.version_, 1, 1);
    ar("textureCoordinateChannel", generator.channel_);
    if constexpr (Ar::kReading) {
      generator.mapping_.reset();
      if (holdsMapping(ar.rest(), ar.format())) generator.mapping_.emplace();
    }
    if (!generator.mapping_) return;  // its bytes are trailing bytes
    textureMapping(ar, *generator.mapping_);
    tail(ar, generator);
  }

  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtShaderEffects>& effects) {
    base(ar, effects);
    ar.version("versionNumber", effects.version_, 1, 1);
    ar("enableFlag", effects.enable_);
    ar("reserved1", effects.reserved1_);
    ar("environmentMapReflectivity", effects.environmentReflectivity_);
    ar("reserved2", effects.reserved2_);
    ar("bumpinessFactor", effects.bumpiness_);
    ar("reserved3", effects.reserved3_);
    ar("phongShadingFlag", effects.phong_);
    ar("reserved4", effects.reserved4_);
    tail(ar, effects);
  }

  /// An attribute whose fields are not known: only what all attributes begin with.
  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtOpaqueAttribute>& attribute) {
    base(ar, attribute);
  }

  template <class Ar>
  static void trailingBytes(Ar& ar, Of<Ar, JtAttribute>& attribute) {
    if constexpr (Ar::kReading) {
      attribute.trailingBytes_ = readTrailingBytes(ar);
    } else if (attribute.trailingBytes_ && !isFresh(ar, attribute)) {
      ar.append(*attribute.trailingBytes_);
    }
  }

 private:
  template <class Ar>
  static bool isFresh(const Ar& ar, const JtAttribute& attribute) {
    return !Ar::kReading && ar.isDefaulted(attribute.baseVersion_);
  }

  template <class Ar>
  static void base(Ar& ar, Of<Ar, JtAttribute>& attribute) {
    ar.version("baseVersionNumber", attribute.baseVersion_, 1,
               ar.has(Feature::attributeTail) ? 2 : 1);
    const bool form10 = ar.has(Feature::fieldFinal);
    std::uint8_t state = attribute.stateFlagsIn(form10);
    const bool isAsRead = form10 == attribute.fieldFlagsOf10_ && !isFresh(ar, attribute);
    std::uint32_t inhibited = isAsRead ? attribute.inhibitFlags_ : attribute.inhibitFlagsIn(form10);
    std::uint32_t final = attribute.finalFlags();
    ar("stateFlags", state);
    ar("fieldInhibitFlags", inhibited);
    if (form10) ar("fieldFinalFlags", final);
    if constexpr (Ar::kReading) {
      attribute.fieldFlagsOf10_ = form10;
      attribute.stateFlags_ = state;
      attribute.inhibitFlags_ = inhibited;
      attribute.finalFlags_ = form10 ? final : 0;
    }
  }

  template <class Ar>
  static void tail(Ar& ar, Of<Ar, JtAttribute>& attribute) {
    if (!ar.has(Feature::fieldFinal)) return;
    if (isFresh(ar, attribute)) {
      if (ar.has(Feature::attributeTail)) ar.writeDefault("reserved", std::int32_t{-1});
    } else {
      ar.optional("reserved", attribute.tail_);
    }
  }

  /// 8.x may store three of the colors as one gray value; the length shows whether it does.
  template <class Ar>
  static void dataFlags(Ar& ar, Of<Ar, JtMaterial>& material) {
    constexpr std::size_t kColors = 4 * 16 + 4;
    std::uint16_t flags = material.dataFlags_;
    if constexpr (!Ar::kReading)
      if (isFresh(ar, material) && !ar.has(Feature::materialPattern)) flags &= 0xfff0U;
    ar("dataFlags", flags);
    if constexpr (Ar::kReading) {
      material.dataFlags_ = flags;
      material.pattern_ = 0;
      const auto bits = static_cast<std::uint8_t>((flags & 1U) ? flags & 0x0eU : 0U);
      const auto saved = 12 * static_cast<std::size_t>(std::popcount(bits));
      if (ar.has(Feature::materialPattern) && ar.left() == kColors - saved)
        material.pattern_ = bits;
    }
  }

  template <class Ar>
  static void color(Ar& ar, const char* name, Of<Ar, Rgba>& value, int isGray) {
    if (!isGray || !ar.has(Feature::materialPattern)) {
      ar(name, value);
      return;
    }
    ar(name, value[0]);
    if constexpr (Ar::kReading) value = {value[0], value[0], value[0], 1};
  }

  /// The values that the file stored, or those that differ from the identity.
  static std::uint16_t maskOf(const JtXform& xform) {
    std::uint16_t mask = xform.storedMask_.value_or(0);
    for (std::size_t i = 0; i < 16; ++i)
      if (xform.matrix_[i] != kIdentity[i])
        mask = static_cast<std::uint16_t>(mask | (0x8000U >> i));
    return mask;
  }

  template <class Ar>
  static void lightData(Ar& ar, Of<Ar, JtLight>& light) {
    if (!ar.has(Feature::readableLights)) ar.fail("versionNumber", "lights of 8.x are not decoded");
    base(ar, light);
    ar.version("lightVersionNumber", light.lightVersion_, 1, 1);
    ar("ambient", light.ambient_);
    ar("diffuse", light.diffuse_);
    ar("specular", light.specular_);
    ar("brightness", light.brightness_);
    ar("coordinateSystem", light.coordinateSystem_);
    if (Ar::kReading && (light.coordinateSystem_ < 1 || light.coordinateSystem_ > 3))
      ar.fail("coordinateSystem",
              "expected 1 to 3, found " + std::to_string(light.coordinateSystem_));
    ar("shadowCasterFlag", light.shadowCaster_);
    ar("shadowOpacity", light.shadowOpacity_);
    if (ar.has(Feature::shadowInLightData)) shadowAlpha(ar, light);
  }

  template <class Ar>
  static void shadowAlpha(Ar& ar, Of<Ar, JtLight>& light) {
    std::array<float, 2> factors = light.shadowAlpha_.value_or(std::array<float, 2>{1, 1});
    ar("shadowAlphaFactors", factors);
    if constexpr (Ar::kReading) light.shadowAlpha_ = factors;
  }

  /// 9.x: version 2 of a light appends the shadow factors that 10.x has in the light data.
  template <class Ar>
  static void lightTail(Ar& ar, Of<Ar, JtLight>& light) {
    if (!ar.has(Feature::shadowInLightData)) {
      if constexpr (Ar::kReading) {
        light.shadowAlpha_.reset();
        if (ar.left() >= 8) shadowAlpha(ar, light);
      } else if (!isFresh(ar, light) && light.shadowAlpha_) {
        shadowAlpha(ar, light);
      }
    }
    tail(ar, light);
  }

  template <class Ar>
  static void textureBlock(Ar& ar, Of<Ar, TextureBlock>& block, bool channelFirst,
                           bool channelLast) {
    ar("textureType", block.textureType);
    textureEnvironment(ar, block.environment);
    ar("textureGenerationModes", block.generation.modes);
    for (auto& plane : block.generation.planes) ar("textureGenerationPlane", plane);
    ar("textureChannel", block.channel);
    if (channelFirst) ar("textureCoordinateChannel", block.coordinateChannel);
    ar("reserved", block.reserved);
    ar("inlineFlag", block.inlineFlag);
    ar.repeat("image", block.images, 4,
              [&](auto& image) { textureImage(ar, image, block.inlineFlag != 0); });
    if (channelLast) ar("textureCoordinateChannel", block.coordinateChannel);
  }

  /// Object type ids of mappings, by TextureMapping::Kind.
  static const std::array<JtGuid, 4>& mappingIds() {
    static constexpr std::array<JtGuid, 4> ids{
        "a3cfb921-bdeb-48d7-b396-8b8d0ef485a0"_guid, "3e70739d-8cb0-41ef-845c-a198d4003b3f"_guid,
        "72475fd1-2823-4219-a06c-d9e6e39a45c1"_guid, "92f5b094-6499-4d2d-92aa-60d05a4432cf"_guid};
    return ids;
  }
  /// Bytes of a mapping element behind its length.
  static std::int32_t mappingLength(const Format& format) noexcept {
    constexpr std::int32_t kFrame = 16 + 1 + 4;
    return kFrame + (format.has(Feature::byteVersions) ? 1 : 2) + 16 * 8 + 4;
  }
  static bool holdsMapping(std::span<const std::byte> rest, const Format& format) {
    const std::int32_t length = mappingLength(format);
    return rest.size() >= 4 + static_cast<std::size_t>(length) &&
           loadScalar<std::int32_t>(rest.data(), format.bigEndian) == length &&
           std::ranges::find(mappingIds(), loadGuid(rest.data() + 4, format.bigEndian)) !=
               mappingIds().end();
  }

  /// A complete element inside of the attribute's own.
  template <class Ar>
  static void textureMapping(Ar& ar, Of<Ar, TextureMapping>& mapping) {
    std::int32_t length = mappingLength(ar.format());
    ar("mappingElementLength", length);
    JtGuid id = mappingIds()[static_cast<std::size_t>(mapping.kind)];
    ar("mappingTypeId", id);
    if constexpr (Ar::kReading)
      mapping.kind = static_cast<TextureMapping::Kind>(std::ranges::find(mappingIds(), id) -
                                                       mappingIds().begin());
    ar("mappingBaseType", mapping.baseType);
    ar("mappingObjectId", mapping.objectId);
    ar.version("mappingVersionNumber", mapping.version, 1, 1);
    ar("mappingMatrix", mapping.matrix);
    ar("coordinateSystem", mapping.coordinateSystem);
  }

  template <class Ar>
  static void textureEnvironment(Ar& ar, Of<Ar, TextureEnvironment>& environment) {
    ar("borderMode", environment.borderMode);
    ar("magnificationFilter", environment.magnificationFilter);
    ar("minificationFilter", environment.minificationFilter);
    ar("wrapMode", environment.wrap);
    ar("blendType", environment.blendType);
    ar("compressionLevel", environment.compressionLevel);
    ar("blendColor", environment.blendColor);
    ar("borderColor", environment.borderColor);
    ar("textureTransform", environment.transform);
  }

  template <class Ar>
  static void textureImage(Ar& ar, Of<Ar, TextureImage>& image, bool isInline) {
    if (!isInline) {
      ar("externalStorageName", image.fileName);
      return;
    }
    ar("pixelFormat", image.pixelFormat);
    ar("pixelDataType", image.pixelType);
    ar("dimensionality", image.dimensionality);
    ar("rowAlignment", image.rowAlignment);
    ar("width", image.width);
    ar("height", image.height);
    ar("depth", image.depth);
    ar("numberBorderTexels", image.borderTexels);
    if (ar.has(Feature::wideSharedFlag)) {
      ar("sharedImageFlag", image.shared);
    } else {
      ar.template as<std::uint8_t>("sharedImageFlag", image.shared);
    }
    auto mipmaps = static_cast<std::int16_t>(image.mipmaps.size());
    ar("mipmapsCount", mipmaps);
    ar("totalImageDataSize", image.totalBytes);
    if constexpr (Ar::kReading) {
      if (mipmaps < 0 || static_cast<std::size_t>(mipmaps) > ar.left() / 4)
        ar.fail("mipmapsCount", "there is no room for " + std::to_string(mipmaps) + " mipmaps");
      image.mipmaps.resize(static_cast<std::size_t>(mipmaps));
    }
    for (auto& mipmap : image.mipmaps) ar.counted("imageTexelData", mipmap);
  }
};

}  // namespace jt::file
