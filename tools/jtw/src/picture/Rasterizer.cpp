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

/// A light at the eye and one from above left; both sides of a surface are lit alike. White stays
/// below full brightness, so that its form can be seen.
Color shaded(const Color& color, const std::array<float, 3>& normal) {
  Vector n = unit({normal[0], normal[1], normal[2]});
  if (n[2] < 0) n = {-n[0], -n[1], -n[2]};
  constexpr Vector kAbove{-0.424264, 0.707107, 0.565685};
  const double above = std::max(0.0, dot(n, kAbove));
  const auto light = static_cast<float>(0.25 + 0.4 * n[2] + 0.33 * above);
  const double above4 = above * above * above * above;
  const double above16 = above4 * above4 * above4 * above4;
  const auto shine = static_cast<float>(0.15 * above16 * above4 * above4);
  return {color[0] * light + shine, color[1] * light + shine, color[2] * light + shine, color[3]};
}

/// First and one past the last sample whose centre lies in [low, high], between two limits.
std::pair<std::size_t, std::size_t> samplesIn(double low, double high, std::size_t least,
                                              std::size_t most) {
  const auto from = static_cast<double>(least);
  const auto to = static_cast<double>(most);
  const double first = std::clamp(std::ceil(low - 0.5), from, to);
  const double end = std::clamp(std::floor(high - 0.5) + 1, from, to);
  return {static_cast<std::size_t>(first), static_cast<std::size_t>(end)};
}

/// A number that is linear in x: its slope, and where it is 0.
struct Slope {
  double alongX;
  double zero;
};

/// Narrows [low, high] to where a slope is not negative.
void keepInside(const Slope& slope, double& low, double& high) {
  if (slope.alongX > 0)
    low = std::max(low, slope.zero);
  else if (slope.alongX < 0)
    high = std::min(high, slope.zero);
}

template <std::size_t N>
std::array<float, N> mixed(const std::array<float, N>& a, const std::array<float, N>& b,
                           const std::array<float, N>& c, const std::array<float, 3>& weights) {
  std::array<float, N> result;
  for (std::size_t i = 0; i < N; ++i)
    result[i] = a[i] * weights[0] + b[i] * weights[1] + c[i] * weights[2];
  return result;
}

/// The image of a texture that has about as many texels as there are samples.
std::size_t levelOf(const Triangle& triangle, double area) {
  const auto& [a, b, c] = triangle.corners;
  const auto edge = [](const Corner& from, const Corner& to, std::size_t i) {
    return static_cast<double>(to.coordinates[i]) - static_cast<double>(from.coordinates[i]);
  };
  const double covered = std::abs(edge(a, b, 0) * edge(a, c, 1) - edge(a, b, 1) * edge(a, c, 0)) *
                         triangle.texture->texels();
  const double level = std::round(0.5 * std::log2(covered / area));
  if (!(level > 0)) return 0;
  return static_cast<std::size_t>(
      std::min(level, static_cast<double>(triangle.texture->levels() - 1)));
}

}  // namespace

Rasterizer::Rasterizer(std::size_t width, std::size_t height, const Color& background,
                       bool hasPerspective, bool hasMatter)
    : hasPerspective_(hasPerspective),
      samples_(width * height * 9 <= kManySamples ? 3 : 2),
      width_(width * samples_),
      height_(height * samples_),
      depth_(width_ * height_, -std::numeric_limits<float>::infinity()),
      colors_(width_ * height_, {toByte(background[0]), toByte(background[1]),
                                 toByte(background[2]), toByte(background[3])}),
      matter_(hasMatter ? width_ * height_ : 0) {}

