#pragma once

// Pictures as files, for all programs.

#include <cstddef>
#include <span>
#include <vector>

namespace tool {

/// Pixels with 8 bits a component, row after row without gaps.
struct PixelRows {
  std::size_t width = 0;
  std::size_t height = 0;
  std::size_t components = 4;  ///< 3: red, green, blue; 4: alpha too, not multiplied into them
  std::span<const std::byte> bytes;  ///< width * height * components
  bool fromBelow = false;            ///< the first row is the lowest
};

/// The bytes of a PNG file. Throws JtFormatError "too_large" when there is no memory for them.
std::vector<std::byte> encodePng(const PixelRows& pixels);
/// The bytes of a JPEG file of high quality; alpha is left out. Throws like encodePng.
std::vector<std::byte> encodeJpeg(const PixelRows& pixels);

}  // namespace tool
