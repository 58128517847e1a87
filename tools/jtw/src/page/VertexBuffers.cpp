#include "VertexBuffers.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

namespace tool {
namespace {

std::array<std::int8_t, 4> packedNormal(const jt::Vec3f& normal) {
  constexpr float kOne = 127;
  std::array<std::int8_t, 4> packed{};
  const float length = std::hypot(normal[0], normal[1], normal[2]);
  if (!(length > 0) || !std::isfinite(length)) return packed;
  for (std::size_t i = 0; i < 3; ++i)
    packed[i] = static_cast<std::int8_t>(std::lround(kOne * normal[i] / length));
  return packed;
}

/// Gives each pair of a position and a record one vertex.
class Welder {
 public:
  Welder(const jt::Mesh& mesh, VertexBuffers& out) : mesh_(mesh), out_(out) {
    vertices_.reserve(mesh.positions.size());
    for (const auto& channel : mesh.textures)
      if (channel.components >= 2) {
        channels_.push_back(&channel);
        out.coordinates.push_back({channel.channel, {}});
      }
  }

  std::uint32_t vertexOf(std::size_t corner) {
    constexpr unsigned kBits = 32;
    const std::uint32_t position = mesh_.corners[corner];
    const std::uint32_t record = mesh_.records.empty() ? 0 : mesh_.records[corner];
    const auto [vertex, isNew] =
        vertices_.try_emplace(std::uint64_t{position} << kBits | record,
                              static_cast<std::uint32_t>(out_.positions.size()));
    if (isNew) add(position, record);
    return vertex->second;
  }

  bool isFinite(std::size_t corner) const {
    const jt::Vec3f& p = mesh_.positions[mesh_.corners[corner]];
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
  }

 private:
  void add(std::uint32_t position, std::uint32_t record) {
    constexpr float kWhite = 255;
    out_.positions.push_back(mesh_.positions[position]);
    if (!mesh_.normals.empty()) out_.normals.push_back(packedNormal(mesh_.normals[record]));
    for (std::size_t i = 0; i < channels_.size(); ++i) {
      const auto width = static_cast<std::size_t>(channels_[i]->components);
      const float* at = &channels_[i]->values[record * width];
      out_.coordinates[i].values.push_back({at[0], at[1]});
    }
    if (mesh_.colors.empty()) return;
    std::array<std::uint8_t, 4> color{};
    for (std::size_t i = 0; i < 4; ++i) {
      const float share = mesh_.colors[record][i];
      color[i] =
          static_cast<std::uint8_t>(share > 0 ? std::lround(std::min(share, 1.0F) * kWhite) : 0);
    }
    out_.colors.push_back(color);
  }

  const jt::Mesh& mesh_;
  VertexBuffers& out_;
  std::vector<const jt::Mesh::TextureChannel*> channels_;      // of out_.coordinates
  std::unordered_map<std::uint64_t, std::uint32_t> vertices_;  // by position and record
};

}  // namespace

VertexBuffers vertexBuffersOf(const jt::Mesh& mesh) {
  VertexBuffers buffers;
  Welder welder(mesh, buffers);
  const auto add = [&](std::size_t first, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
      if (!welder.isFinite(first + i)) return;
    for (std::size_t i = 0; i < count; ++i) buffers.indices.push_back(welder.vertexOf(first + i));
  };
  if (mesh.kind == jt::Mesh::Kind::triangles) {
    buffers.indices.reserve(mesh.corners.size());
    for (std::size_t corner = 0; corner + 2 < mesh.corners.size(); corner += 3) add(corner, 3);
    return buffers;
  }
  const std::size_t width = mesh.kind == jt::Mesh::Kind::polylines ? 2 : 1;
  for (std::size_t i = 0; i + 1 < mesh.starts.size(); ++i)
    for (std::size_t corner = mesh.starts[i]; corner + width <= mesh.starts[i + 1]; ++corner)
      add(corner, width);
  return buffers;
}

}  // namespace tool
