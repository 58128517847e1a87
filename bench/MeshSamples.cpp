#include "MeshSamples.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <numbers>
#include <random>
#include <stdexcept>

namespace bench {

namespace {

using jt::Mesh;
using jt::Vec3f;

Vec3f unit(double x, double y, double z) {
  const double length = std::hypot(x, y, z);
  return {static_cast<float>(x / length), static_cast<float>(y / length),
          static_cast<float>(z / length)};
}

Vec3f point(double x, double y, double z) {
  return {static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)};
}

void put(Mesh& mesh, std::array<std::uint32_t, 3> corners, std::array<std::uint32_t, 3> records) {
  mesh.corners.insert(mesh.corners.end(), corners.begin(), corners.end());
  mesh.records.insert(mesh.records.end(), records.begin(), records.end());
}

/// One drilled, stepped and chamfered boss on a square cell of the plate.
class Boss {
 public:
  Boss(Mesh& mesh, double x, double y, double height)
      : mesh_(mesh), x_(x), y_(y), height_(height) {}

  /// @param cell corners of the cell, counter-clockwise @param flat record of the upward normal
  void put(const std::array<std::uint32_t, 4>& cell, std::uint32_t flat) {
    std::uint32_t ring = circle(kProfile[0]);
    plate(cell, ring, flat);
    for (std::size_t i = 1; i < std::size(kProfile); ++i) {
      const std::uint32_t next = circle(kProfile[i]);
      band(ring, next, kProfile[i - 1], kProfile[i], flat);
      ring = next;
    }
    for (std::uint32_t k = 1; k + 1 < kSteps; ++k)
      bench::put(mesh_, {ring, ring + k, ring + k + 1}, {flat, flat, flat});
  }

 private:
  struct Edge {
    double radius;
    double height;
  };
  static constexpr std::uint32_t kSteps = 34;
  static constexpr Edge kProfile[] = {{4, 0},     {4, 2},     {3, 2},  {3, 4},
                                      {2.5, 4.5}, {1.5, 4.5}, {1.5, 1}};

  static double angle(std::uint32_t k) { return 2 * std::numbers::pi * k / kSteps; }

  std::uint32_t circle(const Edge& edge) {
    const auto first = static_cast<std::uint32_t>(mesh_.positions.size());
    for (std::uint32_t k = 0; k < kSteps; ++k)
      mesh_.positions.push_back(point(x_ + edge.radius * std::cos(angle(k)),
                                      y_ + edge.radius * std::sin(angle(k)),
                                      edge.height * height_));
    return first;
  }

  void band(std::uint32_t from, std::uint32_t to, const Edge& below, const Edge& above,
            std::uint32_t flat) {
    const bool isFlat = below.height == above.height;
    const auto first = static_cast<std::uint32_t>(mesh_.normals.size());
    const double rise = (above.height - below.height) * height_;
    const double run = below.radius - above.radius;
    for (std::uint32_t k = 0; k < kSteps && !isFlat; ++k)
      mesh_.normals.push_back(unit(rise * std::cos(angle(k)), rise * std::sin(angle(k)), run));
    for (std::uint32_t k = 0; k < kSteps; ++k) {
      const std::uint32_t n = (k + 1) % kSteps;
      const std::uint32_t a = isFlat ? flat : first + k;
      const std::uint32_t b = isFlat ? flat : first + n;
      bench::put(mesh_, {from + k, from + n, to + n}, {a, b, b});
      bench::put(mesh_, {from + k, to + n, to + k}, {a, b, a});
    }
  }

  /// Between the square and the lowest circle.
  void plate(const std::array<std::uint32_t, 4>& cell, std::uint32_t ring, std::uint32_t flat) {
    const std::array<std::uint32_t, 3> records{flat, flat, flat};
    const auto quarter = [](std::uint32_t k) { return k * 4 / kSteps; };
    for (std::uint32_t k = 0; k < kSteps; ++k) {
      const std::uint32_t side = quarter(k);
      const std::uint32_t next = (k + 1) % kSteps;
      bench::put(mesh_, {cell[side], ring + next, ring + k}, records);
      if (quarter(next) != side)
        bench::put(mesh_, {cell[side], cell[(side + 1) % 4], ring + next}, records);
    }
  }

  Mesh& mesh_;
  double x_;
  double y_;
  double height_;
};

}  // namespace

MeshSample smoothTorus(unsigned steps) {
  MeshSample sample{"smooth", {}};
  Mesh& mesh = sample.mesh;
  std::mt19937 random(1);
  std::uniform_real_distribution<double> jitter(-0.3, 0.3);
  const double step = 2 * std::numbers::pi / steps;
  for (unsigned i = 0; i < steps; ++i)
    for (unsigned j = 0; j < steps; ++j) {
      const double u = (i + jitter(random)) * step;
      const double v = (j + jitter(random)) * step;
      const double radius = 100 + 40 * std::cos(v);
      mesh.positions.push_back(point(radius * std::cos(u), radius * std::sin(u), 40 * std::sin(v)));
      mesh.normals.push_back(
          unit(std::cos(v) * std::cos(u), std::cos(v) * std::sin(u), std::sin(v)));
    }
  for (unsigned i = 0; i < steps; ++i)
    for (unsigned j = 0; j < steps; ++j) {
      const auto at = [&](unsigned di, unsigned dj) {
        return (i + di) % steps * steps + (j + dj) % steps;
      };
      const bool turned = (random() & 1) != 0;
      const std::array<std::uint32_t, 4> q{at(0, 0), at(1, 0), at(1, 1), at(0, 1)};
      const std::array<std::uint32_t, 3> first{q[0], q[1], q[turned ? 2 : 3]};
      const std::array<std::uint32_t, 3> second{q[turned ? 0 : 1], q[2], q[3]};
      put(mesh, first, first);
      put(mesh, second, second);
    }
  return sample;
}

