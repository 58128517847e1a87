// Meshes that are written in every form and read again: the same mesh but for the order of vertices
// and triangles.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <set>
#include <utility>

#include "codec/shape/MeshDecoder.h"
#include "codec/shape/MeshEncoder.h"
#include "codec/vertex/DeeringEncoder.h"
#include "file/shapes/ShapeSegment.h"
#include "support/Meshes.h"

namespace {

using namespace jt::codec;
using jt::Mesh;
using jt::file::Format;

constexpr Format kForms[] = {{8, 1, false},  {9, 5, false}, {10, 0, false}, {10, 2, false},
                             {10, 5, false}, {9, 5, true},  {8, 1, true}};

Mesh throughFile(const Mesh& mesh, const Format& format, const EncodeOptions& options = {}) {
  Report losses;
  const auto segment = jt::file::writeShapeSegment(mesh, {}, 7, format, options, losses);
  VariantChoice variants;
  jt::file::ShapeReadOptions reading;
  auto shape =
      readShape(segment.bytes().subspan(jt::file::kSegmentHeaderSize), format, variants, reading);
  EXPECT_TRUE(shape.warnings.empty()) << shape.warnings[0].message;
  return std::move(shape.mesh);
}

/// That every form gives back what is expected, as far as it has room for it.
void expectInEveryForm(const Mesh& mesh, Mesh expected, const EncodeOptions& options) {
  const auto whole = contentOf(expected);
  expected.flags.clear();
  expected.groups.clear();
  const auto rest = contentOf(expected);
  for (const Format& format : kForms)
    RC_ASSERT(contentOf(throughFile(mesh, format, options)) == (format.major == 8 ? rest : whole));
}

RC_GTEST_PROP(RoundTrips, TrianglesOfEveryForm, ()) {
  const Mesh mesh = randomMesh();
  for (const Profile profile : {Profile::compatible, Profile::compact})
    expectInEveryForm(mesh, mesh, {.profile = profile});
}

RC_GTEST_PROP(RoundTrips, CompatibleTrianglesAreTheSameUnderEveryVariant, (bool isTen)) {
  const Mesh mesh = randomMesh();
  const Generation generation = isTen ? Generation::v10 : Generation::v9;
  Report report;
  const TopologyData data = encodeTopology(mesh, generation, {}, report);
  RC_ASSERT(data.streams.splitSymbols.empty());
  RC_ASSERT(fittingVariants(data.streams, Budget(1 << 24)) == 0xff);
  Budget budget(1 << 26);
  const Surface first = decodeSurface(data.streams, Variant::byIndex(0), budget);
  for (unsigned i = 1; i < Variant::kCount; ++i) {
    const Surface other = decodeSurface(data.streams, Variant::byIndex(i), budget);
    RC_ASSERT(other.vertexOf == first.vertexOf);
    RC_ASSERT(std::equal(first.slots.data(), first.slots.data() + first.vertexOf.size(),
                         other.slots.data()));
  }
  // Nor do readers differ in which record the slots in front of the first one take.
  for (const auto& masks : data.streams.faceMasks)
    for (const std::int32_t mask : masks) RC_ASSERT((mask & 1) == (mesh.records.empty() ? 0 : 1));
}

/// Positions on the borders of patches are stored several times, so borders must be short.
TEST(RoundTrips, CompatibleTrianglesTakeLessThanAPositionEach) {
  const Mesh mesh = grid(50, 40, true, true, {}, false);
  Report report;
  const TopologyData data = encodeTopology(mesh, Generation::v10, {}, report);
  EXPECT_LT(data.vertexCount, 0.95 * static_cast<double>(mesh.primitiveCount()));
}

/// A mesh whose holes and handles need splits, written under each variant.
TEST(Variants, AFileOfAnotherVariantIsFoundOut) {
  std::vector<bool> holes(31);
  for (std::size_t i = 0; i < holes.size(); i += 4) holes[i] = true;
  const Mesh mesh = grid(24, 19, true, true, holes, false);
  for (unsigned index = 0; index < Variant::kCount; ++index) {
    SCOPED_TRACE(index);
    Report report;
    const TopologyData data =
        encodeTopology(mesh, Generation::v9,
                       {.profile = Profile::compact, .variant = Variant::byIndex(index)}, report);
    EXPECT_GT(data.streams.splitSymbols.size(), 10U);
    VariantChoice choice;
    Budget budget(1 << 26);
    const Mesh back = decodeTopology(data, Generation::v9, choice, budget, report);
    EXPECT_EQ(contentOf(back), contentOf(mesh));
    const std::uint8_t fitting = fittingVariants(data.streams, Budget(1 << 26));
    EXPECT_TRUE(fitting >> index & 1);
    const bool looksExpected = fitting & 1;
    EXPECT_EQ(choice.metInstead() == 0, looksExpected);
    EXPECT_EQ(choice.isSettled(), !looksExpected);
    if (index % 4 != 0) {
      EXPECT_FALSE(looksExpected);
    }
  }
}

TEST(Masks, FansOfEveryDegreeKeepTheirHardEdges) {
  for (const std::uint32_t degree : {3U, 8U, 9U, 31U, 63U, 64U, 65U, 66U, 130U}) {
    for (const std::uint32_t open : {0U, 1U}) {
      Mesh mesh;
      mesh.positions.push_back({0, 0, 0});
      for (std::uint32_t i = 0; i < degree + open; ++i)
        mesh.positions.push_back({static_cast<float>(i + 1), static_cast<float>(i * i), 1});
      for (std::uint32_t i = 0; i < degree; ++i) {
        const std::uint32_t next = i + 1 < degree + open ? i + 2 : 1;
        mesh.corners.insert(mesh.corners.end(), {0, i + 1, next});
        mesh.normals.push_back({1, 0, static_cast<float>(i / 2)});
        mesh.records.insert(mesh.records.end(), 3, i);
      }
      for (const Format& format : kForms)
        EXPECT_EQ(contentOf(throughFile(mesh, format, {.profile = Profile::compact})),
                  contentOf(mesh))
            << degree << ' ' << open << ' ' << format.major;
    }
  }
}

/// Polylines or points of random lengths.
Mesh randomRuns() {
  Mesh mesh = soup(9, *rc::gen::inRange<std::size_t>(0, 12), *rc::gen::arbitrary<bool>());
  mesh.kind = *rc::gen::element(Mesh::Kind::points, Mesh::Kind::polylines);
  if (!mesh.corners.empty()) mesh.starts = {0};
  while (!mesh.corners.empty() && mesh.starts.back() < mesh.corners.size())
    mesh.starts.push_back(std::min(static_cast<std::uint32_t>(mesh.corners.size()),
                                   mesh.starts.back() + *rc::gen::inRange<std::uint32_t>(1, 7)));
  mesh.groups.clear();
  if (mesh.kind == Mesh::Kind::polylines)
    for (std::size_t p = 0; p < mesh.primitiveCount(); ++p)
      mesh.groups.push_back(static_cast<std::int32_t>(p / 2));
  if (mesh.primitiveCount() <= 2) mesh.groups.clear();
  return mesh;
}

RC_GTEST_PROP(RoundTrips, PolylinesAndPointsOfEveryForm, ()) {
  const Mesh mesh = randomRuns();
  expectInEveryForm(mesh, mesh, {});
}

/// The mesh as it must come back: used positions and normals moved to what their codes represent.
Mesh quantized(Mesh mesh, unsigned coordinateBits, unsigned normalBits) {
  constexpr float kRounding = 4e-6F;  // of coordinates below 64
  for (std::size_t axis = 0; axis < 3; ++axis) {
    UniformQuantizer quantizer{INFINITY, -INFINITY, static_cast<std::uint8_t>(coordinateBits)};
    for (const std::uint32_t corner : mesh.corners) {
      quantizer.min = std::min(quantizer.min, mesh.positions[corner][axis]);
      quantizer.max = std::max(quantizer.max, mesh.positions[corner][axis]);
    }
    const float step =
        (quantizer.max - quantizer.min) / static_cast<float>((1U << coordinateBits) - 1);
    for (const std::uint32_t corner : mesh.corners) {
      float& value = mesh.positions[corner][axis];
      const float moved = quantizer.dequantize(quantizer.quantize(static_cast<double>(value)));
      RC_ASSERT(std::abs(moved - value) <= 0.501F * step + kRounding);
      value = moved;
    }
  }
  const Deering deering(normalBits);
  const DeeringEncoder encoder(normalBits);
  for (jt::Vec3f& normal : mesh.normals) normal = deering.decode(encoder.encode(normal));
  return mesh;
}

RC_GTEST_PROP(RoundTrips, QuantizedMeshesAreOnTheNearestSteps, (bool compact, bool runs)) {
  const Mesh mesh = runs ? randomRuns() : randomMesh();
  EncodeOptions options{.profile = compact ? Profile::compact : Profile::compatible};
  options.coordinateBits = *rc::gen::inRange(1U, 25U);
  options.normalBits = *rc::gen::inRange(1U, 14U);
  expectInEveryForm(mesh, quantized(mesh, options.coordinateBits, options.normalBits), options);
}

/// What 8.x cannot hold without loss beside rounded numbers it does not round.
TEST(RoundTrips, EightIsLosslessWhereCoordinatesOrNormalsAre) {
  const Mesh smooth = grid(5, 4, false, false, {}, true);
  Mesh bare = smooth;
  bare.normals.clear();
  bare.records.clear();
  const EncodeOptions coordinates{.coordinateBits = 4};
  const EncodeOptions normals{.normalBits = 2};
  for (const EncodeOptions& options : {coordinates, normals})
    EXPECT_EQ(contentOf(throughFile(smooth, {8, 1, false}, options)), contentOf(smooth));
  EXPECT_NE(contentOf(throughFile(bare, {8, 1, false}, coordinates)), contentOf(bare));
}

RC_GTEST_PROP(RoundTrips, ColorsAndTexturesStayAtTheirCorners, (bool compact)) {
  Mesh mesh = soup(9, 20, true);
  mesh.kind = Mesh::Kind::polylines;  // keep their order
  mesh.starts = {0, 31, 60};
  mesh.groups.clear();
  const auto value =
      rc::gen::map(rc::gen::inRange(0, 256), [](int n) { return static_cast<float>(n) / 255; });
  for (std::size_t i = 0; i < mesh.normals.size(); ++i)
    mesh.colors.push_back({*value, *value, *value, *value});
  mesh.textures = {{0, 2, *rc::gen::container<std::vector<float>>(2 * mesh.normals.size(), value)}};
  const EncodeOptions options{.profile = compact ? Profile::compact : Profile::compatible,
                              .coordinateBits = 12,
                              .normalBits = 6,
                              .textureBits = 10};
  for (const Format& format : kForms) {
    const Mesh back = throughFile(mesh, format, options);
    for (std::size_t c = 0; c < mesh.corners.size(); ++c) {
      const std::uint32_t from = mesh.records[c];
      const std::uint32_t to = back.records[c];
      for (std::size_t k = 0; k < 4; ++k)
        RC_ASSERT(std::abs(back.colors[to][k] - mesh.colors[from][k]) < 1e-4F);
      for (std::size_t k = 0; k < 2; ++k)
        RC_ASSERT(std::abs(back.textures[0].values[2 * to + k] -
                           mesh.textures[0].values[2 * from + k]) < 0.501F / 1023);
    }
  }
}

TEST(RoundTrips, BitsOutOfRangeAreRefused) {
  const Mesh mesh = grid(2, 2, false, false, {}, true);
  const EncodeOptions wrong[] = {{.coordinateBits = 25}, {.normalBits = 14}, {.textureBits = 0},
                                 {.textureBits = 25},    {.colorBits = 0},   {.colorBits = 9}};
  for (const EncodeOptions& options : wrong)
    EXPECT_THROW(throughFile(mesh, {9, 5, false}, options), JtFormatError);
}

/// Edges at a hub, and vertices that wait for their turn, must not be searched one by one.
TEST(RoundTrips, AFanOfManyTrianglesTakesLinearTime) {
  constexpr std::uint32_t kTriangles = 200000;
  Mesh mesh;
  mesh.positions.push_back({0, 0, 0});
  for (std::uint32_t i = 0; i < kTriangles; ++i) {
    mesh.positions.push_back({std::cos(static_cast<float>(i)), static_cast<float>(i), 1});
    mesh.corners.insert(mesh.corners.end(), {0, i + 1, (i + 1) % kTriangles + 1});
  }
  for (const Profile profile : {Profile::compact, Profile::compatible})
    for (const Format& format : {Format{10, 0, false}, Format{8, 1, false}})
      EXPECT_EQ(throughFile(mesh, format, {.profile = profile}).primitiveCount(), kTriangles);
}

/// A flat grid on its steps: arithmetic code leaves nothing of it, and readers limit what little
/// data may represent.
TEST(RoundTrips, ARegularShapeCanStillBeRead) {
  constexpr std::uint32_t kCells = 255;
  Mesh mesh = grid(kCells, kCells, false, false, {}, false);
  mesh.normals.clear();
  mesh.records.clear();
  for (jt::Vec3f& position : mesh.positions) position[2] = 0;
  for (const Format& format : kForms) {
    const EncodeOptions options{.profile = Profile::compact, .coordinateBits = 8};
    EXPECT_EQ(throughFile(mesh, format, options).primitiveCount(), 2 * kCells * kCells);
  }
}

TEST(RoundTrips, WhatAFormCannotHoldIsReported) {
  Mesh mesh = grid(2, 2, false, false, {}, true);
  mesh.colors = {{1, 0, 0, 0.5F}, {0, 1, 0, 1}};
  mesh.textures = {{1, 2, {0, 0, 1, 1}}};
  mesh.groups.assign(mesh.primitiveCount(), 1);
  Report losses;
  jt::file::writeShapeSegment(mesh, {}, 7, {8, 1, false}, {}, losses);
  std::vector<std::string> codes;
  for (const jt::Diagnostic& loss : losses.warnings) codes.emplace_back(loss.code);
  EXPECT_EQ(codes, (std::vector<std::string>{"textures", "groups", "alpha"}));
  mesh.records[0] = 9;
  EXPECT_THROW(jt::file::writeShapeSegment(mesh, {}, 7, {9, 5, false}, {}, losses), JtFormatError);
}

TEST(RoundTrips, CapsAreMarkedByTheirFlagOrByTheirGroup) {
  Mesh open;
  open.positions = {{0, 0, 0}, {1, 0, 0}, {0, 2, 0}, {3, 3, 1}};
  open.corners = {0, 1, 2, 2, 1, 3};
  for (const bool byGroup : {false, true}) {
    Report report;
    TopologyData data = encodeTopology(open, Generation::v10, {}, report);
    TopologyStreams& streams = data.streams;
    std::size_t caps = 0;
    for (std::size_t polygon = 0; polygon < streams.vertexFlags.size(); ++polygon) {
      if ((streams.vertexFlags[polygon] & 1) == 0) continue;
      ++caps;
      streams.vertexGroups[polygon] = byGroup ? -1 : 0;
      if (byGroup) streams.vertexFlags[polygon] &= ~1;
    }
    EXPECT_GT(caps, 0U);
    Budget budget(1 << 20);
    VariantChoice variants;
    const Mesh mesh = decodeTopology(data, Generation::v10, variants, budget, report);
    EXPECT_EQ(contentOf(mesh), contentOf(open)) << byGroup;
  }
}

/// A cap that is not marked is a face: with it the surface is closed, and every edge has a face on
/// either side.
TEST(RoundTrips, FacesOfFourCornersTurnAsTheirNeighborsDo) {
  Mesh open;
  open.positions = {{0, 0, 0}, {1, 0, 0}, {0, 2, 0}, {3, 3, 1}};
  open.corners = {0, 1, 2, 2, 1, 3};
  Report report;
  TopologyData data = encodeTopology(open, Generation::v10, {}, report);
  for (auto& flags : data.streams.vertexFlags) flags &= ~1;
  for (auto& group : data.streams.vertexGroups) group = 0;
  Budget budget(1 << 20);
  VariantChoice variants;
  const Mesh mesh = decodeTopology(data, Generation::v10, variants, budget, report);
  ASSERT_EQ(mesh.corners.size(), 12U);
  std::set<std::pair<std::uint32_t, std::uint32_t>> edges;
  for (std::size_t i = 0; i < mesh.corners.size(); ++i)
    EXPECT_TRUE(edges.emplace(mesh.corners[i], mesh.corners[i % 3 == 2 ? i - 2 : i + 1]).second);
  for (const auto& [from, to] : edges) EXPECT_TRUE(edges.contains({to, from})) << from << to;
  std::vector<jt::Vec3f> first;
  for (std::size_t i = 0; i < 3; ++i) first.push_back(mesh.positions[mesh.corners[i]]);
  std::rotate(first.begin(), std::ranges::find(first, open.positions[2]), first.end());
  EXPECT_EQ(first, (std::vector{open.positions[2], open.positions[1], open.positions[3]}));
}

TEST(Strips, EverySecondTriangleIsTurnedAndFlatOnesAreLeftOut) {
  const std::vector<jt::Vec3f> points{{0, 0, 0}, {1, 0, 0}, {0, 2, 0}, {3, 2, 0}, {1, 5, 4}};
  StripData data;
  data.quantization[0] = 16;
  data.arrays.coordinates = encodeCoordinates(points, Generation::v8, 16);
  data.primitives = {0, 5, 9};  // the second one begins at an odd entry
  data.indices = {0, 1, 0, 2, 3, 1, 2, 3, 4};
  Budget budget(1 << 20);
  Report report;
  const Mesh mesh = decodeStrips(data, {}, false, Mesh::Kind::triangles, budget, report);
  EXPECT_EQ(mesh.corners, (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3, 1, 2, 3, 3, 2, 4}));
}

TEST(Strips, PlainRecordsHaveColorsOfThreeOrFourNumbers) {
  for (const std::size_t words : {3U, 4U}) {
    StripData data;
    data.colorBinding = 1;
    data.primitives = {0, 3};
    std::vector<float> records;
    for (int entry = 0; entry < 3; ++entry) {
      for (std::size_t k = 0; k < words; ++k) records.push_back(0.125F * static_cast<float>(k + 1));
      const auto number = static_cast<float>(entry);
      records.insert(records.end(), {number, number * number, 7});
    }
    Budget budget(1 << 20);
    Report report;
    const Mesh mesh = decodeStrips(data, std::as_bytes(std::span(records)),
                                   std::endian::native == std::endian::big, Mesh::Kind::triangles,
                                   budget, report);
    ASSERT_EQ(mesh.colors.size(), 3U);
    EXPECT_EQ(mesh.colors[2], (Vec4{0.125F, 0.25F, 0.375F, words == 3 ? 1 : 0.5F}));
    EXPECT_EQ(mesh.positions[2], (jt::Vec3f{2, 4, 7}));
  }
}

}  // namespace
