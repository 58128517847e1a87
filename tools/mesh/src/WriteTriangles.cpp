// STL and PLY, binary: meshes without a structure around them.

#include <bit>
#include <cmath>
#include <cstring>

#include "JtFormatError.h"
#include "Writers.h"

namespace mesh {
namespace {

static_assert(std::endian::native == std::endian::little,
              "numbers are written as they lie in memory");

template <class T>
void append(std::string& out, const T& value) {
  char bytes[sizeof value];
  std::memcpy(bytes, &value, sizeof value);
  out.append(bytes, sizeof bytes);
}

std::uint32_t checkedCount(std::size_t count) {
  if (count > 0xffffffffU)
    throw JtFormatError("too_large", "the format counts up to 4294967295 vertices or triangles");
  return static_cast<std::uint32_t>(count);
}

jt::Vec3f normalOf(const jt::Vec3f& a, const jt::Vec3f& b, const jt::Vec3f& c) {
  const jt::Vec3f u{b[0] - a[0], b[1] - a[1], b[2] - a[2]};
  const jt::Vec3f v{c[0] - a[0], c[1] - a[1], c[2] - a[2]};
  jt::Vec3f normal{u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
  const float length = std::hypot(normal[0], normal[1], normal[2]);
  for (float& component : normal) component = length > 0 ? component / length : 0;
  return normal;
}

bool hasTriangles(const Placed& placed) { return placed.mesh->kind == jt::Mesh::Kind::triangles; }

/// The three corners of a triangle, counter-clockwise seen from outside.
std::array<std::uint32_t, 3> cornersOf(const Placed& placed, std::size_t first) {
  const auto& corners = placed.mesh->corners;
  const std::size_t swapped = placed.isMirrored ? 1 : 0;
  return {corners[first], corners[first + 1 + swapped], corners[first + 2 - swapped]};
}

/// The color of a vertex: that of the material, unless the mesh has colors of its own.
std::array<std::uint8_t, 4> colorOf(const Scene& scene, const Placed& placed, const float* own) {
  jt::Rgba color = own ? jt::Rgba{own[0], own[1], own[2], own[3]} : Material().diffuse;
  if (!own && placed.surface->material) color = scene.materials[*placed.surface->material].diffuse;
  color = clamped(color);
  std::array<std::uint8_t, 4> bytes{};
  for (std::size_t i = 0; i < 4; ++i)
    bytes[i] = static_cast<std::uint8_t>(std::lround(color[i] * 255.0F));
  return bytes;
}

/// Vertices of a mesh: one a position, with the color of one of the corners there.
void addVertices(std::string& out, const Scene& scene, const Placed& placed) {
  const jt::Mesh& mesh = *placed.mesh;
  std::vector<const float*> own(mesh.positions.size(), nullptr);
  if (!mesh.colors.empty())
    for (std::size_t i = 0; i < mesh.corners.size(); ++i)
      own[mesh.corners[i]] = mesh.colors[mesh.records[i]].data();
  for (std::size_t i = 0; i < placed.positions.size(); ++i) {
    append(out, placed.positions[i]);
    append(out, colorOf(scene, placed, own[i]));
  }
}

std::string plyHeader(std::size_t vertices, std::size_t faces) {
  std::string header =
      "ply\nformat binary_little_endian 1.0\ncomment lengths in millimetres\nelement vertex " +
      std::to_string(vertices) + "\n";
  for (const char* name : {"x", "y", "z"}) header += std::string("property float ") + name + "\n";
  for (const char* name : {"red", "green", "blue", "alpha"})
    header += std::string("property uchar ") + name + "\n";
  if (faces > 0)
    header +=
        "element face " + std::to_string(faces) + "\nproperty list uchar uint vertex_indices\n";
  return header + "end_header\n";
}

}  // namespace

std::string stlOf(const Scene& scene) {
  constexpr std::size_t kHeader = 80;
  std::string out("binary STL, lengths in millimetres");
  out.resize(kHeader, ' ');
  append(out, std::uint32_t{0});
  std::size_t count = 0;
  forEachPlaced(scene, [&](const Placed& placed) {
    if (!hasTriangles(placed)) return;
    for (std::size_t i = 0; i + 2 < placed.mesh->corners.size(); i += 3, ++count) {
      const auto corners = cornersOf(placed, i);
      const auto& points = placed.positions;
      append(out, normalOf(points[corners[0]], points[corners[1]], points[corners[2]]));
      for (const std::uint32_t corner : corners) append(out, points[corner]);
      append(out, std::uint16_t{0});
    }
  });
  const std::uint32_t stored = checkedCount(count);
  std::memcpy(&out[kHeader], &stored, sizeof stored);
  return out;
}

std::string plyOf(const Scene& scene) {
  std::string vertices;
  std::string faces;
  std::size_t vertexCount = 0;
  std::size_t faceCount = 0;
  forEachPlaced(scene, [&](const Placed& placed) {
    addVertices(vertices, scene, placed);
    const std::uint32_t base = checkedCount(vertexCount);
    vertexCount += placed.positions.size();
    checkedCount(vertexCount);
    if (!hasTriangles(placed)) return;
    for (std::size_t i = 0; i + 2 < placed.mesh->corners.size(); i += 3, ++faceCount) {
      append(faces, std::uint8_t{3});
      for (const std::uint32_t corner : cornersOf(placed, i)) append(faces, base + corner);
    }
  });
  return plyHeader(vertexCount, faceCount) + vertices + faces;
}

}  // namespace mesh
