#include "Rasterizer.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace tool {
namespace {

// Samples that a canvas may have: 8 bytes each.
constexpr std::size_t kManySamples = std::size_t{48} << 20;

std::uint8_t toByte(float value) {
  return static_cast<std::uint8_t>(std::clamp(value, 0.0F, 1.0F) * 255.999F);
}

bool isFinite(const Vector& v) { return std::isfinite(v[0] + v[1] + v[2]); }

/// A light at the eye and one from above left; both sides of a surface are lit alike.
Color shaded(const Color& color, Vector normal) {
  normal = unit(normal);
  if (normal[2] < 0) normal = {-normal[0], -normal[1], -normal[2]};
  static const Vector kAbove = unit({-0.45, 0.75, 0.6});
  const double above = std::max(0.0, dot(normal, kAbove));
  const auto light = static_cast<float>(0.28 + 0.42 * normal[2] + 0.38 * above);
  const double above4 = above * above * above * above;
  const double above16 = above4 * above4 * above4 * above4;
  const auto shine = static_cast<float>(0.18 * above16 * above4 * above4);
  return {color[0] * light + shine, color[1] * light + shine, color[2] * light + shine, color[3]};
}

/// First and one past the last sample whose centre lies in [low, high], within the canvas.
std::pair<std::size_t, std::size_t> samplesIn(double low, double high, std::size_t count) {
  const auto limit = static_cast<double>(count);
  const double first = std::clamp(std::ceil(low - 0.5), 0.0, limit);
  const double end = std::clamp(std::floor(high - 0.5) + 1, 0.0, limit);
  return {static_cast<std::size_t>(first), static_cast<std::size_t>(end)};
}

template <std::size_t N, typename T>
std::array<T, N> mixed(const std::array<T, N>& a, const std::array<T, N>& b,
                       const std::array<T, N>& c, const Vector& weights) {
  std::array<T, N> result;
  for (std::size_t i = 0; i < N; ++i)
    result[i] = static_cast<T>(static_cast<double>(a[i]) * weights[0] +
                               static_cast<double>(b[i]) * weights[1] +
                               static_cast<double>(c[i]) * weights[2]);
  return result;
}

}  // namespace

Rasterizer::Rasterizer(std::size_t width, std::size_t height, const Color& background)
    : samples_(width * height * 9 <= kManySamples ? 3 : 2),
      width_(width * samples_),
      height_(height * samples_),
      depth_(width_ * height_, -std::numeric_limits<float>::infinity()),
      colors_(width_ * height_, {toByte(background[0]), toByte(background[1]),
                                 toByte(background[2]), toByte(background[3])}) {}

void Rasterizer::put(std::size_t index, float depth, const Color& color) {
  if (!(depth >= depth_[index])) return;
  auto& below = colors_[index];
  depth_[index] = depth;
  if (pass_ == Pass::nearest) return;
  if (pass_ == Pass::opaque) {
    below = {toByte(color[0]), toByte(color[1]), toByte(color[2]), 255};
    return;
  }
  // On an edge that two triangles share, one of them is enough.
  depth_[index] = std::nextafter(depth, std::numeric_limits<float>::infinity());
  const float cover = std::clamp(color[3], 0.0F, 1.0F);
  const float under = static_cast<float>(below[3]) / 255.0F * (1 - cover);
  const float alpha = cover + under;
  if (alpha <= 0) return;
  for (std::size_t i = 0; i < 3; ++i)
    below[i] = toByte((color[i] * cover + static_cast<float>(below[i]) / 255.0F * under) / alpha);
  below[3] = toByte(alpha);
}

