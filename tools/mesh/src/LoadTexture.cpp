#include <assimp/material.h>
#include <assimp/scene.h>

#include <cmath>

#include "Assimp.h"
#include "ImageDecoder.h"
#include "JtFormatError.h"

namespace mesh {
namespace {

[[noreturn]] void fail(const std::string& message) { throw JtFormatError("bad_image", message); }

jt::TextureWrap wrapFrom(aiTextureMapMode mode) {
  switch (mode) {
    case aiTextureMapMode_Clamp:
    case aiTextureMapMode_Decal:
      return jt::TextureWrap::clampToEdge;
    case aiTextureMapMode_Mirror:
      return jt::TextureWrap::mirror;
    default:
      return jt::TextureWrap::repeat;
  }
}

std::optional<aiUVTransform> movementOf(const aiMaterial& material, aiTextureType type) {
  aiUVTransform transform;
  if (material.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) != aiReturn_SUCCESS ||
      (transform.mTranslation == aiVector2D(0, 0) && transform.mScaling == aiVector2D(1, 1) &&
       transform.mRotation == 0))
    return std::nullopt;
  return transform;
}

/// What glTF says of the transform, got back from what the import library made of it, for
/// coordinates whose v goes up as they do in the scene. In glTF, where v goes down:
///   u' = offset.u + scale.u cos r u + scale.v sin r v
///   v' = offset.v - scale.u sin r u + scale.v cos r v
CoordinateMap mapOfGltf(const aiUVTransform& made, int channel) {
  const double sine = std::sin(-static_cast<double>(made.mRotation));
  const double cosine = std::cos(-static_cast<double>(made.mRotation));
  const auto scaleU = static_cast<double>(made.mScaling.x);
  const auto scaleV = static_cast<double>(made.mScaling.y);
  const double offsetU =
      static_cast<double>(made.mTranslation.x) - 0.5 * scaleU * (1 - cosine + sine);
  const double offsetV =
      0.5 * scaleV * (sine + cosine - 1) + 1 - scaleV - static_cast<double>(made.mTranslation.y);
  const auto row = [](double u, double v, double constant) {
    return std::array<float, 3>{static_cast<float>(u), static_cast<float>(v),
                                static_cast<float>(constant)};
  };
  return {channel, row(scaleU * cosine, -scaleV * sine, offsetU + scaleV * sine),
          row(scaleU * sine, scaleV * cosine, 1 - offsetV - scaleV * cosine)};
}

/// Texels are rows from the top down, in their own order of components.
jt::TexturePixels pixelsFrom(const aiTexture& texture, std::size_t mostBytes) {
  constexpr std::size_t kComponents = 4;
  const std::size_t width = texture.mWidth;
  const std::size_t height = texture.mHeight;
  if (width < 1 || width > tool::kMostImageSide || height > tool::kMostImageSide ||
      width * height * kComponents > mostBytes)
    fail("the image has " + std::to_string(width) + " x " + std::to_string(height) + " pixels");
  jt::TexturePixels image{static_cast<int>(width), static_cast<int>(height), kComponents, {}};
  image.bytes.reserve(width * height * kComponents);
  for (std::size_t y = height; y-- > 0;)
    for (std::size_t x = 0; x < width; ++x) {
      const aiTexel& texel = texture.pcData[y * width + x];
      for (const unsigned char part : {texel.r, texel.g, texel.b, texel.a})
        image.bytes.push_back(std::byte{part});
    }
  return image;
}

}  // namespace

TextureReader::TextureReader(const aiScene& source, const MeshFile& file, Scene& scene)
    : source_(source), file_(file), scene_(scene), images_(scene) {}

std::optional<PlacedTexture> TextureReader::textureOf(const aiMaterial& material) {
  const bool hasBase = material.GetTextureCount(aiTextureType_BASE_COLOR) > 0;
  const aiTextureType type = hasBase ? aiTextureType_BASE_COLOR : aiTextureType_DIFFUSE;
  aiString name;
  aiTextureMapping mapping = aiTextureMapping_UV;
  unsigned channel = 0;
  aiTextureMapMode modes[3] = {aiTextureMapMode_Wrap, aiTextureMapMode_Wrap, aiTextureMapMode_Wrap};
  constexpr unsigned kMostChannels = 8;
  if (material.GetTexture(type, 0, &name, &mapping, &channel, nullptr, nullptr, modes) !=
          aiReturn_SUCCESS ||
      name.length == 0 || mapping != aiTextureMapping_UV || channel >= kMostChannels)
    return std::nullopt;
  const std::optional<std::size_t> image = images_.take(
      name.C_Str(), name.C_Str(), [&](std::size_t mostBytes) { return decode(name, mostBytes); });
  if (!image) return std::nullopt;
  PlacedTexture placed{
      {*image, static_cast<int>(channel), {wrapFrom(modes[0]), wrapFrom(modes[1])}}, {}};
  if (const auto movement = movementOf(material, type)) {
    if (file_.isGltf()) {
      placed.map = mapOfGltf(*movement, placed.texture.channel);
    } else {  // what is the centre, and what comes first, differs between formats
      scene_.notes.push_back("the material '" + std::string(material.GetName().C_Str()) +
                             "' moves or scales its image; that is not taken over");
    }
  }
  return placed;
}

jt::TexturePixels TextureReader::decode(const aiString& name, std::size_t mostBytes) const {
  const aiTexture* embedded = source_.GetEmbeddedTexture(name.C_Str());
  if (!embedded) return file_.folder.decodeImage(name.C_Str(), mostBytes);
  if (!embedded->pcData) fail("it is empty");
  if (embedded->mHeight > 0) return pixelsFrom(*embedded, mostBytes);
  return tool::decodeImage(
      std::as_bytes(std::span(reinterpret_cast<const char*>(embedded->pcData), embedded->mWidth)),
      mostBytes);
}

}  // namespace mesh
