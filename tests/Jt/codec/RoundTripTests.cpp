// Meshes that are written in every form and read again: the same mesh but for the order of vertices
// and triangles.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <algorithm>
#include <cmath>

#include "codec/MeshDecoder.h"
#include "codec/MeshEncoder.h"
#include "file/ShapeSegment.h"

namespace {

using namespace jt::codec;
using jt::Mesh;
using jt::Vec3f;
using jt::file::Format;

constexpr Format kForms[] = {{8, 1, false},  {9, 5, false}, {10, 0, false},
                             {10, 5, false}, {9, 5, true},  {8, 1, true}};

/// A triangle or another primitive by its values: corners with attributes, and the group.
using Primitive = std::pair<std::vector<std::vector<float>>, std::int32_t>;

std::vector<float> cornerOf(const Mesh& mesh, std::size_t corner) {
  const Vec3f& p = mesh.positions[mesh.corners[corner]];
  std::vector<float> values{p[0] + 0.0F, p[1] + 0.0F, p[2] + 0.0F};
  if (mesh.records.empty()) return values;
  const std::uint32_t record = mesh.records[corner];
  if (!mesh.normals.empty())
    values.insert(values.end(), mesh.normals[record].begin(), mesh.normals[record].end());
  if (!mesh.flags.empty()) values.push_back(static_cast<float>(mesh.flags[record]));
  return values;
}

/// What a mesh says, whatever its order; triangles begin with their least corner.
std::vector<Primitive> contentOf(const Mesh& mesh, bool withGroups = true) {
  std::vector<Primitive> primitives;
  for (std::size_t p = 0; p < mesh.primitiveCount(); ++p) {
    Primitive& primitive = primitives.emplace_back();
    const bool isTriangle = mesh.kind == Mesh::Kind::triangles;
    const std::size_t from = isTriangle ? 3 * p : mesh.starts[p];
    const std::size_t to = isTriangle ? from + 3 : mesh.starts[p + 1];
    for (std::size_t c = from; c < to; ++c) primitive.first.push_back(cornerOf(mesh, c));
    if (isTriangle)
      std::rotate(primitive.first.begin(), std::ranges::min_element(primitive.first),
                  primitive.first.end());
    primitive.second = withGroups && !mesh.groups.empty() ? mesh.groups[p] : 0;
  }
  if (mesh.kind == Mesh::Kind::triangles) std::ranges::sort(primitives);
  return primitives;
}

Mesh throughFile(const Mesh& mesh, const Format& format, const EncodeOptions& options = {}) {
  Report losses;
  const auto segment = jt::file::writeShapeSegment(mesh, {}, 7, format, options, losses);
  VariantChoice variants;
  jt::file::ShapeReadOptions reading;
  auto shape =
      readShape(segment.bytes().subspan(jt::file::kSegmentHeaderSize), format, variants, reading);
  EXPECT_TRUE(shape.remarks.empty()) << shape.remarks[0].message;
  return std::move(shape.mesh);
}

/// Triangles over few vertices: holes, edges of many triangles, flat and double triangles, vertices
/// with several fans.
Mesh soup(std::uint32_t vertices, std::size_t triangles, bool attributes) {
  Mesh mesh;
  for (std::uint32_t i = 0; i < vertices; ++i)
    mesh.positions.push_back({static_cast<float>(i), std::sin(static_cast<float>(i)), -0.0F});
  const auto index = rc::gen::inRange<std::uint32_t>(0, vertices);
  mesh.corners = *rc::gen::container<std::vector<std::uint32_t>>(3 * triangles, index);
  mesh.groups = *rc::gen::container<std::vector<std::int32_t>>(
      triangles, rc::gen::inRange<std::int32_t>(0, 3));
  if (!attributes) return mesh;
  for (int i = 0; i < 5; ++i) {
    const float angle = static_cast<float>(i);
    mesh.normals.push_back({std::cos(angle), std::sin(angle), 0});
    mesh.flags.push_back(static_cast<std::uint32_t>(i));
  }
  mesh.records = *rc::gen::container<std::vector<std::uint32_t>>(
      3 * triangles, rc::gen::inRange<std::uint32_t>(0, 5));
  return mesh;
}

/// A grid of squares, open, closed to a tube or to a torus, with a share of its triangles left out.
Mesh grid(std::uint32_t columns, std::uint32_t rows, bool wrapX, bool wrapY,
          const std::vector<bool>& leftOut, bool hardEdges) {
  Mesh mesh;
  const std::uint32_t width = wrapX ? columns : columns + 1;
  const std::uint32_t height = wrapY ? rows : rows + 1;
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < width; ++x)
      mesh.positions.push_back(
          {static_cast<float>(x), static_cast<float>(y), static_cast<float>(x * y % 7) * 0.25F});
  mesh.normals = {{0, 0, 1}, {0, 1, 0}};
  std::size_t number = 0;
  for (std::uint32_t y = 0; y < rows; ++y)
    for (std::uint32_t x = 0; x < columns; ++x) {
      const auto at = [&](std::uint32_t dx, std::uint32_t dy) {
        return (y + dy) % height * width + (x + dx) % width;
      };
      const std::uint32_t corners[2][3] = {{at(0, 0), at(1, 0), at(1, 1)},
                                           {at(0, 0), at(1, 1), at(0, 1)}};
      for (const auto& triangle : corners) {
        if (!leftOut.empty() && leftOut[number++ % leftOut.size()]) continue;
        mesh.corners.insert(mesh.corners.end(), triangle, triangle + 3);
        mesh.records.insert(mesh.records.end(), 3, hardEdges ? x % 2 : 0);
      }
    }
  return mesh;
}

