#include "JtTexture.h"

#include <algorithm>
#include <span>

#include "JtFormatError.h"
#include "scene/Recording.h"

namespace {

// Codes of ISO 14306.
constexpr std::int32_t kTwoDimensional = 2;
constexpr std::int32_t kLinear = 2;
constexpr std::int32_t kModulate = 2;
constexpr std::uint32_t kUnsignedByte = 3;
constexpr std::uint32_t kRgb = 1;
constexpr std::uint32_t kRgba = 2;

/// Where the components of a pixel format are found.
struct PixelFormat {
  std::uint32_t code;
  std::size_t stored;                 ///< components in the file
  std::size_t components;             ///< as TexturePixels has them
  std::array<std::size_t, 4> source;  ///< of each of those, which one of the file it is
};
constexpr PixelFormat kFormats[] = {
    {kRgb, 3, 3, {0, 1, 2, 0}}, {kRgba, 4, 4, {0, 1, 2, 3}}, {3, 1, 3, {0, 0, 0, 0}},
    {4, 2, 4, {0, 0, 0, 1}},    {11, 3, 3, {2, 1, 0, 0}},    {12, 4, 4, {2, 1, 0, 3}},
};

/// Empty when the numbers fit together.
std::string flawOf(const jt::TexturePixels& pixels) {
  constexpr int kMostSide = 32767;
  constexpr std::size_t kMostBytes = 0x7fffffff;
  if (pixels.width < 1 || pixels.height < 1 || pixels.width > kMostSide ||
      pixels.height > kMostSide)
    return "a texture of " + std::to_string(pixels.width) + " x " + std::to_string(pixels.height) +
           " pixels; each side has 1 to 32767";
  if (pixels.components != 3 && pixels.components != 4)
    return "pixels of " + std::to_string(pixels.components) + " components; they have 3 or 4";
  const std::size_t expected = static_cast<std::size_t>(pixels.width) *
                               static_cast<std::size_t>(pixels.height) *
                               static_cast<std::size_t>(pixels.components);
  if (expected > kMostBytes) return "a texture of more than 2 GiB";
  if (pixels.bytes.size() != expected)
    return "a texture with " + std::to_string(pixels.bytes.size()) +
           " bytes of pixels instead of " + std::to_string(expected);
  return {};
}

jt::TextureWrap wrapOf(std::int32_t code) {
  if (code == 3) return jt::TextureWrap::mirror;
  // None and repeat; the others are kinds of clamping.
  return code == 1 || code > 3 ? jt::TextureWrap::clampToEdge : jt::TextureWrap::repeat;
}

std::optional<jt::TexturePixels> pixelsOf(const jt::TextureImage& image) {
  const auto* format =
      std::find_if(std::begin(kFormats), std::end(kFormats),
                   [&image](const PixelFormat& one) { return one.code == image.pixelFormat; });
  if (format == std::end(kFormats) || image.pixelType != kUnsignedByte || image.mipmaps.empty() ||
      image.width < 1 || image.height < 1 || image.borderTexels != 0)
    return std::nullopt;
  const auto width = static_cast<std::size_t>(image.width);
  const auto height = static_cast<std::size_t>(image.height);
  const auto alignment = static_cast<std::size_t>(std::max<std::int16_t>(image.rowAlignment, 1));
  const std::size_t row = width * format->stored;
  const std::size_t stride = (row + alignment - 1) / alignment * alignment;
  const std::span<const std::byte> texels = image.mipmaps.front();
  if (texels.size() < stride * (height - 1) + row) return std::nullopt;
  jt::TexturePixels pixels{image.width, image.height, static_cast<int>(format->components), {}};
  pixels.bytes.reserve(width * height * format->components);
  for (std::size_t y = 0; y < height; ++y)
    for (std::size_t x = 0; x < width; ++x)
      for (std::size_t i = 0; i < format->components; ++i)
        pixels.bytes.push_back(texels[y * stride + x * format->stored + format->source[i]]);
  return pixels;
}

/// The image of a two-dimensional texture; null for other kinds.
const jt::TextureImage* finestImage(const std::vector<jt::TextureBlock>& blocks) {
  if (blocks.empty()) return nullptr;
  const jt::TextureBlock& block = blocks.back();
  return block.textureType == kTwoDimensional && !block.images.empty() ? &block.images.front()
                                                                       : nullptr;
}

[[noreturn]] void refuse(const std::string& flaw) { throw JtFormatError("bad_texture", flaw); }

}  // namespace

