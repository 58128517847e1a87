#include "codec/shape/MeshDecoder.h"

#include <algorithm>
#include <bit>
#include <cmath>

#include "base/Hash.h"
#include "base/ParallelFor.h"

namespace jt::codec {

namespace {

[[noreturn]] void reject(const char* what) { fail("bad_mesh", what); }

void spendMesh(Budget& budget, const VertexArrays& arrays, std::size_t corners) {
  const auto entries = [](const CodedArray& array) {
    return static_cast<std::uint64_t>(std::max(array.count, 0));
  };
  std::uint64_t bytes = corners * 2 * sizeof(std::uint32_t) + 12 * entries(arrays.coordinates) +
                        12 * entries(arrays.normals) + 16 * entries(arrays.colors);
  for (const CodedArray& texture : arrays.textures) bytes += 16 * entries(texture);
  budget.spend(bytes);
}

/// Attribute arrays into the mesh; each must have at least `needed` records and all as many.
void putAttributes(Mesh& mesh, const VertexArrays& arrays, const VertexBindings& bindings,
                   Generation generation, std::size_t needed, Report& report) {
  if (bindings.normals()) mesh.normals = decodeNormals(arrays.normals, generation, report);
  if (bindings.colors()) mesh.colors = decodeColors(arrays.colors, generation, report);
  for (unsigned channel = 0; channel < VertexBindings::kChannels; ++channel) {
    if (!bindings.texture(channel)) continue;
    const CodedArray& array = arrays.textures[channel];
    std::vector<float> values = decodeTexture(array, generation, report);
    if (!values.empty())
      mesh.textures.push_back({static_cast<int>(channel), array.components, std::move(values)});
  }
  const std::size_t count = mesh.recordCount();
  // The count of flags is not settled: flags that do not fit the records are not shown.
  if (bindings.flags() && (count == 0 || arrays.flags.size() == count) &&
      arrays.flags.size() >= needed)
    mesh.flags.assign(arrays.flags.begin(), arrays.flags.end());
  const bool any = bindings.normals() || bindings.colors() || !mesh.textures.empty();
  if (any && count < needed) reject("fewer attribute records than are used");
  if (needed == 0) {
    // No corner has a record, whatever the arrays hold.
    mesh.normals.clear();
    mesh.colors.clear();
    mesh.textures.clear();
    mesh.flags.clear();
  }
}

void noteUnusableNumbers(const Mesh& mesh, Report& report) {
  const auto strange = [](const Vec3f& p) {
    return !std::isfinite(p[0]) || !std::isfinite(p[1]) || !std::isfinite(p[2]);
  };
  const auto count = std::ranges::count_if(mesh.positions, strange);
  if (count > 0) report.add("not_finite", std::to_string(count) + " positions are not finite");
}

Mesh checked(Mesh mesh, Report& report) {
  if (const std::string flaw = mesh.flaw(); !flaw.empty()) fail("bad_mesh", flaw);
  noteUnusableNumbers(mesh, report);
  return mesh;
}

/// Starts of primitives: from 0, ascending, up to the number of entries.
std::vector<std::uint32_t> startsOf(std::vector<std::int32_t> stored, std::size_t entries) {
  if (entries > 0x7fffffff) reject("too many entries");
  const auto end = static_cast<std::int32_t>(entries);
  if (stored.empty() && end == 0) return {};
  if (stored.empty() || stored.back() != end) stored.push_back(end);
  if (stored.front() != 0 || !std::ranges::is_sorted(stored))
    reject("primitives do not cap the entries in ascending order");
  return {stored.begin(), stored.end()};
}

/// Triangles of strips over entries: every second one is turned, flat ones join strips.
template <class VertexOf>
void putStrips(Mesh& mesh, std::span<const std::uint32_t> starts, bool hasRecords,
               VertexOf vertexOf) {
  for (std::size_t p = 0; p + 1 < starts.size(); ++p) {
    for (std::uint32_t t = starts[p]; t + 2 < starts[p + 1]; ++t) {
      const bool turned = ((t - starts[p]) & 1) != 0;
      const std::array<std::uint32_t, 3> v{vertexOf(turned ? t + 1 : t),
                                           vertexOf(turned ? t : t + 1), vertexOf(t + 2)};
      if (v[0] == v[1] || v[1] == v[2] || v[0] == v[2]) continue;
      mesh.corners.insert(mesh.corners.end(), v.begin(), v.end());
      if (hasRecords) mesh.records.insert(mesh.records.end(), v.begin(), v.end());
    }
  }
}

void putPrimitives8(Mesh& mesh, const std::vector<std::uint32_t>& starts,
                    const std::vector<std::uint32_t>& vertices, Budget& budget) {
  const bool hasRecords = mesh.recordCount() > 0;
  budget.spend(std::uint64_t{vertices.size()} * 24);
  if (mesh.kind == Mesh::Kind::triangles) {
    putStrips(mesh, starts, hasRecords, [&](std::uint32_t entry) { return vertices[entry]; });
    return;
  }
  mesh.corners = vertices;
  if (hasRecords) mesh.records = vertices;
  mesh.starts = starts;
}

/// Normals of 8.x lossy data are predicted or not: with the wrong guess codes leave their range.
void settleNormals8(CodedArray& normals) {
  if (normals.bits == 0 || normals.bits > 24 || normals.codes.size() != 4) return;
  std::vector<std::vector<std::int32_t>> lagged = normals.codes;
  const std::uint32_t limits[] = {6, 8, 1U << normals.bits, 1U << normals.bits};
  bool inRange = true;
  for (std::size_t k = 0; k < 4; ++k) {
    undoPrediction(Predictor::lag1, lagged[k]);
    for (const std::int32_t code : lagged[k])
      inRange = inRange && static_cast<std::uint32_t>(code) < limits[k];
  }
  if (inRange) normals.codes = std::move(lagged);
}

/// The plain records of 8.x lossless data.
void putRecords8(Mesh& mesh, const StripData& data, std::span<const std::byte> records,
                 bool bigEndian, std::size_t entries, Report& report) {
  if (entries == 0) return;
  const bool texture = data.textureBinding == 1;
  bool color = data.colorBinding == 1;
  bool normal = data.normalBinding == 1;
  const std::size_t words = records.size() / 4 / entries;
  const std::size_t other = 3 + (texture ? 2U : 0U) + (normal ? 3U : 0U);
  std::size_t colorWords = color ? 3 : 0;
  if (color && words == other + 4) colorWords = 4;
  if (records.size() != entries * 4 * (other + colorWords))
    fail("bad_mesh", "expected records of " + std::to_string(4 * (other + colorWords)) +
                         " bytes for " + std::to_string(entries) + " entries, found " +
                         std::to_string(records.size()) + " bytes");
  if (data.normalBinding > 1 || data.colorBinding > 1 || data.textureBinding > 1)
    report.add("binding", "attributes of whole facets or primitives are left out");
  ByteCursor cursor(records, bigEndian);
  const auto next = [&] { return std::bit_cast<float>(cursor.u32("record")); };
  if (texture) mesh.textures.push_back({0, 2, std::vector<float>(2 * entries)});
  if (color) mesh.colors.assign(entries, {0, 0, 0, 1});
  if (normal) mesh.normals.resize(entries);
  mesh.positions.resize(entries);
  for (std::size_t i = 0; i < entries; ++i) {
    for (std::size_t k = 0; texture && k < 2; ++k) mesh.textures[0].values[2 * i + k] = next();
    for (std::size_t k = 0; k < colorWords; ++k) mesh.colors[i][k] = next();
    for (std::size_t k = 0; normal && k < 3; ++k) mesh.normals[i][k] = next();
    for (float& coordinate : mesh.positions[i]) coordinate = next();
  }
}

bool isCap(const TopologyStreams& streams, std::size_t polygon) {
  // Without a branch: nearly all are none.
  return ((streams.vertexFlags[polygon] & 1) |
          static_cast<int>(streams.vertexGroups[polygon] < 0)) != 0;
}

/// Visits the polygons that are not caps, each with its first corner and the number of corners.
template <class Visit>
void forEachFace(const TopologyStreams& streams, Visit visit) {
  std::uint32_t first = 0;
  for (std::size_t p = 0; p < streams.vertexValences.size(); ++p) {
    const auto valence = static_cast<std::uint32_t>(streams.vertexValences[p]);
    if (!isCap(streams, p)) visit(p, first, valence);
    first += valence;
  }
}

/// The polygons that are not caps, and what they become.
struct Faces {
  std::size_t triangles = 0;
  bool onlyTriangles = true;
  bool grouped = false;

