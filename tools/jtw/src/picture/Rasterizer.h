#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "Image.h"
#include "Texture.h"
#include "Vector.h"

namespace tool {

/// A corner of a triangle: its place on the canvas (pixels and depth), its normal in view
/// coordinates, its color and texture coordinates.
struct Corner {
  Vector place;
  std::array<float, 3> normal;
  Color color;
  std::array<float, 2> coordinates;
};

struct Triangle {
  std::array<Corner, 3> corners;
  const Texture* texture;  ///< multiplied with the color; may be null
  bool isMatter;           ///< not lit: the inside of a body that is cut open
};

struct Line {
  Vector from;
  Vector to;
  Color color;
  float width;  ///< pixels of the picture
};

struct Dot {
  Vector place;
  Color color;
  float size;  ///< pixels of the picture
};

/// What is drawn in one go.
struct DrawList {
  std::vector<Triangle> triangles;
  std::vector<Line> lines;
  std::vector<Dot> dots;
};

/// Draws shaded triangles, lines and points with a depth buffer, several samples a pixel for smooth
/// edges.
class Rasterizer {
 public:
  /// What drawing does. First everything opaque; then, so that the order does not matter, what is
  /// translucent twice: the nearest of it is found, and mixed with what lies behind.
  enum class Pass { opaque, nearest, mix };
  /// Rows of samples: the first, and one past the last.
  struct Rows {
    std::size_t first;
    std::size_t end;
  };

  /// @param width, height of the picture in pixels
  /// @param hasPerspective depths are one by the distance
  /// @param hasMatter there are triangles of matter
  Rasterizer(std::size_t width, std::size_t height, const Color& background, bool hasPerspective,
             bool hasMatter);

  /// Size of the canvas in samples: what a camera has to fit to.
  double width() const noexcept { return static_cast<double>(width_); }
  double height() const noexcept { return static_cast<double>(height_); }
  /// Samples along each side of a pixel.
  double samples() const noexcept { return static_cast<double>(samples_); }
  /// All rows, or a part of them: number `index` of `count`.
  Rows band(std::size_t index, std::size_t count) const noexcept {
    return {height_ * index / count, height_ * (index + 1) / count};
  }

  void begin(Pass pass) noexcept { pass_ = pass; }
  /// Draws what lies in these rows. Different rows may be drawn on different threads.
  void draw(const DrawList& list, Rows rows);

  /// Moves matter that is seen to the plane that cuts it: it covers what lies between.
  /// @param plane depth = plane[0] * x + plane[1] * y + plane[2]
  void liftMatter(const Vector& plane);

  /// The picture: samples averaged.
  Image image() const;

 private:
  void draw(const Triangle& triangle, Rows rows);
  void draw(const Line& line, Rows rows);
  void draw(const Dot& dot, Rows rows);
  void put(std::size_t index, float depth, const Color& color, bool isMatter = false);

  Pass pass_ = Pass::opaque;
  bool hasPerspective_;
  std::size_t samples_;  // along each side of a pixel
  std::size_t width_;
  std::size_t height_;
  std::vector<float> depth_;
  std::vector<std::array<std::uint8_t, 4>> colors_;
  std::vector<char> matter_;  // of each sample, whether it shows matter; empty: none does
};

}  // namespace tool
