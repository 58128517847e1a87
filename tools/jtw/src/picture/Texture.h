#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Image.h"
#include "JtTexture.h"

namespace tool {

/// An image on a surface, in its own size and in smaller ones for surfaces that are far away.
class Texture {
 public:
  /// Texels row after row, from the bottom up: red, green, blue, alpha.
  struct Level {
    std::size_t width;
    std::size_t height;
    std::vector<std::array<std::uint8_t, 4>> texels;
  };

  Texture(jt::TexturePixels pixels, const std::array<jt::TextureWrap, 2>& wrap);

  /// The color at texture coordinates, between texels and beyond the image as it has to be.
  /// @param level 0: the image itself; 1: half as large; and so on
  Color at(double u, double v, std::size_t level) const;
  /// True when something can be seen through it.
  bool isTranslucent() const noexcept { return isTranslucent_; }
  /// Texels of the image itself.
  double texels() const noexcept;
  std::size_t levels() const noexcept { return levels_.size(); }
  /// The largest form in which neither side is longer than that number of texels.
  const Level& fitting(std::size_t side) const;
  /// Along both coordinates.
  const std::array<jt::TextureWrap, 2>& wrap() const noexcept { return wrap_; }

 private:
  static Level half(const Level& level);

  std::vector<Level> levels_;
  std::array<jt::TextureWrap, 2> wrap_;
  bool isTranslucent_ = false;
};

}  // namespace tool