  explicit Faces(const TopologyStreams& streams) {
    // Without a branch first: nearly all meshes have triangles and a few caps.
    std::uint32_t others = 0;  // non-zero if any polygon is no triangle
    std::uint32_t caps = 0;
    std::uint32_t groups = 0;
    for (std::size_t p = 0; p < streams.vertexValences.size(); ++p) {
      const bool isFace = !isCap(streams, p);
      caps += isFace ? 0 : 1;
      others |= isFace ? static_cast<std::uint32_t>(streams.vertexValences[p]) ^ 3U : 0;
      groups |= isFace ? static_cast<std::uint32_t>(streams.vertexGroups[p]) : 0;
    }
    onlyTriangles = others == 0;
    grouped = groups != 0;
    triangles = streams.vertexValences.size() - caps;
    if (!onlyTriangles) countFans(streams);
  }

 private:
  void countFans(const TopologyStreams& streams) {
    triangles = 0;
    grouped = false;
    forEachFace(streams, [&](std::size_t p, std::uint32_t, std::uint32_t valence) {
      if (valence < 3) return;
      triangles += valence - 2;
      grouped = grouped || streams.vertexGroups[p] != 0;
    });
  }
};

/// What is known of each corner of the surface for the corners of triangles, in place.
void dropCaps(std::vector<std::uint32_t>& values, const TopologyStreams& streams) {
  std::size_t to = 0;
  forEachFace(streams, [&](std::size_t, std::uint32_t first, std::uint32_t) {
    for (std::size_t k = 0; k < 3; ++k) values[to++] = values[first + k];
  });
  values.resize(to);
}

/// The same for any polygons, of which fans are made.
std::vector<std::uint32_t> fansOf(const std::vector<std::uint32_t>& values, std::size_t triangles,
                                  const TopologyStreams& streams) {
  std::vector<std::uint32_t> result;
  result.reserve(3 * triangles);
  forEachFace(streams, [&](std::size_t, std::uint32_t first, std::uint32_t valence) {
    for (std::uint32_t corner = first + 1; corner + 1 < first + valence; ++corner)
      for (const std::uint32_t of : {first, corner, corner + 1}) result.push_back(values[of]);
  });
  return result;
}

std::vector<std::int32_t> groupsOfTriangles(const Faces& faces, const TopologyStreams& streams) {
  std::vector<std::int32_t> groups;
  groups.reserve(faces.triangles);
  forEachFace(streams, [&](std::size_t p, std::uint32_t, std::uint32_t valence) {
    if (valence >= 3) groups.insert(groups.end(), valence - 2, streams.vertexGroups[p]);
  });
  return groups;
}

/// Corners, records and groups of the polygons that are not caps.
/// @param records of the surface's corners, or empty
void putTriangles(Mesh& mesh, const TopologyStreams& streams, Surface surface,
                  std::vector<std::uint32_t> records) {
  const Faces faces(streams);
  if (faces.grouped) mesh.groups = groupsOfTriangles(faces, streams);
  mesh.corners = std::move(surface.vertexOf);
  mesh.records = std::move(records);
  if (faces.onlyTriangles && mesh.corners.size() == 3 * faces.triangles) return;  // no caps
  for (auto* values : {&mesh.corners, &mesh.records}) {
    if (values->empty()) continue;
    if (faces.onlyTriangles) {
      dropCaps(*values, streams);
    } else {
      *values = fansOf(*values, faces.triangles, streams);
    }
  }
}

/// An array whose hash is that of its codes.
struct HashedCodes {
  const char* what;
  const CodedArray& array;

