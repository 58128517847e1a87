#pragma once

// Images in the forms that mesh files hold.

#include <cstddef>
#include <span>
#include <vector>

#include "JtTexture.h"

namespace tool {

/// Pixels along the longest side that an image may have.
constexpr int kMostImageSide = 16384;

/// Of all images of a scene: what a JT file keeps of them in its scene graph must stay well below
/// what readers take of one segment, 1 GiB.
constexpr std::size_t kMostPixelBytes = std::size_t{512} << 20U;

/// Decodes PNG and JPEG; safe on bytes of any origin. Color palettes and gray become colors,
/// 16 bits become 8. Throws JtFormatError "bad_image" for other formats, for damage, and for an
/// image that is larger than kMostImageSide or has more than `mostBytes` bytes of pixels.
jt::TexturePixels decodeImage(std::span<const std::byte> file, std::size_t mostBytes);

}  // namespace tool