void Rasterizer::triangle(const Corner& a, const Corner& b, const Corner& c) {
  if (!isFinite(a.place) || !isFinite(b.place) || !isFinite(c.place)) return;
  const Vector& p = a.place;
  const Vector& q = b.place;
  const Vector& r = c.place;
  const double inverse =
      1 / ((q[0] - p[0]) * (r[1] - p[1]) - (q[1] - p[1]) * (r[0] - p[0]));  // of twice the area
  if (!std::isfinite(inverse)) return;
  // The weights of the corners are linear in x and y.
  const Vector alongX{(q[1] - r[1]) * inverse, (r[1] - p[1]) * inverse, (p[1] - q[1]) * inverse};
  const Vector alongY{(r[0] - q[0]) * inverse, (p[0] - r[0]) * inverse, (q[0] - p[0]) * inverse};
  const Vector* origin[] = {&q, &r, &p};  // a point where the weight is 0
  const auto [lowY, highY] = std::minmax({p[1], q[1], r[1]});
  const auto [lowX, highX] = std::minmax({p[0], q[0], r[0]});
  const auto [firstRow, endRow] = samplesIn(lowY, highY, height_);
  const auto [firstColumn, endColumn] = samplesIn(lowX, highX, width_);
  for (std::size_t row = firstRow; row < endRow; ++row) {
    const double y = static_cast<double>(row) + 0.5;
    for (std::size_t column = firstColumn; column < endColumn; ++column) {
      const double x = static_cast<double>(column) + 0.5;
      Vector weights;
      for (std::size_t i = 0; i < 3; ++i)
        weights[i] = alongX[i] * (x - (*origin[i])[0]) + alongY[i] * (y - (*origin[i])[1]);
      if (weights[0] < 0 || weights[1] < 0 || weights[2] < 0) continue;
      const auto depth =
          static_cast<float>(weights[0] * p[2] + weights[1] * q[2] + weights[2] * r[2]);
      const std::size_t index = row * width_ + column;
      if (depth < depth_[index]) continue;
      put(index, depth,
          shaded(mixed(a.color, b.color, c.color, weights),
                 mixed(a.normal, b.normal, c.normal, weights)));
    }
  }
}

void Rasterizer::point(const Vector& place, const Color& color) {
  if (!isFinite(place)) return;
  const double half = static_cast<double>(samples_) / 2;
  const auto [firstRow, endRow] = samplesIn(place[1] - half, place[1] + half, height_);
  const auto [firstColumn, endColumn] = samplesIn(place[0] - half, place[0] + half, width_);
  for (std::size_t row = firstRow; row < endRow; ++row)
    for (std::size_t column = firstColumn; column < endColumn; ++column)
      put(row * width_ + column, static_cast<float>(place[2]), color);
}

void Rasterizer::line(const Vector& from, const Vector& to, const Color& color) {
  if (!isFinite(from) || !isFinite(to)) return;
  const double length = std::max(std::abs(to[0] - from[0]), std::abs(to[1] - from[1]));
  // A fitted scene lies on the canvas: a line is no longer than its diagonal.
  const auto steps = static_cast<unsigned>(std::clamp(std::ceil(length), 1.0, width() + height()));
  for (unsigned step = 0; step <= steps; ++step) {
    const double t = static_cast<double>(step) / steps;
    point({from[0] + (to[0] - from[0]) * t, from[1] + (to[1] - from[1]) * t,
           from[2] + (to[2] - from[2]) * t},
          color);
  }
}

Image Rasterizer::image() const {
  Image image{width_ / samples_, height_ / samples_, {}};
  image.rgba.resize(image.width * image.height * 4);
  const unsigned count = std::max(1U, static_cast<unsigned>(samples_ * samples_));
  for (std::size_t row = 0; row < image.height; ++row) {
    for (std::size_t column = 0; column < image.width; ++column) {
      std::array<unsigned, 3> sum{};  // weighted by alpha
      unsigned alpha = 0;
      for (std::size_t sample = 0; sample < samples_ * samples_; ++sample) {
        const auto& color = colors_[(row * samples_ + sample / samples_) * width_ +
                                    column * samples_ + sample % samples_];
        for (std::size_t i = 0; i < 3; ++i) sum[i] += unsigned{color[i]} * color[3];
        alpha += color[3];
      }
      auto* pixel = &image.rgba[(row * image.width + column) * 4];
      for (std::size_t i = 0; i < 3; ++i)
        if (alpha > 0) pixel[i] = static_cast<std::uint8_t>((sum[i] + alpha / 2) / alpha);
      pixel[3] = static_cast<std::uint8_t>((alpha + count / 2) / count);
    }
  }
  return image;
}

}  // namespace tool