  HashChain chain() const {
    HashChain chain;
    for (const auto& codes : array.codes) chain.add(codes);
    return chain;
  }
};

/// All but lossless ones of 9.x, which are hashed as what they represent.
std::vector<HashedCodes> hashedCodes(const VertexArrays& arrays, const VertexBindings& bindings,
                                     Generation generation) {
  const bool hashesLossless = generation != Generation::v9;
  std::vector<HashedCodes> hashed;
  hashed.reserve(2);
  if (arrays.coordinates.count > 0 && (hashesLossless || arrays.coordinates.quantizedCoordinates()))
    hashed.push_back({"coordinates", arrays.coordinates});
  if (bindings.normals() && (hashesLossless || arrays.normals.bits > 0))
    hashed.push_back({"normals", arrays.normals});
  return hashed;
}

/// The arrays of hashedCodes() with the topology, since several hashes take little longer than one.
void checkHashes(const TopologyData& data, Generation generation, Report& report) {
  if (!report.checkHashes) return;
  const std::vector<HashedCodes> arrays = hashedCodes(data.arrays, data.bindings, generation);
  std::vector<HashChain> chains;
  chains.reserve(arrays.size() + 1);
  chains.push_back(data.streams.hashChain(generation));
  for (const HashedCodes& codes : arrays) chains.push_back(codes.chain());
  const std::vector<std::uint32_t> hashes = hashesOf(chains);
  if (data.streams.hash != hashes[0])
    report.compareHash("topology", data.streams.hash,
                       data.streams.hashChain(generation, false).hash());
  for (std::size_t i = 0; i < arrays.size(); ++i)
    report.compareHash(arrays[i].what, arrays[i].array.hash, hashes[i + 1]);
}

void checkHashes(const ListData& data, Generation generation, Report& report) {
  if (!report.checkHashes) return;
  report.compareHash("primitive lists", data.listHash, data.computedListHash());
  if (data.recordCount == 0) return;
  report.compareHash("unique vertex list", data.lengthHash, hash32(data.lengths, 0));
  for (const HashedCodes& codes : hashedCodes(data.arrays, data.bindings, generation))
    report.compareHash(codes.what, codes.array.hash, codes.chain().hash());
}

/// The coordinate of each record.
std::vector<std::uint32_t> coordinatesOfRecords(const ListData& data, std::size_t records,
                                                Budget& budget) {
  budget.spend(std::uint64_t{records} * 4);
  std::vector<std::uint32_t> coordinate;
  coordinate.reserve(records);
  for (std::size_t u = 0; u < data.lengths.size(); ++u) {
    const std::int32_t length = data.lengths[u];
    if (length < 0 || static_cast<std::size_t>(length) > records - coordinate.size())
      reject("coordinates serve more records than there are");
    coordinate.insert(coordinate.end(), static_cast<std::size_t>(length),
                      static_cast<std::uint32_t>(u));
  }
  if (coordinate.size() != records) reject("coordinates serve fewer records than there are");
  return coordinate;
}

/// Group of each primitive; empty when all are 0.
std::vector<std::int32_t> groupsOf(const ListData& data, std::size_t primitives) {
  if (!data.hasGroups || data.groups.size() <= 2) return {};
  std::vector<std::int32_t> groups(primitives);
  for (std::size_t g = 0; g + 1 < data.groups.size(); ++g) {
    const std::int32_t from = data.groups[g];
    const std::int32_t to = data.groups[g + 1];
    if (from < 0 || to < from || static_cast<std::size_t>(to) > primitives)
      reject("a face group of primitives that do not exist");
    std::fill(groups.begin() + from, groups.begin() + to, static_cast<std::int32_t>(g));
  }
  return groups;
}

}  // namespace

std::uint32_t ListData::computedListHash() const {
  std::uint32_t hash = 0;
  if (hasGroups) hash = hash32(groups, hash);
  hash = hash32(primitives, hash);
  return hash32(indices, hash);
}

Mesh decodeTopology(const TopologyData& data, Generation generation, VariantChoice& choice,
                    Budget& budget, Report& report) {
  // The walk over a surface takes longer than all hashes.
  constexpr std::size_t kManyPolygons = 50'000;
  Surface surface;
  file::sideBySide(
      data.streams.vertexValences.size() > kManyPolygons,
      [&] { surface = decodeSurface(data.streams, choice, budget); },
      [&] { checkHashes(data, generation, report); });
  spendMesh(budget, data.arrays, 3 * surface.vertexOf.size());
  Mesh mesh;
  if (surface.vertexOf.empty()) return mesh;
  mesh.positions = decodeCoordinates(data.arrays.coordinates, generation, report);
  if (mesh.positions.size() != surface.vertexCount())
    fail("bad_mesh", std::to_string(mesh.positions.size()) + " coordinates for " +
                         std::to_string(surface.vertexCount()) + " vertices");
  std::uint32_t total = 0;
  std::vector<std::uint32_t> records = decodeRecords(data.streams, generation, surface, total);
  putAttributes(mesh, data.arrays, data.bindings, generation, total, report);
  if (mesh.recordCount() == 0) records.clear();
  putTriangles(mesh, data.streams, std::move(surface), std::move(records));
  return checked(std::move(mesh), report);
}

Mesh decodeLists(const ListData& data, Generation generation, Mesh::Kind kind, Budget& budget,
                 Report& report) {
  Mesh mesh;
  mesh.kind = kind;
  checkHashes(data, generation, report);
  if (data.recordCount < 0) reject("a negative number of records");
  const auto records = static_cast<std::size_t>(data.recordCount);
  if (records == 0) {
    if (!data.indices.empty()) reject("indices, but no records");
    return mesh;
  }
  spendMesh(budget, data.arrays, data.indices.size());
  mesh.positions = decodeCoordinates(data.arrays.coordinates, generation, report);
  const std::vector<std::uint32_t> coordinate = coordinatesOfRecords(data, records, budget);
  putAttributes(mesh, data.arrays, data.bindings, generation, records, report);
  const bool hasRecords = mesh.recordCount() > 0;
  for (const std::int32_t index : data.indices) {
    if (index < 0 || static_cast<std::size_t>(index) >= records)
      reject("an index of a record that does not exist");
    mesh.corners.push_back(coordinate[static_cast<std::size_t>(index)]);
    if (hasRecords) mesh.records.push_back(static_cast<std::uint32_t>(index));
  }
  mesh.starts = startsOf(data.primitives, data.indices.size());
  mesh.groups = groupsOf(data, mesh.primitiveCount());
  return checked(std::move(mesh), report);
}

Mesh decodeStrips(const StripData& data, std::span<const std::byte> records, bool bigEndian,
                  Mesh::Kind kind, Budget& budget, Report& report) {
  Mesh mesh;
  mesh.kind = kind;
  std::vector<std::uint32_t> vertices;
  if (data.isLossless()) {
    const std::int32_t last = data.primitives.empty() ? 0 : data.primitives.back();
    if (last < 0) reject("a negative number of entries");
    budget.spend(static_cast<std::uint64_t>(last) * 64);
    putRecords8(mesh, data, records, bigEndian, static_cast<std::size_t>(last), report);
    vertices.resize(static_cast<std::size_t>(last));
    for (std::size_t i = 0; i < vertices.size(); ++i) vertices[i] = static_cast<std::uint32_t>(i);
  } else {
    spendMesh(budget, data.arrays, 3 * data.indices.size());
    mesh.positions = decodeCoordinates(data.arrays.coordinates, Generation::v8, report);
    VertexBindings bindings;
    if (data.normalBinding != 0) bindings.bits |= VertexBindings::kNormals;
    if (data.colorBinding != 0) bindings.bits |= VertexBindings::kColors4;
    if (data.textureBinding != 0) bindings.setTexture(0, 2);
    VertexArrays arrays = data.arrays;
    settleNormals8(arrays.normals);
    putAttributes(mesh, arrays, bindings, Generation::v8, mesh.positions.size(), report);
    for (const std::int32_t index : data.indices) {
      if (index < 0 || static_cast<std::size_t>(index) >= mesh.positions.size())
        reject("an index of a vertex that does not exist");
      vertices.push_back(static_cast<std::uint32_t>(index));
    }
  }
  putPrimitives8(mesh, startsOf(data.primitives, vertices.size()), vertices, budget);
  return checked(std::move(mesh), report);
}

}  // namespace jt::codec
