#include "MeshEncoder.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "Hash.h"
#include "Patches.h"
#include "SurfaceEncoder.h"

namespace jt::codec {

namespace {

std::uint32_t bitsOf(float value) { return std::bit_cast<std::uint32_t>(value); }

/// Mixes numbers into a hash that spreads well enough for a table.
class Mixer {
 public:
  void add(std::uint32_t value) noexcept {
    state_ = (state_ ^ value) * 0x9e3779b97f4a7c15U;
    state_ ^= state_ >> 32;
  }
  void add(std::span<const float> values) noexcept {
    for (const float value : values) add(bitsOf(value));
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
  constexpr std::uint32_t kFree = 0xffffffffU;
  std::size_t size = 16;
  while (size < 2 * count) size *= 2;
  std::vector<std::uint32_t> slots(size, kFree);
  std::vector<std::uint32_t> first(count);
  bool anyEqual = false;
  for (std::uint32_t i = 0; i < count; ++i) {
    std::size_t at = hash(i) & (size - 1);
    while (slots[at] != kFree && !equal(slots[at], i)) at = (at + 1) & (size - 1);
    if (slots[at] == kFree) slots[at] = i;
    first[i] = slots[at];
    anyEqual = anyEqual || slots[at] != i;
  }
  if (!anyEqual) first.clear();
  return first;
}

/// Positions with the same coordinates, by the first of each. -0 and 0 are the same.
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

std::span<const float> textureOf(const Mesh::TextureChannel& texture, std::uint32_t record) {
  const auto components = static_cast<std::size_t>(texture.components);
  return std::span(texture.values).subspan(record * components, components);
}

/// Records with the same attributes, by the first of each.
std::vector<std::uint32_t> weldRecords(const Mesh& mesh) {
  const auto hash = [&](std::uint32_t i) {
    Mixer mixer;
    if (!mesh.normals.empty()) mixer.add(mesh.normals[i]);
    if (!mesh.colours.empty()) mixer.add(mesh.colours[i]);
    for (const auto& texture : mesh.textures) mixer.add(textureOf(texture, i));
    if (!mesh.flags.empty()) mixer.add(mesh.flags[i]);
    return mixer.value();
  };
  const auto equal = [&](std::uint32_t a, std::uint32_t b) {
    if (!mesh.normals.empty() && !sameBits(mesh.normals[a], mesh.normals[b])) return false;
    if (!mesh.colours.empty() && !sameBits(mesh.colours[a], mesh.colours[b])) return false;
    for (const auto& texture : mesh.textures)
      if (!sameBits(textureOf(texture, a), textureOf(texture, b))) return false;
    return mesh.flags.empty() || mesh.flags[a] == mesh.flags[b];
  };
  return firstOfEquals(mesh.recordCount(), hash, equal);
}

/// What corners name, the first of equals in place of each.
class Welded {
 public:
  /// @param corners must outlive this
  Welded(const std::vector<std::uint32_t>& corners, const std::vector<std::uint32_t>& firsts)
      : corners_(corners) {
    if (firsts.empty()) return;
    own_.resize(corners.size());
    for (std::size_t i = 0; i < corners.size(); ++i) own_[i] = firsts[corners[i]];
    corners_ = own_;
  }
  Welded(const Welded&) = delete;
  Welded& operator=(const Welded&) = delete;
  std::span<const std::uint32_t> corners() const noexcept { return corners_; }

