#include <algorithm>
#include <cmath>
#include <numbers>

#include "file/shapes/PrimitiveSet.h"

namespace jt::file {

namespace {

/// Sides of a circle whose chords stay within a distance.
std::uint32_t sidesOf(float radius, float tolerance) {
  constexpr std::uint32_t kLeast = 6;
  constexpr std::uint32_t kMost = 360;
  constexpr double kDefaultShare = 0.01;
  const double share = tolerance > 0 ? std::abs(double{tolerance} / double{radius}) : kDefaultShare;
  if (!(share > 0)) return kMost;
  if (share >= 1) return kLeast;
  const double sides = std::ceil(std::numbers::pi / std::acos(1 - share));
  return std::clamp(static_cast<std::uint32_t>(std::min(sides, double{kMost})), kLeast, kMost);
}

Vec3f rotate(const Vec3f& v, std::array<float, 4> q) {
  const float norm = std::hypot(std::hypot(q[0], q[1]), std::hypot(q[2], q[3]));
  if (!(norm > 0) || !std::isfinite(norm)) return v;
  for (float& part : q) part /= norm;
  const auto cross = [](const Vec3f& a, const Vec3f& b) {
    return Vec3f{a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
  };
  const Vec3f axis{q[0], q[1], q[2]};
  const Vec3f once = cross(axis, v);
  const Vec3f twice = cross(axis, once);
  Vec3f result = v;
  for (std::size_t i = 0; i < 3; ++i) result[i] += 2 * (q[3] * once[i] + twice[i]);
  return result;
}

class Tessellator {
 public:
  Tessellator(Mesh& mesh, float tolerance, codec::Budget& budget)
      : mesh_(mesh), tolerance_(tolerance), budget_(budget) {}

  void add(const Primitive& primitive, std::int32_t group, bool colored) {
    const std::size_t firstVertex = mesh_.positions.size();
    const std::size_t firstCorner = mesh_.corners.size();
    shape(primitive);
    for (std::size_t i = firstVertex; i < mesh_.positions.size(); ++i) {
      Vec3f& position = mesh_.positions[i];
      position = rotate(position, primitive.orientation);
      for (std::size_t axis = 0; axis < 3; ++axis) position[axis] += primitive.place[axis];
    }
    mesh_.groups.insert(mesh_.groups.end(), (mesh_.corners.size() - firstCorner) / 3, group);
    if (!colored) return;
    const Vec3f& color = *primitive.color;
    mesh_.colors.push_back({color[0], color[1], color[2], 1});
    mesh_.records.resize(mesh_.corners.size(), static_cast<std::uint32_t>(mesh_.colors.size() - 1));
  }

 private:
  void shape(const Primitive& primitive) {
    const Vec3f& s = primitive.size;
    switch (primitive.type) {
      case Primitive::Type::box:
        return block({{{0, 0}, {s[0], 0}, {s[0], s[1]}, {0, s[1]}}}, s[2], 1);
      case Primitive::Type::pyramid:
        return block({{{0, 0}, {s[0], 0}, {s[0], s[1]}, {0, s[1]}}}, s[2], 0);
      case Primitive::Type::prism:
        return block({{{0, 0}, {s[0], 0}, {0, s[1]}}}, s[2], 1);
      case Primitive::Type::cone:
        return cone(s[0], s[1], s[2]);
      case Primitive::Type::sphere:
        return sphere(s[0]);
    }
  }

  /// A base in the plane z = 0, counter-clockwise seen from above, and above it the same outline
  /// scaled about its middle.
  void block(const std::vector<std::array<float, 2>>& outline, float height, float scale) {
    std::array<float, 2> middle{};
    for (const auto& point : outline)
      for (std::size_t i = 0; i < 2; ++i)
        middle[i] += point[i] / static_cast<float>(outline.size());
    std::vector<Vec3f> top;
    std::vector<Vec3f> base;
    for (const auto& point : outline) {
      base.push_back({point[0], point[1], 0});
      top.push_back({middle[0] + scale * (point[0] - middle[0]),
                     middle[1] + scale * (point[1] - middle[1]), height});
    }
    rings({base, top});
  }

  void cone(float base, float top, float height) {
    const std::uint32_t sides = sidesOf(std::max(std::abs(base), std::abs(top)), tolerance_);
    rings({circle(base, 0, sides), circle(top, height, sides)});
  }

  void sphere(float radius) {
    const std::uint32_t sides = sidesOf(radius, tolerance_);
    const std::uint32_t bands = std::max(3U, sides / 2);
    std::vector<std::vector<Vec3f>> all;
    for (std::uint32_t band = 0; band <= bands; ++band) {
      const float angle =
          std::numbers::pi_v<float> * static_cast<float>(band) / static_cast<float>(bands);
      const bool isPole = band == 0 || band == bands;
      all.push_back(
          circle(isPole ? 0 : radius * std::sin(angle), -radius * std::cos(angle), sides));
    }
    rings(all);
  }

  static std::vector<Vec3f> circle(float radius, float height, std::uint32_t sides) {
    std::vector<Vec3f> points;
    for (std::uint32_t i = 0; i < sides; ++i) {
      const float angle =
          2 * std::numbers::pi_v<float> * static_cast<float>(i) / static_cast<float>(sides);
      points.push_back({radius * std::cos(angle), radius * std::sin(angle), height});
    }
    return points;
  }

  /// Rings of as many points each, one above the other; the first and the last are closed.
  void rings(const std::vector<std::vector<Vec3f>>& all) {
    const std::size_t sides = all[0].size();
    budget_.spend(all.size() * sides * (sizeof(Vec3f) + 6 * (2 * sizeof(std::uint32_t))));
    const auto first = static_cast<std::uint32_t>(mesh_.positions.size());
    const auto count = static_cast<std::uint32_t>(sides);
    for (const auto& ring : all)
      mesh_.positions.insert(mesh_.positions.end(), ring.begin(), ring.end());
    for (std::uint32_t i = 2; i < count; ++i) triangle(first, first + i, first + i - 1);
    for (std::uint32_t ring = 0; ring + 1 < all.size(); ++ring)
      for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t a = first + ring * count + i;
        const std::uint32_t b = first + ring * count + (i + 1) % count;
        triangle(a, b, b + count);
        triangle(a, b + count, a + count);
      }
    const auto last = static_cast<std::uint32_t>(first + (all.size() - 1) * sides);
    for (std::uint32_t i = 2; i < count; ++i) triangle(last, last + i - 1, last + i);
  }

  /// Flat ones, as at a tip, are left out.
  void triangle(std::uint32_t a, std::uint32_t b, std::uint32_t c) {
    const auto& p = mesh_.positions;
    if (p[a] == p[b] || p[b] == p[c] || p[a] == p[c]) return;
    mesh_.corners.insert(mesh_.corners.end(), {a, b, c});
  }

  Mesh& mesh_;
  float tolerance_;
  codec::Budget& budget_;
};

}  // namespace

Mesh tessellate(const std::vector<Primitive>& primitives, float tolerance, codec::Budget& budget) {
  Mesh mesh;
  const bool colored = !primitives.empty() && std::ranges::all_of(primitives, [](const auto& p) {
    return p.color.has_value();
  });
  Tessellator tessellator(mesh, tolerance, budget);
  std::int32_t group = 0;
  for (const Primitive& primitive : primitives) tessellator.add(primitive, group++, colored);
  return mesh;
}

}  // namespace jt::file
