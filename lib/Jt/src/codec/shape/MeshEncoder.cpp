#include "codec/shape/MeshEncoder.h"

#include <algorithm>
#include <bit>
#include <numeric>

#include "base/Hash.h"
#include "codec/shape/Welding.h"
#include "codec/surface/Patches.h"
#include "codec/surface/Strips.h"
#include "codec/surface/SurfaceEncoder.h"

namespace jt::codec {

namespace {

std::uint32_t bitsOf(float value) { return std::bit_cast<std::uint32_t>(value); }

}  // namespace

VertexBindings bindingsOf(const Mesh& mesh) {
  VertexBindings bindings;
  if (!mesh.normals.empty()) bindings.bits |= VertexBindings::kNormals;
  if (!mesh.colors.empty()) bindings.bits |= VertexBindings::kColors4;
  if (!mesh.flags.empty()) bindings.bits |= VertexBindings::kFlags;
  for (const auto& texture : mesh.textures)
    bindings.setTexture(static_cast<unsigned>(texture.channel),
                        static_cast<unsigned>(texture.components));
  return bindings;
}

VertexBindings bindingsOf(const Mesh& mesh, Generation generation) {
  VertexBindings bindings = bindingsOf(mesh);
  if (generation != Generation::v8) return bindings;
  bindings.bits &= ~(VertexBindings::kTextures | VertexBindings::kFlags);
  for (const auto& texture : mesh.textures)
    if (texture.channel == 0 && texture.components == 2) bindings.setTexture(0, 2);
  return bindings;
}

QuantizationParameters quantizationOf(const VertexBindings& bindings, Generation generation,
                                      const EncodeOptions& options) {
  const auto bits = [](bool isThere, unsigned count) {
    return static_cast<std::uint8_t>(isThere ? count : 0);
  };
  const bool isLossless =
      options.coordinateBits == 0 || (bindings.normals() && options.normalBits == 0);
  if (generation == Generation::v8 && isLossless) return {};
  return {bits(true, options.coordinateBits), bits(bindings.normals(), options.normalBits),
          bits(bindings.textures(), options.textureBits),
          bits(bindings.colors(), options.colorBits)};
}

namespace {

/// Bound attribute arrays of records in a new order.
void putAttributes(VertexArrays& arrays, const Mesh& mesh, const VertexBindings& bindings,
                   std::span<const std::uint32_t> records, Generation generation,
                   const EncodeOptions& options, Report& losses) {
  if (bindings.normals())
    arrays.normals = encodeNormals(mesh.normals, records, generation, options.normalBits);
  if (bindings.colors()) {
    arrays.colors = encodeColors(mesh.colors, records, generation, options.colorBits);
    losses.add("quantized",
               "colors are stored with " + std::to_string(options.colorBits) + " bits a component");
  }
  for (const auto& texture : mesh.textures) {
    if (!bindings.texture(static_cast<unsigned>(texture.channel))) continue;
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
  if (bindings.flags()) {
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
  std::vector<std::uint32_t> opposites = pairEdges(corners);
  source.build(opposites);
  EncodedSurface encoded;
  SurfaceEncoder(generation, variant, false).encode(source, groups, records, encoded);
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
  checkBits("colors", options.colorBits, 1, 8);
}

}  // namespace

TopologyData encodeTopology(const Mesh& mesh, Generation generation, const EncodeOptions& options,
                            Report& losses) {
  checkSize(mesh);
  check(options);
  const VertexBindings bindings = bindingsOf(mesh);
  const Welded weldedCorners(mesh.corners, weldPositions(mesh));
  const Welded weldedRecords(mesh.records, weldRecords(mesh, bindings));
  const std::span<const std::uint32_t> corners = weldedCorners.corners();
  const std::span<const std::uint32_t> records = weldedRecords.corners();
  const bool compact = options.profile == Profile::compact;
  EncodedSurface encoded =
      compact ? encodeWhole(corners, mesh.groups, records, generation, options.variant)
              : encodePatches(corners, mesh.groups, records, generation);
  TopologyData data;
  data.streams = std::move(encoded.streams);
  data.streams.hash = data.streams.hashChain(generation).hash();
  data.bindings = bindings;
  data.quantization = quantizationOf(bindings, generation, options);
  data.vertexCount = static_cast<std::int32_t>(encoded.corners.size());
  data.attributeCount = static_cast<std::int32_t>(encoded.records.size());
  std::vector<Vec3f> positions;
  positions.reserve(encoded.corners.size());
  for (const std::uint32_t corner : encoded.corners)
    positions.push_back(mesh.positions[corners[corner]]);
  data.arrays.coordinates = encodeCoordinates(positions, generation, options.coordinateBits);
  putAttributes(data.arrays, mesh, bindings, encoded.records, generation, options, losses);
  if (std::ranges::any_of(mesh.groups, [](std::int32_t group) { return group < 0; }))
    losses.add("groups", "triangles of negative face groups would be taken for caps");
  return data;
}

ListData encodeLists(const Mesh& mesh, Generation generation, const EncodeOptions& options,
                     Report& losses) {
  checkSize(mesh);
  check(options);
  ListData data;
  data.hasGroups = generation == Generation::v10 || mesh.kind == Mesh::Kind::polylines;
  // A record is a position with its attributes; those of one position are adjacent.
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
  data.quantization = quantizationOf(data.bindings, generation, options);
  data.recordCount = static_cast<std::int32_t>(unique.size());
  data.uniqueCount = static_cast<std::int32_t>(positions.size());
  data.lengthHash = hash32(data.lengths, 0);
  data.arrays.coordinates = encodeCoordinates(positions, generation, options.coordinateBits);
  if (hasAttributes)
    putAttributes(data.arrays, mesh, data.bindings, records, generation, options, losses);
  return data;
}

namespace {

/// Warns of attributes that 8.x cannot hold.
void noteLosses8(const Mesh& mesh, const VertexBindings& bindings, Report& losses) {
  if (mesh.textures.size() > (bindings.textures() ? 1U : 0U))
    losses.add("textures", "8.x has one texture channel of two components");
  if (!mesh.flags.empty()) losses.add("flags", "8.x has no vertex flags");
  if (!mesh.groups.empty()) losses.add("groups", "8.x has no face groups");
}

/// The plain records of corners.
std::vector<std::byte> recordsOf(const Mesh& mesh, const VertexBindings& bindings,
                                 std::span<const std::uint32_t> corners, bool bigEndian) {
  const auto texture = std::ranges::find(mesh.textures, 0, &Mesh::TextureChannel::channel);
  std::vector<std::byte> bytes;
  const auto put = [&](std::span<const float> values) {
    for (const float value : values) append(bytes, bitsOf(value), bigEndian);
  };
  for (const std::uint32_t corner : corners) {
    if (bindings.textures()) put(textureOf(*texture, mesh.records[corner]));
    if (bindings.colors()) put(std::span(mesh.colors[mesh.records[corner]]).first(3));
    if (bindings.normals()) put(mesh.normals[mesh.records[corner]]);
    put(mesh.positions[mesh.corners[corner]]);
  }
  if (bytes.size() > 0x7fffffff) fail("too_large", "more than 2 GiB of vertices; divide the shape");
  return bytes;
}

/// Tables of the vertices that the corners name, in the order in which these come.
void putTables(StripData& data, const Mesh& mesh, const VertexBindings& bindings,
               std::span<const std::uint32_t> corners, std::span<const std::uint32_t> vertices,
               const EncodeOptions& options, Report& losses) {
  std::vector<std::int32_t> numbers(vertices.size(), -1);
  std::vector<Vec3f> positions;
  std::vector<std::uint32_t> records;
  data.indices.reserve(corners.size());
  for (const std::uint32_t corner : corners) {
    std::int32_t& number = numbers[vertices[corner]];
    if (number < 0) {
      number = static_cast<std::int32_t>(positions.size());
      positions.push_back(mesh.positions[mesh.corners[corner]]);
      if (!mesh.records.empty()) records.push_back(mesh.records[corner]);
    }
    data.indices.push_back(number);
  }
  VertexArrays& arrays = data.arrays;
  arrays.coordinates = encodeCoordinates(positions, Generation::v8, options.coordinateBits);
  putAttributes(arrays, mesh, bindings, records, Generation::v8, options, losses);
  // Readers undo a prediction to find out whether there is one: then these codes are in range.
  for (auto& codes : arrays.normals.codes) predict(Predictor::lag1, codes);
}

}  // namespace

StripData encodeStrips(const Mesh& mesh, bool bigEndian, const EncodeOptions& options,
                       Report& losses) {
  checkSize(mesh);
  check(options);
  const VertexBindings bindings = bindingsOf(mesh, Generation::v8);
  noteLosses8(mesh, bindings, losses);
  StripData data;
  data.textureBinding = bindings.textures() ? 1 : 0;
  data.normalBinding = bindings.normals() ? 1 : 0;
  data.colorBinding = bindings.colors() ? 1 : 0;
  data.quantization = quantizationOf(bindings, Generation::v8, options);
  if (data.isLossless() &&
      (options.coordinateBits > 0 || (bindings.normals() && options.normalBits > 0)))
    losses.add("lossless",
               "8.x rounds all numbers of a shape or none: shapes with lossless coordinates or "
               "normals are stored without loss as a whole");
  const bool isTriangles = mesh.kind == Mesh::Kind::triangles;
  std::vector<std::uint32_t> vertices;
  if (isTriangles || !data.isLossless()) vertices = weldCorners(mesh, bindings);
  Strips entries;
  if (isTriangles) {
    entries = makeStrips(vertices);
  } else {
    entries.corners.resize(mesh.corners.size());
    std::iota(entries.corners.begin(), entries.corners.end(), 0U);
    entries.starts = mesh.starts;
    if (entries.starts.empty()) entries.starts = {0};
  }
  data.primitives.assign(entries.starts.begin(), entries.starts.end());
  if (!data.isLossless()) {
    putTables(data, mesh, bindings, entries.corners, vertices, options, losses);
    return data;
  }
  if (std::ranges::any_of(mesh.colors, [](const Vec4& color) { return color[3] != 1; }))
    losses.add("alpha", "8.x has no alpha in vertex colors of lossless shapes");
  data.raw = recordsOf(mesh, bindings, entries.corners, bigEndian);
  data.rawSize = static_cast<std::int32_t>(data.raw.size());
  data.packedSize = -data.rawSize;
  return data;
}

}  // namespace jt::codec
