#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Rasterizer.h"

namespace tool {

/// A word below a picture, behind a patch of its color where it has one.
struct Caption {
  std::string text;
  std::optional<Color> patch;
};

/// Captions laid out in rows at the lower edge of a picture of that size, in pixels.
class CaptionRows {
 public:
  CaptionRows(const std::vector<Caption>& captions, std::size_t width, std::size_t height);

  /// What they need of the height.
  double space() const noexcept;
  /// Adds them, in front of everything.
  /// @param samples of the canvas along each side of a pixel
  void draw(DrawList& list, const Color& background, double samples) const;

 private:
  struct Place {
    const Caption* caption;
    double x;
    std::size_t row;
  };
  double height_;  // of the picture
  double letter_;  // height of capital letters
  std::size_t rows_ = 0;
  std::vector<Place> places_;
};

}  // namespace tool
