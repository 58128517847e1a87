#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "Camera.h"
#include "Image.h"

namespace tool {

/// Red, green, blue, alpha in 0..1.
using Color = std::array<float, 4>;

/// A corner of a triangle: its place on the canvas (pixels and depth), its normal in view
/// coordinates, its color.
struct Corner {
  Vector place;
  Vector normal;
  Color color;
};

/// Draws shaded triangles, lines and points with a depth buffer, several samples a pixel for smooth
/// edges.
class Rasterizer {
 public:
  /// What drawing does. First everything opaque; then, so that the order does not matter, what is
  /// translucent twice: the nearest of it is found, and mixed with what lies behind.
  enum class Pass { opaque, nearest, mix };

  /// @param width, height of the picture in pixels
  Rasterizer(std::size_t width, std::size_t height, const Color& background);

  /// Size of the canvas in samples: what a camera has to fit to.
  double width() const noexcept { return static_cast<double>(width_); }
  double height() const noexcept { return static_cast<double>(height_); }

  void begin(Pass pass) noexcept { pass_ = pass; }
  void triangle(const Corner& a, const Corner& b, const Corner& c);
  /// Lines and points are a pixel wide.
  void line(const Vector& from, const Vector& to, const Color& color);
  void point(const Vector& place, const Color& color);

  /// The picture: samples averaged.
  Image image() const;

 private:
  void put(std::size_t index, float depth, const Color& color);

  Pass pass_ = Pass::opaque;
  std::size_t samples_;  // along each side of a pixel
  std::size_t width_;
  std::size_t height_;
  std::vector<float> depth_;
  std::vector<std::array<std::uint8_t, 4>> colors_;
};

}  // namespace tool
