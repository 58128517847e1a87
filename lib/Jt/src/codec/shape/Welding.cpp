#include "codec/shape/Welding.h"

#include <bit>
#include <cstring>
#include <numeric>

#include "base/IndexTable.h"

namespace jt::codec {

namespace {

/// Mixes numbers into a hash that spreads well enough for a table.
class Mixer {
 public:
  void add(std::uint32_t value) noexcept { state_ = mixHash(state_, value); }
  void add(std::span<const float> values) noexcept {
    for (const float value : values) add(std::bit_cast<std::uint32_t>(value));
  }
  std::size_t value() const noexcept { return state_; }

 private:
  std::uint64_t state_ = 0;
};

bool sameBits(std::span<const float> a, std::span<const float> b) {
  return std::memcmp(a.data(), b.data(), a.size_bytes()) == 0;
}

/// Index of the first item that equals each item; empty when no two are equal. Expected linear
/// time.
/// @param hash of an item by index @param equal of two items by index
template <class Hash, class Equal>
std::vector<std::uint32_t> firstOfEquals(std::size_t count, Hash hash, Equal equal) {
  IndexTable table(count);
  std::vector<std::uint32_t> first(count);
  bool anyEqual = false;
  for (std::uint32_t i = 0; i < count; ++i) {
    std::uint32_t& found =
        table.find(hash(i), [&](std::uint32_t other) { return equal(other, i); });
    if (found == IndexTable::kFree) found = i;
    first[i] = found;
    anyEqual = anyEqual || found != i;
  }
  if (!anyEqual) first.clear();
  return first;
}

}  // namespace

std::span<const float> textureOf(const Mesh::TextureChannel& texture, std::uint32_t record) {
  const auto components = static_cast<std::size_t>(texture.components);
  return std::span(texture.values).subspan(record * components, components);
}

std::vector<std::uint32_t> weldPositions(const Mesh& mesh) {
  const auto normal = [&](std::uint32_t i) {
    Vec3f p = mesh.positions[i];
    for (float& coordinate : p) coordinate += 0.0F;
    return p;
  };
  return firstOfEquals(
      mesh.positions.size(),
      [&](std::uint32_t i) {
        Mixer mixer;
        mixer.add(normal(i));
        return mixer.value();
      },
      [&](std::uint32_t a, std::uint32_t b) { return sameBits(normal(a), normal(b)); });
}

std::vector<std::uint32_t> weldRecords(const Mesh& mesh, const VertexBindings& bindings) {
  std::vector<const Mesh::TextureChannel*> textures;
  for (const auto& texture : mesh.textures)
    if (bindings.texture(static_cast<unsigned>(texture.channel))) textures.push_back(&texture);
  const auto hash = [&](std::uint32_t i) {
    Mixer mixer;
    if (bindings.normals()) mixer.add(mesh.normals[i]);
    if (bindings.colors()) mixer.add(mesh.colors[i]);
    for (const auto* texture : textures) mixer.add(textureOf(*texture, i));
    if (bindings.flags()) mixer.add(mesh.flags[i]);
    return mixer.value();
  };
  const auto equal = [&](std::uint32_t a, std::uint32_t b) {
    if (bindings.normals() && !sameBits(mesh.normals[a], mesh.normals[b])) return false;
    if (bindings.colors() && !sameBits(mesh.colors[a], mesh.colors[b])) return false;
    for (const auto* texture : textures)
      if (!sameBits(textureOf(*texture, a), textureOf(*texture, b))) return false;
    return !bindings.flags() || mesh.flags[a] == mesh.flags[b];
  };
  return firstOfEquals(mesh.recordCount(), hash, equal);
}

std::vector<std::uint32_t> weldCorners(const Mesh& mesh, const VertexBindings& bindings) {
  const Welded weldedPositions(mesh.corners, weldPositions(mesh));
  const Welded weldedRecords(mesh.records, weldRecords(mesh, bindings));
  const std::span<const std::uint32_t> positions = weldedPositions.corners();
  const std::span<const std::uint32_t> records = weldedRecords.corners();
  std::vector<std::uint32_t> vertices = firstOfEquals(
      positions.size(),
      [&](std::uint32_t i) {
        Mixer mixer;
        mixer.add(positions[i]);
        if (!records.empty()) mixer.add(records[i]);
        return mixer.value();
      },
      [&](std::uint32_t a, std::uint32_t b) {
        return positions[a] == positions[b] && (records.empty() || records[a] == records[b]);
      });
  if (vertices.empty()) {
    vertices.resize(positions.size());
    std::iota(vertices.begin(), vertices.end(), 0U);
  }
  if (mesh.kind != Mesh::Kind::triangles) return vertices;
  for (std::uint32_t c = 0; c < vertices.size(); c += 3)
    if (vertices[c] == vertices[c + 1] || vertices[c + 1] == vertices[c + 2] ||
        vertices[c] == vertices[c + 2])
      std::iota(vertices.begin() + c, vertices.begin() + c + 3, c);
  return vertices;
}

}  // namespace jt::codec
