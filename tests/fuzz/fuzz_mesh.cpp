// The mesh coder behind its packets: streams of symbols are walked under every variant, and a mesh
// that they describe is encoded and decoded again. The first byte chooses generation and positions;
// then come pairs of a stream and a value, which is one byte or, behind 0x80, four.

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <optional>

#include "JtFormatError.h"
#include "codec/shape/MeshDecoder.h"
#include "codec/shape/MeshEncoder.h"
#include "support/MeshContent.h"

namespace {

using namespace jt::codec;
using jt::Mesh;

constexpr std::uint64_t kMostBytes = 64 << 20;
constexpr std::size_t kMostCorners =
    3000;  // for encoding; the rest of the time is for other inputs

[[noreturn]] void finding(const char* what) {
  std::fprintf(stderr, "%s\n", what);
  std::abort();
}

TopologyStreams streamsOf(std::span<const std::uint8_t> data) {
  TopologyStreams streams;
  std::vector<std::vector<std::int32_t>*> all;
  for (auto& context : streams.faceDegrees) all.push_back(&context);
  for (auto& context : streams.faceMasks) all.push_back(&context);
  all.insert(all.end(), {&streams.vertexValences, &streams.vertexGroups, &streams.vertexFlags,
                         &streams.splitSymbols, &streams.splitPositions, &streams.faceMasksNext,
                         &streams.faceMasksTop});
  constexpr std::uint8_t kWide = 0x80;
  while (data.size() >= 2) {
    const std::size_t stream = data[0] % (all.size() + 1);
    const bool isWide = data[1] == kWide;
    if (isWide && data.size() < 6) break;
    std::int32_t value = static_cast<std::int8_t>(data[1]);
    if (isWide) std::memcpy(&value, &data[2], sizeof value);
    data = data.subspan(isWide ? 6 : 2);
    if (stream == all.size()) {
      streams.highDegreeMasks.push_back(static_cast<std::uint32_t>(value));
    } else {
      all[stream]->push_back(value);
    }
  }
  return streams;
}

/// The surface under one variant, with what must hold of every surface.
std::optional<Surface> walked(const TopologyStreams& streams, unsigned variant) {
  try {
    Budget budget(kMostBytes);
    Surface surface = decodeSurface(streams, Variant::byIndex(variant), budget);
    std::vector<std::uint32_t> degrees(surface.vertexCount());
    for (const std::uint32_t vertex : surface.vertexOf) ++degrees.at(vertex);
    for (std::uint32_t v = 0; v < degrees.size(); ++v)
      if (degrees[v] != surface.degree(v)) finding("a vertex of another degree");
    const auto corners = std::accumulate(streams.vertexValences.begin(),
                                         streams.vertexValences.end(), std::size_t{0});
    if (corners != surface.vertexOf.size()) finding("corners of no polygon");
    return surface;
  } catch (const JtFormatError&) {
    return {};
  }
}

/// How many attribute records there are; nothing when the masks do not fit the surface.
std::optional<std::uint32_t> recordsOf(const TopologyStreams& streams, Generation generation,
                                       const Surface& surface) {
  try {
    std::uint32_t total = 0;
    const auto records = decodeRecords(streams, generation, surface, total);
    if (!records.empty() && records.size() != surface.vertexOf.size())
      finding("corners without a place for their record");
    for (const std::uint32_t record : records)
      if (record >= total) finding("a record that does not exist");
    return total;
  } catch (const JtFormatError&) {
    return {};
  }
}

/// The element around streams that describe a surface: a position for each vertex, a normal for
/// each record.
TopologyData elementOf(const TopologyStreams& streams, Generation generation,
                       const Surface& surface, std::uint32_t records, std::uint32_t positions) {
  TopologyData data;
  data.streams = streams;
  std::vector<jt::Vec3f> values;
  for (std::uint32_t v = 0; v < surface.vertexCount(); ++v) {
    const auto x = static_cast<float>(v % positions);
    values.push_back({x, 0.25F * x * x, 1});
  }
  data.arrays.coordinates = encodeCoordinates(values, generation, 0);
  data.bindings.bits = 2;
  if (records == 0) return data;
  data.bindings.bits |= VertexBindings::kNormals;
  values.clear();
  for (std::uint32_t r = 0; r < records; ++r) values.push_back({static_cast<float>(r), 1, 0});
  std::vector<std::uint32_t> order(records);
  std::iota(order.begin(), order.end(), 0U);
  data.arrays.normals = encodeNormals(values, order, generation, 0);
  return data;
}

Mesh decoded(const TopologyData& data, Generation generation) {
  VariantChoice choice;
  Budget budget(kMostBytes);
  Report report;
  report.checkHashes = false;
  return decodeTopology(data, generation, choice, budget, report);
}

void writeAgain(const Mesh& mesh, Generation generation) {
  const auto content = contentOf(mesh);
  for (const Profile profile : {Profile::compatible, Profile::compact}) {
    Report losses;
    EncodeOptions options;
    options.profile = profile;
    const TopologyData first = encodeTopology(mesh, generation, options, losses);
    if (contentOf(decoded(first, generation)) != content)
      finding("the written mesh is another one");
    for (unsigned variant = 1; variant < Variant::kCount; ++variant) {
      // Written in small patches it is the same in all; else each reads what is written in it.
      options.variant = Variant::byIndex(variant);
      const TopologyData other =
          profile == Profile::compact ? encodeTopology(mesh, generation, options, losses) : first;
      const auto surface = walked(other.streams, variant);
      if (!surface || surface->vertexCount() != static_cast<std::size_t>(other.vertexCount))
        finding("the written surface does not fit its variant");
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const Generation generation = (data[0] & 1) != 0 ? Generation::v10 : Generation::v9;
  const std::uint32_t positions = 1U << (data[0] >> 4);  // fewer than vertices: some coincide
  const TopologyStreams streams = streamsOf(std::span(data, size).subspan(1));
  for (unsigned variant = 0; variant < Variant::kCount; ++variant) {
    const auto surface = walked(streams, variant);
    if (!surface) continue;
    const std::optional<std::uint32_t> records = recordsOf(streams, generation, *surface);
    if (variant != 0 || !records || surface->vertexOf.size() > kMostCorners) continue;
    const Mesh mesh =
        decoded(elementOf(streams, generation, *surface, *records, positions), generation);
    if (!mesh.flaw().empty()) finding("a mesh with a flaw was read");
    writeAgain(mesh, generation);
  }
  return 0;
}