Mesh randomMesh() {
  if (*rc::gen::arbitrary<bool>())
    return soup(*rc::gen::inRange(3U, 40U), *rc::gen::inRange<std::size_t>(0, 60),
                *rc::gen::arbitrary<bool>());
  return grid(*rc::gen::inRange(3U, 14U), *rc::gen::inRange(3U, 14U), *rc::gen::arbitrary<bool>(),
              *rc::gen::arbitrary<bool>(), *rc::gen::arbitrary<std::vector<bool>>(),
              *rc::gen::arbitrary<bool>());
}

RC_GTEST_PROP(RoundTrips, TrianglesOfEveryForm, ()) {
  const Mesh mesh = randomMesh();
  for (const Format& format : kForms) {
    const bool isEight = format.major == 8;  // has no flags and groups
    Mesh expected = mesh;
    if (isEight) expected.flags.clear();
    const Mesh back = throughFile(mesh, format);
    RC_ASSERT(contentOf(back, !isEight) == contentOf(expected, !isEight));
    if (isEight) continue;
    RC_ASSERT(contentOf(throughFile(mesh, format, {.profile = Profile::compact})) ==
              contentOf(mesh));
  }
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
    RC_ASSERT(other.slotOf == first.slotOf);
  }
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
    EXPECT_TRUE(choice.possible() >> index & 1);
    const bool looksExpected = fittingVariants(data.streams, Budget(1 << 26)) & 1;
    EXPECT_EQ(choice.possible() == 0xff, looksExpected);
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

RC_GTEST_PROP(RoundTrips, PolylinesAndPointsOfEveryForm, (bool points, bool attributes)) {
  Mesh mesh = soup(9, *rc::gen::inRange<std::size_t>(0, 12), attributes);
  mesh.kind = points ? Mesh::Kind::points : Mesh::Kind::polylines;
  if (!mesh.corners.empty()) mesh.starts = {0};
  while (!mesh.corners.empty() && mesh.starts.back() < mesh.corners.size())
    mesh.starts.push_back(std::min(static_cast<std::uint32_t>(mesh.corners.size()),
                                   mesh.starts.back() + *rc::gen::inRange<std::uint32_t>(1, 7)));
  mesh.groups.clear();
  if (!points)
    for (std::size_t p = 0; p < mesh.primitiveCount(); ++p)
      mesh.groups.push_back(static_cast<std::int32_t>(p / 2));
  if (mesh.primitiveCount() <= 2) mesh.groups.clear();
  for (const Format& format : kForms) {
    const bool isEight = format.major == 8;
    Mesh expected = mesh;
    if (isEight) expected.flags.clear();
    RC_ASSERT(contentOf(throughFile(mesh, format), !isEight) == contentOf(expected, !isEight));
  }
}

TEST(RoundTrips, QuantizedMeshesStayWithinAStep) {
  const Mesh mesh = grid(9, 9, false, false, {}, true);
  for (const Format& format : kForms) {
    const Mesh back = throughFile(mesh, format, {.coordinateBits = 12, .normalBits = 8});
    EXPECT_EQ(back.primitiveCount(), mesh.primitiveCount());
    const auto before = jt::file::statisticsOf(mesh);
    const auto after = jt::file::statisticsOf(back);
    EXPECT_NEAR(after.area, before.area, 0.1);
    for (std::size_t axis = 0; axis < 3; ++axis)
      EXPECT_NEAR(after.box.max[axis], before.box.max[axis], 0.01);
  }
}

TEST(RoundTrips, WhatAFormCannotHoldIsTold) {
  Mesh mesh = grid(2, 2, false, false, {}, true);
  mesh.colours = {{1, 0, 0, 0.5F}, {0, 1, 0, 1}};
  mesh.textures = {{1, 2, {0, 0, 1, 1}}};
  mesh.groups.assign(mesh.primitiveCount(), 1);
  Report losses;
  jt::file::writeShapeSegment(mesh, {}, 7, {8, 1, false}, {}, losses);
  std::vector<std::string> codes;
  for (const Remark& loss : losses.remarks) codes.emplace_back(loss.code);
  EXPECT_EQ(codes, (std::vector<std::string>{"textures", "alpha", "groups"}));
  mesh.records[0] = 9;
  EXPECT_THROW(jt::file::writeShapeSegment(mesh, {}, 7, {9, 5, false}, {}, losses), JtFormatError);
}

}  // namespace
