#include <algorithm>
#include <cmath>
#include <limits>

#include "file/archive/GuidLiteral.h"
#include "file/segments/SegmentObjects.h"
#include "file/shapes/ShapeSegment.h"

namespace jt::file {

namespace {

constexpr std::uint8_t kShapeBaseType = 4;

constexpr JtGuid kTopologyCollectionId = "f830a5ad-be4c-4fbc-9b5f-b9269278d2e1"_guid;
constexpr JtGuid kListCollectionId = "11c12d32-38f9-45ba-93ba-66f9d538ddfb"_guid;

/// Records as a zlib stream where that is shorter.
void packRecords(codec::StripData& strips, int level) {
  const Buffer packed = pack(strips.raw, Packing::zlib, level);
  if (packed.size() >= strips.raw.size()) return;
  const auto bytes = packed.bytes();
  strips.raw.assign(bytes.begin(), bytes.end());
  strips.packedSize = static_cast<std::int32_t>(packed.size());
}

ShapeElement elementOf(const Mesh& mesh, const Format& format, const codec::EncodeOptions& options,
                       codec::Report& losses, int level) {
  ShapeElement element{codec::Budget(0)};
  element.kind = mesh.kind;
  if (options.profile == codec::Profile::compact) element.packetStyle = codec::PacketStyle::small;
  const codec::Generation generation = generationOf(format);
  if (generation == codec::Generation::v8) {
    element.strips = codec::encodeStrips(mesh, format.bigEndian, options, losses);
    element.quantization = element.strips.quantization;
    if (element.strips.isLossless()) packRecords(element.strips, level);
  } else if (mesh.kind == Mesh::Kind::triangles) {
    element.topology = codec::encodeTopology(mesh, generation, options, losses);
    element.bindings = element.topology.bindings;
    element.nestedTypeId = kTopologyCollectionId;
  } else {
    element.lists = codec::encodeLists(mesh, generation, options, losses);
    element.bindings = element.lists.bindings;
    element.nestedTypeId = kListCollectionId;
  }
  element.extensionBindings = element.bindings.bits;
  return element;
}

/// Arithmetic code can make so little of a regular shape of 8.x that readers would not believe what
/// it represents. Plain packets take a bit a value at least.
bool isTooSmall(const ShapeElement& element, std::size_t size) {
  constexpr std::uint64_t kDecodedEntry = 164;  // bytes that the decoder asks for at most
  const std::vector<std::int32_t>& entries = element.strips.indices;
  return !codec::Budget::forInput(size).trySpend(kDecodedEntry * entries.size());
}

}  // namespace

Buffer writeShapeSegment(const Mesh& mesh, const JtGuid& id, std::int32_t type,
                         const Format& format, const codec::EncodeOptions& options,
                         codec::Report& losses, int level) {
  if (const std::string flaw = mesh.flaw(); !flaw.empty()) throw JtFormatError("bad_mesh", flaw);
  ShapeElement element = elementOf(mesh, format, options, losses, level);
  const ShapeKind& kind = shapeKindOf(mesh.kind);
  const auto bodyOf = [&] {
    ByteSink body;
    Writer writer(body, format);
    kind.write(writer, element);
    return body;
  };
  ByteSink body = bodyOf();
  if (isTooSmall(element, body.size())) {
    element.packetStyle = codec::PacketStyle::plain;
    body = bodyOf();
  }
  SegmentBuilder segment(format);
  segment.add(kind.guid, kShapeBaseType, body.bytes());
  return std::move(segment).finish(id, type, level);
}

codec::EncodeOptions optionsOf(const ShapeEncoding& encoding) {
  codec::EncodeOptions options;
  options.profile = encoding.profile == ShapeEncoding::Profile::compact
                        ? codec::Profile::compact
                        : codec::Profile::compatible;
  options.coordinateBits = encoding.positionBits;
  options.normalBits = encoding.normalBits;
  options.textureBits = encoding.textureBits;
  options.colorBits = encoding.colorBits;
  return options;
}

ShapeStatistics statisticsOf(const Mesh& mesh) {
  ShapeStatistics statistics;
  for (const std::uint32_t corner : mesh.corners)
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const float value = mesh.positions[corner][axis];
      if (!std::isfinite(value)) continue;
      statistics.box.min[axis] = std::min(statistics.box.min[axis], value);
      statistics.box.max[axis] = std::max(statistics.box.max[axis], value);
    }
  const auto count = static_cast<std::int32_t>(mesh.corners.size());
  statistics.vertices = {count, count};
  if (mesh.kind != Mesh::Kind::triangles) return statistics;
  statistics.polygons = {count / 3, count / 3};
  double area = 0;
  for (std::size_t t = 0; t + 2 < mesh.corners.size(); t += 3) {
    std::array<double, 3> u;
    std::array<double, 3> v;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double origin = mesh.positions[mesh.corners[t]][axis];
      u[axis] = mesh.positions[mesh.corners[t + 1]][axis] - origin;
      v[axis] = mesh.positions[mesh.corners[t + 2]][axis] - origin;
    }
    const double x = u[1] * v[2] - u[2] * v[1];
    const double y = u[2] * v[0] - u[0] * v[2];
    const double z = u[0] * v[1] - u[1] * v[0];
    area += std::sqrt(x * x + y * y + z * z) / 2;  // of floats: the squares cannot overflow
  }
  if (std::isfinite(area)) statistics.area = static_cast<float>(area);
  return statistics;
}

}  // namespace jt::file