void Rasterizer::put(std::size_t index, float depth, const Color& color, bool isMatter) {
  if (!(depth >= depth_[index])) return;
  // What cannot be seen hides nothing.
  constexpr float kLeastCover = 1.0F / 255;
  if (pass_ != Pass::opaque && color[3] < kLeastCover) return;
  auto& below = colors_[index];
  depth_[index] = depth;
  if (pass_ == Pass::nearest) return;
  if (pass_ == Pass::opaque) {
    below = {toByte(color[0]), toByte(color[1]), toByte(color[2]), 255};
    if (!matter_.empty()) matter_[index] = isMatter ? 1 : 0;
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

void Rasterizer::draw(const DrawList& list, Rows rows) {
  for (const Triangle& triangle : list.triangles) draw(triangle, rows);
  for (const Line& line : list.lines) draw(line, rows);
  for (const Dot& dot : list.dots) draw(dot, rows);
}

void Rasterizer::draw(const Triangle& triangle, Rows rows) {
  const auto& [a, b, c] = triangle.corners;
  const Vector& p = a.place;
  const Vector& q = b.place;
  const Vector& r = c.place;
  if (!isFinite(p) || !isFinite(q) || !isFinite(r)) return;
  const auto [lowY, highY] = std::minmax({p[1], q[1], r[1]});
  const auto [firstRow, endRow] = samplesIn(lowY, highY, rows.first, rows.end);
  if (firstRow >= endRow) return;
  const double area = (q[0] - p[0]) * (r[1] - p[1]) - (q[1] - p[1]) * (r[0] - p[0]);  // twice
  const double inverse = 1 / area;
  if (!std::isfinite(inverse)) return;
  // The weights of the corners are linear in x and y.
  const Vector alongX{(q[1] - r[1]) * inverse, (r[1] - p[1]) * inverse, (p[1] - q[1]) * inverse};
  const Vector alongY{(r[0] - q[0]) * inverse, (p[0] - r[0]) * inverse, (q[0] - p[0]) * inverse};
  const Vector* origin[] = {&q, &r, &p};  // a point where the weight is 0
  const auto [lowX, highX] = std::minmax({p[0], q[0], r[0]});
  const std::size_t level = triangle.texture ? levelOf(triangle, std::abs(area)) : 0;
  for (std::size_t row = firstRow; row < endRow; ++row) {
    const double y = static_cast<double>(row) + 0.5;
    Vector ofRow;
    double left = lowX;
    double right = highX;
    for (std::size_t i = 0; i < 3; ++i) {
      ofRow[i] = alongY[i] * (y - (*origin[i])[1]);
      keepInside({alongX[i], (*origin[i])[0] - ofRow[i] / alongX[i]}, left, right);
    }
    // One sample more on each side: what the weights say there counts, not where an edge is met.
    const auto [firstColumn, endColumn] = samplesIn(left - 1, right + 1, 0, width_);
    for (std::size_t column = firstColumn; column < endColumn; ++column) {
      const double x = static_cast<double>(column) + 0.5;
      Vector weights;
      for (std::size_t i = 0; i < 3; ++i) weights[i] = alongX[i] * (x - (*origin[i])[0]) + ofRow[i];
      if (weights[0] < 0 || weights[1] < 0 || weights[2] < 0) continue;
      const double depth = weights[0] * p[2] + weights[1] * q[2] + weights[2] * r[2];
      const std::size_t index = row * width_ + column;
      if (static_cast<float>(depth) < depth_[index]) continue;
      if (hasPerspective_)
        weights = {weights[0] * p[2] / depth, weights[1] * q[2] / depth, weights[2] * r[2] / depth};
      const std::array<float, 3> shares{static_cast<float>(weights[0]),
                                        static_cast<float>(weights[1]),
                                        static_cast<float>(weights[2])};
      Color color = mixed(a.color, b.color, c.color, shares);
      if (triangle.texture) {
        const auto at = mixed(a.coordinates, b.coordinates, c.coordinates, shares);
        const Color texel =
            triangle.texture->at(static_cast<double>(at[0]), static_cast<double>(at[1]), level);
        for (std::size_t i = 0; i < 4; ++i) color[i] *= texel[i];
      }
      if (!triangle.isMatter) color = shaded(color, mixed(a.normal, b.normal, c.normal, shares));
      put(index, static_cast<float>(depth), color, triangle.isMatter);
    }
  }
}

void Rasterizer::draw(const Dot& dot, Rows rows) {
  if (!isFinite(dot.place)) return;
  const double half = static_cast<double>(samples_) * std::max(1.0, double{dot.size}) / 2;
  const auto [firstRow, endRow] =
      samplesIn(dot.place[1] - half, dot.place[1] + half, rows.first, rows.end);
  const auto [firstColumn, endColumn] =
      samplesIn(dot.place[0] - half, dot.place[0] + half, 0, width_);
  constexpr float kRound = 2;  // pixels from which on a point is a disc
  for (std::size_t row = firstRow; row < endRow; ++row)
    for (std::size_t column = firstColumn; column < endColumn; ++column)
      if (dot.size <= kRound || std::hypot(static_cast<double>(column) + 0.5 - dot.place[0],
                                           static_cast<double>(row) + 0.5 - dot.place[1]) <= half)
        put(row * width_ + column, static_cast<float>(dot.place[2]), dot.color);
}

void Rasterizer::draw(const Line& line, Rows rows) {
  const Vector along = minus(line.to, line.from);
  if (!isFinite(along)) return;
  const std::size_t major = std::abs(along[0]) >= std::abs(along[1]) ? 0 : 1;
  draw(Dot{line.from, line.color, line.width}, rows);
  draw(Dot{line.to, line.color, line.width}, rows);
  if (along[major] == 0) return;
  // One stroke across the line for each sample along it.
  const double half = static_cast<double>(samples_) * std::max(1.0, double{line.width}) / 2 *
                      std::hypot(along[0], along[1]) / std::abs(along[major]);
  const auto [low, high] = std::minmax(line.from[major], line.to[major]);
  const bool isFlat = major == 0;
  const auto [first, end] =
      isFlat ? samplesIn(low, high, 0, width_) : samplesIn(low, high, rows.first, rows.end);
  for (std::size_t i = first; i < end; ++i) {
    const double t = (static_cast<double>(i) + 0.5 - line.from[major]) / along[major];
    const Vector at = plus(line.from, along, t);
    const auto [from, to] = isFlat ? samplesIn(at[1] - half, at[1] + half, rows.first, rows.end)
                                   : samplesIn(at[0] - half, at[0] + half, 0, width_);
    for (std::size_t k = from; k < to; ++k)
      put(isFlat ? k * width_ + i : i * width_ + k, static_cast<float>(at[2]), line.color);
  }
}

void Rasterizer::liftMatter(const Vector& plane) {
  for (std::size_t i = 0; i < matter_.size(); ++i) {
    if (matter_[i] == 0) continue;
    const std::size_t row = i / width_;
    const Vector place{static_cast<double>(i % width_) + 0.5, static_cast<double>(row) + 0.5, 1};
    depth_[i] = std::max(depth_[i], static_cast<float>(dot(plane, place)));
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