MeshSample bossPlate(const std::string& name, unsigned cells) {
  MeshSample sample{name, {}};
  Mesh& mesh = sample.mesh;
  mesh.normals.push_back({0, 0, 1});
  for (unsigned i = 0; i <= cells; ++i)
    for (unsigned j = 0; j <= cells; ++j)
      mesh.positions.push_back(point(10.0 * i - 5, 10.0 * j - 5, 0));
  for (unsigned i = 0; i < cells; ++i)
    for (unsigned j = 0; j < cells; ++j) {
      // The corner that the circle's first quarter faces comes first.
      const auto at = [&](unsigned di, unsigned dj) { return (i + di) * (cells + 1) + j + dj; };
      Boss(mesh, 10.0 * i, 10.0 * j, 1 + 0.1 * ((i * 7 + j * 3) % 5))
          .put({at(1, 1), at(0, 1), at(0, 0), at(1, 0)}, 0);
    }
  return sample;
}

MeshSample box() {
  MeshSample sample{"box", {}};
  Mesh& mesh = sample.mesh;
  for (unsigned i = 0; i < 8; ++i) mesh.positions.push_back(point(i & 1, i >> 1 & 1, i >> 2));
  constexpr std::array<std::array<std::uint32_t, 4>, 6> faces{
      {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4}, {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}}};
  for (std::uint32_t f = 0; f < 6; ++f) {
    Vec3f normal{};
    normal[f / 2] = f % 2 == 0 ? -1.0F : 1.0F;
    mesh.normals.push_back(normal);
    const auto& q = faces[f];
    put(mesh, {q[0], q[1], q[2]}, {f, f, f});
    put(mesh, {q[0], q[2], q[3]}, {f, f, f});
  }
  return sample;
}

MeshSample readOff(const std::string& path) {
  std::ifstream in(path);
  std::string magic;
  std::size_t vertices = 0;
  std::size_t faces = 0;
  std::size_t edges = 0;
  if (!(in >> magic >> vertices >> faces >> edges) || magic != "OFF")
    throw std::runtime_error(path + " is no OFF file");
  MeshSample sample{std::filesystem::path(path).stem().string(), {}};
  Mesh& mesh = sample.mesh;
  mesh.positions.resize(vertices);
  for (Vec3f& p : mesh.positions) in >> p[0] >> p[1] >> p[2];
  for (std::size_t f = 0; f < faces; ++f) {
    std::size_t count = 0;
    in >> count;
    std::vector<std::uint32_t> corners(count);
    for (std::uint32_t& corner : corners) in >> corner;
    for (std::size_t k = 2; k < count; ++k)
      put(mesh, {corners[0], corners[k - 1], corners[k]}, {corners[0], corners[k - 1], corners[k]});
  }
  std::vector<std::array<double, 3>> sums(vertices);
  for (std::size_t t = 0; t < mesh.corners.size(); t += 3) {
    const auto edge = [&](std::size_t k, std::size_t axis) {
      return static_cast<double>(mesh.positions.at(mesh.corners[t + k])[axis]) -
             static_cast<double>(mesh.positions.at(mesh.corners[t])[axis]);
    };
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const std::size_t y = (axis + 1) % 3;
      const std::size_t z = (axis + 2) % 3;
      const double area = edge(1, y) * edge(2, z) - edge(1, z) * edge(2, y);
      for (std::size_t k = 0; k < 3; ++k) sums[mesh.corners[t + k]][axis] += area;
    }
  }
  for (const auto& [x, y, z] : sums)
    mesh.normals.push_back(x == 0 && y == 0 && z == 0 ? Vec3f{0, 0, 1} : unit(x, y, z));
  return sample;
}

jt::Mesh withoutNormals(const jt::Mesh& mesh) {
  jt::Mesh plain = mesh;
  plain.normals.clear();
  plain.records.clear();
  return plain;
}

FlatMesh flatten(const jt::Mesh& mesh) {
  FlatMesh flat;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> uses;
  for (std::size_t i = 0; i < mesh.corners.size(); ++i)
    uses.emplace_back(mesh.corners[i], mesh.records.empty() ? 0 : mesh.records[i]);
  flat.vertices = uses;
  std::ranges::sort(flat.vertices);
  flat.vertices.erase(std::unique(flat.vertices.begin(), flat.vertices.end()), flat.vertices.end());
  for (const auto& use : uses)
    flat.indices.push_back(static_cast<std::uint32_t>(std::ranges::lower_bound(flat.vertices, use) -
                                                      flat.vertices.begin()));
  return flat;
}

}  // namespace bench
