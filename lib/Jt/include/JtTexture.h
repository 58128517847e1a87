#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "JtMaterial.h"
#include "JtString.h"

namespace jt {

/// How texels meet the surface: filters, wrapping, blending. Codes as ISO 14306 lists them.
struct TextureEnvironment {
  std::int32_t borderMode = 0;
  std::int32_t magnificationFilter = 0;
  std::int32_t minificationFilter = 0;
  std::array<std::int32_t, 3> wrap{};  ///< S, T, R
  std::int32_t blendType = 0;
  std::int32_t compressionLevel = 0;
  Rgba blendColor{};
  Rgba borderColor{};
  /// Of texture coordinates, by rows; for row vectors, as all matrices of the format.
  std::array<float, 16> transform{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

/// Where texture coordinates come from when the shape has none.
struct TextureGeneration {
  std::array<std::int32_t, 4> modes{};           ///< S, T, R, Q
  std::array<std::array<float, 4>, 4> planes{};  ///< normal and distance, one a mode
};

/// One image of a texture: the pixels, or the name of a file.
struct TextureImage {
  JtString fileName;  ///< when the texture is not inline
  std::uint32_t pixelFormat = 0;
  std::uint32_t pixelType = 0;
  std::int16_t dimensionality = 2;
  std::int16_t rowAlignment = 1;
  std::int16_t width = 0;
  std::int16_t height = 0;
  std::int16_t depth = 0;
  std::int16_t borderTexels = 0;
  std::uint32_t shared = 0;
  std::int32_t totalBytes = 0;
  std::vector<std::vector<std::byte>> mipmaps;  ///< finest first
};

/// One block of a texture attribute; 9.x attributes may have up to three, the last one counts.
struct TextureBlock {
  std::int32_t textureType = 0;
  TextureEnvironment environment;
  TextureGeneration generation;
  std::int32_t channel = 0;
  std::int32_t coordinateChannel = -1;
  std::uint32_t reserved = 0;
  std::uint8_t inlineFlag = 0;
  std::vector<TextureImage> images;
};

/// An image in its plainest form: 8 bits a component, no padding.
struct TexturePixels {
  int width = 0;       ///< 1 to 32767
  int height = 0;      ///< 1 to 32767
  int components = 3;  ///< 3: red, green, blue; 4: alpha too, not multiplied into the colors
  /// Row after row from the bottom up: texture coordinates (0, 0) are the corner where the first
  /// pixel lies. width * height * components of them.
  std::vector<std::byte> bytes;
  friend bool operator==(const TexturePixels&, const TexturePixels&) = default;
};

/// What lies beyond texture coordinates of 0 to 1; values as in TextureEnvironment::wrap.
enum class TextureWrap : std::int32_t { repeat = 2, mirror = 3, clampToEdge = 4 };

}  // namespace jt

/// Texture image attribute.
class JT_API JtTextureImage : public JtAttribute {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The blocks as stored, one to three; the last one holds the images.
  const std::vector<jt::TextureBlock>& blocks() const noexcept { return blocks_; }

  /// Makes it a plain two-dimensional texture that holds these pixels: repeated, filtered linearly,
  /// multiplied with the material's color, on texture channel 0. What was there before goes, and
  /// is left as it was when the call throws. JT 9.5 and later hold textures; a save as 8.x leaves
  /// them out with a warning. No effect on an attribute that is carried unread.
  /// @param coordinateChannel 0 to 7: the channel of the mesh (jt::Mesh::TextureChannel) that says
  ///   where the pixels lie
  /// Throws JtFormatError "bad_texture" for numbers outside of their ranges.
  void setPixels(jt::TexturePixels pixels, int coordinateChannel = 0);
  /// The same with an image that lies in a file of its own.
  /// @param name relative to the folder of the JT file, with '/' between folders; not empty
  void setFileName(const JtString& name, int coordinateChannel = 0);
  /// Sets what lies beyond the image along its width and its height. No effect without an image.
  void setWrap(jt::TextureWrap alongWidth, jt::TextureWrap alongHeight);
  /// Sets what texture coordinates are multiplied with: (u, v, 0, 1) as a row vector from the left,
  /// the matrix by rows. No effect without an image.
  void setTransform(const std::array<float, 16>& matrix);

  /// The finest image of a two-dimensional texture that holds its pixels with 8 unsigned bits a
  /// component: color in either order, or gray, which becomes color. None for all others.
  std::optional<jt::TexturePixels> pixels() const;
  /// Name of the file that holds the finest image of a two-dimensional texture; empty where the
  /// attribute holds it. As it is stored: any path of any system, not to be opened unseen.
  JtString fileName() const;
  /// The texture channel, from 0 on; further down in the tree another texture of the same channel
  /// replaces this one.
  int channel() const noexcept;
  /// The channel of texture coordinates that it is laid out with: the one named, else that with the
  /// number of the texture channel.
  int coordinateChannel() const noexcept;
  /// Along width and height; what is no TextureWrap counts as the nearest of them.
  std::array<jt::TextureWrap, 2> wrap() const noexcept;
  /// See setTransform.
  std::array<float, 16> transform() const noexcept;

 private:
  std::span<const jt::FieldBits> fieldBits() const noexcept override;
  void setImage(jt::TextureImage image, bool isInline, int coordinateChannel);
  friend struct jt::file::FieldAccess;
  jt::LocalVersion version_;
  std::vector<jt::TextureBlock> blocks_;
};

namespace jt {
/// The body that texture coordinates are projected from, and its place.
struct TextureMapping {
  enum class Kind : std::uint8_t { plane, cylinder, sphere, triPlanar };
  Kind kind = Kind::plane;
  std::uint8_t baseType = 9;  ///< of the element that it is stored as
  std::int32_t objectId = 0;  ///< likewise
  LocalVersion version;       ///< likewise
  std::array<double, 16> matrix{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  ///< by rows
  std::int32_t coordinateSystem = 2;  ///< 0 undefined, 1 viewpoint, 2 model, 3 world
};
}  // namespace jt

/// Texture coordinate generator attribute of 9.x and 10.x files.
class JT_API JtTextureCoordinateGenerator : public JtAttribute {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The texture coordinate channel that is generated.
  std::int32_t channel() const noexcept { return channel_; }
  /// None when it is of a kind that is not known here: it is then carried as it is, and a save in
  /// another version leaves the attribute out with a warning.
  const std::optional<jt::TextureMapping>& mapping() const noexcept { return mapping_; }

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion version_;
  std::int32_t channel_ = 0;
  std::optional<jt::TextureMapping> mapping_;
};

/// Shader effects attribute of 8.x and 9.x files.
class JT_API JtShaderEffects : public JtAttribute {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// Whether the effects are on, and how strong each is.
  bool enabled() const noexcept { return enable_ != 0; }
  float environmentReflectivity() const noexcept { return environmentReflectivity_; }
  float bumpiness() const noexcept { return bumpiness_; }
  bool phong() const noexcept { return phong_ != 0; }

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion version_;
  std::uint32_t enable_ = 0;
  std::int32_t reserved1_ = 0;
  float environmentReflectivity_ = 0;
  std::int32_t reserved2_ = 0;
  float bumpiness_ = 0;
  std::uint32_t reserved3_ = 0;
  std::uint32_t phong_ = 0;
  std::uint32_t reserved4_ = 0;
};