std::span<const jt::FieldBits> JtTextureImage::fieldBits() const noexcept {
  // The last one, the compression level, moved.
  static constexpr jt::FieldBits kBits[] = {{0x01, 0x01}, {0x02, 0x02}, {0x04, 0x04},
                                            {0x08, 0x08}, {0x10, 0x10}, {0x20, 0x20},
                                            {0x40, 0x40}, {0x100, 0x80}};
  return kBits;
}

void JtTextureImage::setPixels(jt::TexturePixels pixels, int coordinateChannel) {
  if (const std::string flaw = flawOf(pixels); !flaw.empty()) refuse(flaw);
  jt::TextureImage image;
  image.pixelFormat = pixels.components == 4 ? kRgba : kRgb;
  image.pixelType = kUnsignedByte;
  image.width = static_cast<std::int16_t>(pixels.width);
  image.height = static_cast<std::int16_t>(pixels.height);
  image.depth = 1;
  image.totalBytes = static_cast<std::int32_t>(pixels.bytes.size());
  image.mipmaps.push_back(std::move(pixels.bytes));
  setImage(std::move(image), true, coordinateChannel);
}

void JtTextureImage::setFileName(const JtString& name, int coordinateChannel) {
  if (name.isEmpty()) refuse("a texture of a file without a name");
  jt::TextureImage image;
  image.fileName = name;
  setImage(std::move(image), false, coordinateChannel);
}

void JtTextureImage::setImage(jt::TextureImage image, bool isInline, int coordinateChannel) {
  constexpr int kLastChannel = 7;
  if (coordinateChannel < 0 || coordinateChannel > kLastChannel)
    refuse("texture coordinates of channel " + std::to_string(coordinateChannel) +
           "; there are 0 to 7");
  if (isCarried()) return;
  jt::TextureBlock block;
  block.textureType = kTwoDimensional;
  block.environment.magnificationFilter = block.environment.minificationFilter = kLinear;
  block.environment.wrap.fill(static_cast<std::int32_t>(jt::TextureWrap::repeat));
  block.environment.blendType = kModulate;
  block.coordinateChannel = coordinateChannel;
  block.inlineFlag = isInline ? 1 : 0;
  block.images.push_back(std::move(image));
  std::vector<jt::TextureBlock> blocks;
  blocks.push_back(std::move(block));
  change(blocks_, version_);
  blocks_ = std::move(blocks);
  // Older versions of the attribute name no channel of coordinates.
  version_ = {};
}

void JtTextureImage::setWrap(jt::TextureWrap alongWidth, jt::TextureWrap alongHeight) {
  if (blocks_.empty() || isCarried()) return;
  change(blocks_);
  auto& wrap = blocks_.back().environment.wrap;
  wrap[0] = static_cast<std::int32_t>(alongWidth);
  wrap[1] = static_cast<std::int32_t>(alongHeight);
}

void JtTextureImage::setTransform(const std::array<float, 16>& matrix) {
  if (blocks_.empty() || isCarried()) return;
  change(blocks_);
  blocks_.back().environment.transform = matrix;
}

std::optional<jt::TexturePixels> JtTextureImage::pixels() const {
  const jt::TextureImage* image = finestImage(blocks_);
  return image ? pixelsOf(*image) : std::nullopt;
}

JtString JtTextureImage::fileName() const {
  const jt::TextureImage* image = finestImage(blocks_);
  return image && blocks_.back().inlineFlag == 0 ? image->fileName : JtString();
}

int JtTextureImage::channel() const noexcept {
  return blocks_.empty() ? 0 : std::max(blocks_.back().channel, 0);
}

int JtTextureImage::coordinateChannel() const noexcept {
  const bool isNamed = !blocks_.empty() && blocks_.back().coordinateChannel >= 0;
  return isNamed ? blocks_.back().coordinateChannel : channel();
}

std::array<jt::TextureWrap, 2> JtTextureImage::wrap() const noexcept {
  if (blocks_.empty()) return {jt::TextureWrap::repeat, jt::TextureWrap::repeat};
  const auto& wrap = blocks_.back().environment.wrap;
  return {wrapOf(wrap[0]), wrapOf(wrap[1])};
}

std::array<float, 16> JtTextureImage::transform() const noexcept {
  return blocks_.empty() ? jt::TextureEnvironment().transform
                         : blocks_.back().environment.transform;
}
