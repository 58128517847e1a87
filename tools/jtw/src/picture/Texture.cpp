#include "Texture.h"

#include <algorithm>
#include <cmath>

namespace tool {
namespace {

/// Where a coordinate lies in the image, in texels from its edge.
double placed(double coordinate, jt::TextureWrap wrap, std::size_t size) {
  switch (wrap) {
    case jt::TextureWrap::repeat:
      coordinate -= std::floor(coordinate);
      break;
    case jt::TextureWrap::mirror:
      coordinate = std::abs(coordinate - 2 * std::floor(coordinate / 2 + 0.5));
      break;
    case jt::TextureWrap::clampToEdge:
      coordinate = std::clamp(coordinate, 0.0, 1.0);
      break;
  }
  return coordinate * static_cast<double>(size) - 0.5;
}

/// The texel of that number, which may be one beyond the image.
std::size_t texel(double number, jt::TextureWrap wrap, std::size_t size) {
  const auto last = static_cast<double>(size) - 1;
  if (number < 0) return wrap == jt::TextureWrap::repeat ? size - 1 : 0;
  if (number > last) return wrap == jt::TextureWrap::repeat ? 0 : size - 1;
  return static_cast<std::size_t>(number);
}

}  // namespace

Texture::Texture(jt::TexturePixels pixels, const std::array<jt::TextureWrap, 2>& wrap)
    : wrap_(wrap) {
  const auto width = static_cast<std::size_t>(pixels.width);
  const auto components = static_cast<std::size_t>(pixels.components);
  Level& finest = levels_.emplace_back(Level{width, static_cast<std::size_t>(pixels.height), {}});
  finest.texels.resize(finest.width * finest.height);
  for (std::size_t i = 0; i < finest.texels.size(); ++i) {
    auto& texel = finest.texels[i];
    texel[3] = 255;
    for (std::size_t k = 0; k < components; ++k)
      texel[k] = std::to_integer<std::uint8_t>(pixels.bytes[i * components + k]);
    isTranslucent_ = isTranslucent_ || texel[3] < 255;
  }
  while (levels_.back().width > 1 || levels_.back().height > 1)
    levels_.push_back(half(levels_.back()));
}

Texture::Level Texture::half(const Level& level) {
  Level result{
      std::max<std::size_t>(1, level.width / 2), std::max<std::size_t>(1, level.height / 2), {}};
  result.texels.reserve(result.width * result.height);
  for (std::size_t y = 0; y < result.height; ++y)
    for (std::size_t x = 0; x < result.width; ++x) {
      std::array<unsigned, 4> sum{};
      for (std::size_t i = 0; i < 4; ++i) {
        const std::size_t fromX = std::min(2 * x + i % 2, level.width - 1);
        const std::size_t fromY = std::min(2 * y + i / 2, level.height - 1);
        const auto& texel = level.texels[fromY * level.width + fromX];
        for (std::size_t k = 0; k < 4; ++k) sum[k] += texel[k];
      }
      auto& texel = result.texels.emplace_back();
      for (std::size_t k = 0; k < 4; ++k) texel[k] = static_cast<std::uint8_t>((sum[k] + 2) / 4);
    }
  return result;
}

double Texture::texels() const noexcept { return static_cast<double>(levels_[0].texels.size()); }

const Texture::Level& Texture::fitting(std::size_t side) const {
  const auto found = std::ranges::find_if(
      levels_, [side](const Level& level) { return std::max(level.width, level.height) <= side; });
  return found == levels_.end() ? levels_.back() : *found;
}

Color Texture::at(double u, double v, std::size_t level) const {
  if (!std::isfinite(u + v)) return {1, 1, 1, 1};
  const Level& image = levels_[std::min(level, levels_.size() - 1)];
  const double x = placed(u, wrap_[0], image.width);
  const double y = placed(v, wrap_[1], image.height);
  const double left = std::floor(x);
  const double low = std::floor(y);
  const auto alongX = static_cast<float>(x - left);
  const auto alongY = static_cast<float>(y - low);
  Color result{};
  for (unsigned corner = 0; corner < 4; ++corner) {
    const bool right = (corner & 1U) != 0;
    const bool upper = (corner & 2U) != 0;
    const auto& color =
        image.texels[texel(low + (upper ? 1 : 0), wrap_[1], image.height) * image.width +
                     texel(left + (right ? 1 : 0), wrap_[0], image.width)];
    const float weight = (right ? alongX : 1 - alongX) * (upper ? alongY : 1 - alongY) / 255.0F;
    for (std::size_t k = 0; k < 4; ++k) result[k] += weight * static_cast<float>(color[k]);
  }
  return result;
}

}  // namespace tool
