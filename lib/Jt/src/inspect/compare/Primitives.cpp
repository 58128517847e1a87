#include "inspect/compare/Primitives.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "JtHash.h"
#include "inspect/compare/Values.h"

namespace jt::compare_detail {

namespace {

template <class T, std::size_t N>
bool areClose(const std::array<T, N>& a, const std::array<T, N>& b, double tolerance) {
  return std::equal(a.begin(), a.end(), b.begin(),
                    [&](T x, T y) { return isClose(x, y, tolerance); });
}

bool areRecordsClose(const Mesh& a, std::size_t recordA, const Mesh& b, std::size_t recordB,
                     double tolerance) {
  if (!a.normals.empty() && !areClose(a.normals[recordA], b.normals[recordB], tolerance))
    return false;
  if (!a.colors.empty() && !areClose(a.colors[recordA], b.colors[recordB], tolerance)) return false;
  for (std::size_t i = 0; i < a.textures.size(); ++i) {
    const auto parts = static_cast<std::size_t>(a.textures[i].components);
    for (std::size_t part = 0; part < parts; ++part)
      if (!isClose(a.textures[i].values[recordA * parts + part],
                   b.textures[i].values[recordB * parts + part], tolerance))
        return false;
  }
  return true;
}

bool areCornersClose(const Primitives& a, std::size_t cornerA, const Primitives& b,
                     std::size_t cornerB, const Tolerance& tolerance) {
  if (!areClose(a.position(cornerA), b.position(cornerB), tolerance.length)) return false;
  const Mesh& meshA = a.mesh();
  const Mesh& meshB = b.mesh();
  if (meshA.records.empty() || meshB.records.empty()) return true;
  return areRecordsClose(meshA, meshA.records[cornerA], meshB, meshB.records[cornerB],
                         tolerance.plain);
}

/// Bits that are equal for equal numbers.
std::uint64_t exactBits(float value) noexcept {
  if (std::isnan(value)) return 1;
  return value == 0 ? 0 : std::bit_cast<std::uint32_t>(value);
}

}  // namespace

std::array<double, 3> Primitives::center(std::size_t primitive) const {
  const auto [first, count] = corners(primitive);
  std::array<double, 3> middle{};
  for (std::size_t i = 0; i < count; ++i)
    for (std::size_t axis = 0; axis < 3; ++axis)
      middle[axis] += static_cast<double>(position(first + i)[axis]);
  for (double& value : middle) value /= static_cast<double>(std::max<std::size_t>(count, 1));
  return middle;
}

std::uint64_t Primitives::cornerHash(std::size_t corner) const {
  std::uint64_t hash = 0;
  const auto add = [&hash](const auto& values) {
    for (const float value : values) hash = mixHash(hash, exactBits(value));
  };
  add(position(corner));
  if (mesh_.records.empty()) return hash;
  const std::size_t record = mesh_.records[corner];
  if (!mesh_.normals.empty()) add(mesh_.normals[record]);
  if (!mesh_.colors.empty()) add(mesh_.colors[record]);
  for (const Mesh::TextureChannel& texture : mesh_.textures)
    for (int part = 0; part < texture.components; ++part)
      hash = mixHash(
          hash, exactBits(texture.values[record * static_cast<std::size_t>(texture.components) +
                                         static_cast<std::size_t>(part)]));
  return hash;
}

std::uint64_t Primitives::hash(std::size_t primitive) const {
  const auto [first, count] = corners(primitive);
  if (mesh_.kind != Mesh::Kind::triangles) {
    std::uint64_t hash = count;
    for (std::size_t i = 0; i < count; ++i) hash = mixHash(hash, cornerHash(first + i));
    return hash;
  }
  const std::uint64_t a = cornerHash(first);
  const std::uint64_t b = cornerHash(first + 1);
  const std::uint64_t c = cornerHash(first + 2);
  // The same for every first corner, another one for the other side of the triangle.
  return mixHash(mixHash(a, b), c) + mixHash(mixHash(b, c), a) + mixHash(mixHash(c, a), b);
}

bool arePartners(const Primitives& a, std::size_t primitiveA, const Primitives& b,
                 std::size_t primitiveB, const Tolerance& tolerance) {
  const auto [firstA, countA] = a.corners(primitiveA);
  const auto [firstB, countB] = b.corners(primitiveB);
  if (countA != countB) return false;
  const std::size_t rotations = a.mesh().kind == Mesh::Kind::triangles ? 3 : 1;
  for (std::size_t rotation = 0; rotation < rotations; ++rotation) {
    bool fits = true;
    for (std::size_t i = 0; fits && i < countA; ++i)
      fits = areCornersClose(a, firstA + i, b, firstB + (i + rotation) % countB, tolerance);
    if (fits) return true;
  }
  return false;
}

}  // namespace jt::compare_detail