 private:
  std::vector<std::uint32_t> own_;
  std::span<const std::uint32_t> corners_;
};

template <class T>
std::vector<T> gather(const std::vector<T>& from, std::span<const std::uint32_t> indices) {
  std::vector<T> result(indices.size());
  for (std::size_t i = 0; i < indices.size(); ++i) result[i] = from[indices[i]];
  return result;
}

}  // namespace

VertexBindings bindingsOf(const Mesh& mesh) {
  VertexBindings bindings;
  if (!mesh.normals.empty()) bindings.bits |= VertexBindings::kNormals;
  if (!mesh.colours.empty()) bindings.bits |= VertexBindings::kColours4;
  if (!mesh.flags.empty()) bindings.bits |= VertexBindings::kFlags;
  for (const auto& texture : mesh.textures)
    bindings.setTexture(static_cast<unsigned>(texture.channel),
                        static_cast<unsigned>(texture.components));
  return bindings;
}

namespace {

QuantizationParameters parametersOf(const Mesh& mesh, const EncodeOptions& options) {
  return {static_cast<std::uint8_t>(options.coordinateBits),
          static_cast<std::uint8_t>(mesh.normals.empty() ? 0 : options.normalBits),
          static_cast<std::uint8_t>(mesh.textures.empty() ? 0 : options.textureBits),
          static_cast<std::uint8_t>(mesh.colours.empty() ? 0 : options.colourBits)};
}

/// Attribute arrays of records in a new order.
void putAttributes(VertexArrays& arrays, const Mesh& mesh, std::span<const std::uint32_t> records,
                   Generation generation, const EncodeOptions& options, Report& losses) {
  if (!mesh.normals.empty())
    arrays.normals = encodeNormals(mesh.normals, records, generation, options.normalBits);
  if (!mesh.colours.empty()) {
    arrays.colours = encodeColours(gather(mesh.colours, records), generation, options.colourBits);
    losses.add("quantized", "colours are stored with " + std::to_string(options.colourBits) +
                                " bits a component");
  }
  for (const auto& texture : mesh.textures) {
    std::vector<float> values;
    values.reserve(records.size() * static_cast<std::size_t>(texture.components));
    for (const std::uint32_t record : records) {
      const auto one = textureOf(texture, record);
      values.insert(values.end(), one.begin(), one.end());
    }
    arrays.textures[static_cast<std::size_t>(texture.channel)] =
        encodeTexture(values, static_cast<unsigned>(texture.components), options.textureBits);
    losses.add("quantized", "texture coordinates are stored with " +
                                std::to_string(options.textureBits) + " bits");
  }
  if (!mesh.flags.empty()) {
    for (const std::uint32_t record : records)
      arrays.flags.push_back(static_cast<std::int32_t>(mesh.flags[record]));
    arrays.flagCount = static_cast<std::int32_t>(arrays.flags.size());
  }
}

EncodedSurface encodeWhole(std::span<const std::uint32_t> corners,
                           std::span<const std::int32_t> groups,
                           std::span<const std::uint32_t> records, Generation generation,
                           Variant variant) {
  SurfaceSource source;
  std::vector<std::uint32_t> mates = pairEdges(corners);
  source.build(mates);
  EncodedSurface encoded;
  SurfaceEncoder(generation, variant).encode(source, groups, records, encoded);
  return encoded;
}

/// First primitive of each face group, and the end. Groups can be stored where they ascend.
std::vector<std::int32_t> groupStarts(const Mesh& mesh, std::int32_t primitives, bool stored,
                                      Report& losses) {
  constexpr std::int32_t kMost = 1 << 20;
  const std::vector<std::int32_t>& groups = mesh.groups;
  if (!groups.empty() &&
      (!stored || groups.front() < 0 || groups.back() > kMost || !std::ranges::is_sorted(groups))) {
    losses.add("groups", "face groups of points, or that do not ascend, are not stored");
    return {0, primitives};
  }
  std::vector<std::int32_t> starts{0};
  for (std::size_t p = 0; p < groups.size(); ++p)
    while (groups[p] >= static_cast<std::int32_t>(starts.size()))
      starts.push_back(static_cast<std::int32_t>(p));
  starts.push_back(primitives);
  return starts;
}

void checkSize(const Mesh& mesh) {
  constexpr std::size_t kMost = 1U << 27;
  if (mesh.corners.size() > kMost || mesh.positions.size() > kMost)
    fail("too_large", "a shape of " + std::to_string(mesh.corners.size()) +
                          " corners cannot be stored; divide it");
}

void checkBits(const char* what, unsigned bits, unsigned least, unsigned most) {
  if (bits < least || bits > most)
    fail("bad_option", "expected " + std::to_string(least) + " to " + std::to_string(most) +
                           " bits for " + what + ", found " + std::to_string(bits));
}

void check(const EncodeOptions& options) {
  checkBits("coordinates", options.coordinateBits, 0, 24);
  checkBits("the angles of normals", options.normalBits, 0, 13);
  checkBits("texture coordinates", options.textureBits, 1, 24);
  checkBits("colours", options.colourBits, 1, 8);
}

}  // namespace

TopologyData encodeTopology(const Mesh& mesh, Generation generation, const EncodeOptions& options,
                            Report& losses) {
  checkSize(mesh);
  check(options);
  const Welded weldedCorners(mesh.corners, weldPositions(mesh));
  const Welded weldedRecords(mesh.records, weldRecords(mesh));
  const std::span<const std::uint32_t> corners = weldedCorners.corners();
  const std::span<const std::uint32_t> records = weldedRecords.corners();
  const bool compact = options.profile == Profile::compact;
  EncodedSurface encoded =
      compact ? encodeWhole(corners, mesh.groups, records, generation, options.variant)
              : encodePatches(corners, mesh.groups, records, generation);
  TopologyData data;
  data.streams = std::move(encoded.streams);
  data.streams.hash = data.streams.compositeHash(generation);
  data.bindings = bindingsOf(mesh);
  data.quantization = parametersOf(mesh, options);
  data.vertexCount = static_cast<std::int32_t>(encoded.corners.size());
  data.attributeCount = static_cast<std::int32_t>(encoded.records.size());
  std::vector<Vec3f> positions;
  positions.reserve(encoded.corners.size());
  for (const std::uint32_t corner : encoded.corners)
    positions.push_back(mesh.positions[corners[corner]]);
  data.arrays.coordinates = encodeCoordinates(positions, generation, options.coordinateBits);
  putAttributes(data.arrays, mesh, encoded.records, generation, options, losses);
  if (std::ranges::any_of(mesh.groups, [](std::int32_t group) { return group < 0; }))
    losses.add("groups", "triangles of negative face groups would be taken for covers");
  return data;
}

ListData encodeLists(const Mesh& mesh, Generation generation, const EncodeOptions& options,
                     Report& losses) {
  checkSize(mesh);
  check(options);
  ListData data;
  data.hasGroups = generation == Generation::v10 || mesh.kind == Mesh::Kind::polylines;
  // A record is a position with its attributes; those of one position stand together.
  const bool hasAttributes = !mesh.records.empty();
  std::vector<std::pair<std::uint32_t, std::uint32_t>> uses;
  for (std::size_t i = 0; i < mesh.corners.size(); ++i)
    uses.emplace_back(mesh.corners[i], hasAttributes ? mesh.records[i] : 0);
  std::vector<std::pair<std::uint32_t, std::uint32_t>> unique = uses;
  std::ranges::sort(unique);
  unique.erase(std::unique(unique.begin(), unique.end()), unique.end());
  for (const auto& use : uses)
    data.indices.push_back(
        static_cast<std::int32_t>(std::ranges::lower_bound(unique, use) - unique.begin()));
  std::vector<Vec3f> positions;
  std::vector<std::uint32_t> records;
  for (std::size_t i = 0; i < unique.size(); ++i) {
    records.push_back(unique[i].second);
    if (i > 0 && unique[i - 1].first == unique[i].first) {
      ++data.lengths.back();
      continue;
    }
    positions.push_back(mesh.positions[unique[i].first]);
    data.lengths.push_back(1);
  }
  data.primitives.assign(mesh.starts.begin(), mesh.starts.end());
  if (data.primitives.empty()) data.primitives = {0};
  const auto primitives = static_cast<std::int32_t>(mesh.primitiveCount());
  data.groups = groupStarts(mesh, primitives, data.hasGroups, losses);
  data.groupCount = static_cast<std::int32_t>(data.groups.size()) - 1;
  data.primitiveCount = primitives;
  data.indexCount = static_cast<std::int32_t>(data.indices.size());
  data.listHash = data.computedListHash();
  data.bindings = bindingsOf(mesh);
  data.quantization = parametersOf(mesh, options);
  data.recordCount = static_cast<std::int32_t>(unique.size());
  data.uniqueCount = static_cast<std::int32_t>(positions.size());
  data.lengthHash = hash32(data.lengths, 0);
  data.arrays.coordinates = encodeCoordinates(positions, generation, options.coordinateBits);
  if (hasAttributes) putAttributes(data.arrays, mesh, records, generation, options, losses);
  return data;
}

StripData encodeStrips(const Mesh& mesh, bool bigEndian, Report& losses) {
  checkSize(mesh);
  StripData data;
  const bool texture =
      !mesh.textures.empty() && mesh.textures[0].channel == 0 && mesh.textures[0].components == 2;
  data.textureBinding = texture ? 1 : 0;
  data.normalBinding = mesh.normals.empty() ? 0 : 1;
  data.colourBinding = mesh.colours.empty() ? 0 : 1;
  if (mesh.textures.size() > (texture ? 1U : 0U))
    losses.add("textures", "8.x has one texture channel of two components");
  if (std::ranges::any_of(mesh.colours, [](const Vec4& colour) { return colour[3] != 1; }))
    losses.add("alpha", "8.x has no alpha in vertex colours");
  if (!mesh.flags.empty()) losses.add("flags", "8.x has no vertex flags");
  if (!mesh.groups.empty()) losses.add("groups", "8.x has no face groups");
  const bool isStrips = mesh.kind == Mesh::Kind::triangles;
  const std::size_t primitives = mesh.primitiveCount();
  for (std::size_t p = 0; p <= primitives; ++p)
    data.primitives.push_back(
        static_cast<std::int32_t>(isStrips || mesh.starts.empty() ? 3 * p : mesh.starts[p]));
  const auto put = [&](std::span<const float> values) {
    for (const float value : values) append(data.raw, bitsOf(value), bigEndian);
  };
  for (std::size_t i = 0; i < mesh.corners.size(); ++i) {
    if (texture) put(textureOf(mesh.textures[0], mesh.records[i]));
    if (!mesh.colours.empty()) put(std::span(mesh.colours[mesh.records[i]]).first(3));
    if (!mesh.normals.empty()) put(mesh.normals[mesh.records[i]]);
    put(mesh.positions[mesh.corners[i]]);
  }
  if (data.raw.size() > 0x7fffffff)
    fail("too_large", "more than 2 GiB of vertices; divide the shape");
  data.rawSize = static_cast<std::int32_t>(data.raw.size());
  data.packedSize = -data.rawSize;
  return data;
}

}  // namespace jt::codec
