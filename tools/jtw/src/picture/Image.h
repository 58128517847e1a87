#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tool {

/// Red, green, blue, alpha in 0..1.
using Color = std::array<float, 4>;

/// A picture: rows from the top, four bytes a pixel (red, green, blue, alpha; not premultiplied).
struct Image {
  std::size_t width = 0;
  std::size_t height = 0;
  std::vector<std::uint8_t> rgba;
};

}  // namespace tool
