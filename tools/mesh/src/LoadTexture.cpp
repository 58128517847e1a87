#include <assimp/material.h>
#include <assimp/scene.h>

#include <algorithm>
#include <assimp/IOStream.hpp>
#include <assimp/IOSystem.hpp>

#include "Assimp.h"
#include "ImageFile.h"
#include "JtFormatError.h"

namespace mesh {
namespace {

namespace fs = std::filesystem;

/// Of all images of a scene: what a JT file keeps of them in its scene graph must stay well below
/// what readers take of one segment, 1 GiB.
constexpr std::size_t kMostPixelBytes = std::size_t{512} << 20U;

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

bool isMoved(const aiMaterial& material, aiTextureType type) {
  aiUVTransform transform;
  return material.Get(AI_MATKEY_UVTRANSFORM(type, 0), transform) == aiReturn_SUCCESS &&
         (transform.mTranslation != aiVector2D(0, 0) || transform.mScaling != aiVector2D(1, 1) ||
          transform.mRotation != 0);
}

/// Texels are rows from the top down, in their own order of components.
jt::TexturePixels pixelsFrom(const aiTexture& texture, std::size_t mostBytes) {
  constexpr std::size_t kComponents = 4;
  const std::size_t width = texture.mWidth;
  const std::size_t height = texture.mHeight;
  if (width < 1 || width > kMostImageSide || height > kMostImageSide ||
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

TextureReader::TextureReader(const aiScene& source, Assimp::IOSystem& files, fs::path folder,
                             Scene& scene)
    : source_(source),
      files_(files),
      folder_(std::move(folder)),
      scene_(scene),
      bytesLeft_(kMostPixelBytes) {}

std::optional<Texture> TextureReader::textureOf(const aiMaterial& material) {
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
  const std::optional<std::size_t> image = imageOf(name);
  if (!image) return std::nullopt;
  if (isMoved(material, type))
    scene_.notes.push_back("the material '" + std::string(material.GetName().C_Str()) +
                           "' moves or scales its image; that is not taken over");
  return Texture{*image, static_cast<int>(channel), {wrapFrom(modes[0]), wrapFrom(modes[1])}};
}

std::optional<std::size_t> TextureReader::imageOf(const aiString& name) {
  const auto [found, isNew] = images_.try_emplace(name.C_Str());
  if (!isNew) return found->second;
  try {
    auto image = std::make_shared<const jt::TexturePixels>(decode(name));
    bytesLeft_ -= image->bytes.size();
    found->second = scene_.images.size();
    scene_.images.push_back(std::move(image));
  } catch (const JtFormatError& error) {
    scene_.notes.push_back("the image '" + std::string(name.C_Str()) +
                           "' is left out: " + error.message());
  }
  return found->second;
}

jt::TexturePixels TextureReader::decode(const aiString& name) const {
  const aiTexture* embedded = source_.GetEmbeddedTexture(name.C_Str());
  if (!embedded) return decodeFile(name.C_Str());
  if (!embedded->pcData) fail("it is empty");
  if (embedded->mHeight > 0) return pixelsFrom(*embedded, bytesLeft_);
  return decodeImage(
      std::as_bytes(std::span(reinterpret_cast<const char*>(embedded->pcData), embedded->mWidth)),
      bytesLeft_);
}

jt::TexturePixels TextureReader::decodeFile(const std::string& name) const {
  std::string path = name;
  std::replace(path.begin(), path.end(), '\\', '/');
  // What was written elsewhere may name a folder of that place; then the image often lies here.
  for (const fs::path& file : {folder_ / path, folder_ / fs::path(path).filename()}) {
    std::error_code error;
    if (!fs::is_regular_file(file, error)) continue;  // opening a pipe would wait for its writer
    const std::unique_ptr<Assimp::IOStream> stream(files_.Open(file.string().c_str(), "rb"));
    if (!stream) continue;
    if (stream->FileSize() > kMostPixelBytes) fail("the file is larger than 512 MiB");
    std::vector<std::byte> bytes(stream->FileSize());
    if (!bytes.empty() && stream->Read(bytes.data(), 1, bytes.size()) != bytes.size())
      fail("the file cannot be read");
    return decodeImage(bytes, bytesLeft_);
  }
  fail("there is no such file in the folder of the mesh file or below");
}

}  // namespace mesh
