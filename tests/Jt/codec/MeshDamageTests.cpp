// Contents of shape elements whose parts do not fit each other: each check says what is wrong.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "codec/shape/MeshDecoder.h"
#include "codec/shape/MeshEncoder.h"
#include "support/MemoryStorage.h"
#include "support/Meshes.h"

namespace {

using namespace jt::codec;

/// Normals of as many records as are asked for.
CodedArray normalsOf(std::size_t count) {
  const std::vector<jt::Vec3f> values{{0, 0, 1}};
  return encodeNormals(values, std::vector<std::uint32_t>(count), Generation::v10, 0);
}

CodedArray colorsOf(std::size_t count) {
  const std::vector<Vec4> values{{1, 0.5F, 0.25F, 1}};
  return encodeColors(values, std::vector<std::uint32_t>(count), Generation::v10, 8);
}

TEST(MeshDamage, ASurfaceThatDoesNotFitIsRefused) {
  const jt::Mesh mesh = grid(3, 2, false, false, {}, true);
  Report report;
  const TopologyData sound = encodeTopology(mesh, Generation::v10, {}, report);
  const std::size_t records = static_cast<std::size_t>(sound.arrays.normals.count);
  struct Damage {
    std::function<void(TopologyData&)> make;
    const char* said;
  };
  const std::vector<jt::Vec3f> points(static_cast<std::size_t>(sound.vertexCount) + 1, {1, 2, 3});
  const std::string count = std::to_string(sound.vertexCount);
  const std::string more =
      std::to_string(points.size()) + " coordinates for " + count + " vertices";
  const Damage cases[] = {
      {[](auto&) {}, ""},
      {[&](auto& d) { d.arrays.coordinates = encodeCoordinates(points, Generation::v10, 0); },
       more.c_str()},
      {[&](auto& d) { d.arrays.normals = normalsOf(records - 1); },
       "fewer attribute records than are used"},
      {[&](auto& d) {
         d.bindings.bits |= VertexBindings::kColors4;
         d.arrays.colors = colorsOf(records + 1);
       },
       "the attribute arrays differ in size"},
      {[](auto& d) {
         d.streams.vertexValences.push_back(0);
         d.streams.vertexGroups.push_back(0);
         d.streams.vertexFlags.push_back(0);
       },
       "a polygon without corners"},
      {[](auto& d) { d.streams.faceDegrees[0].at(0) = -1; }, "a vertex of negative degree"},
  };
  for (const Damage& damage : cases) {
    TopologyData data = sound;
    damage.make(data);
    Budget budget(1 << 20);
    VariantChoice choice;
    EXPECT_EQ(errorText([&] { decodeTopology(data, Generation::v10, choice, budget, report); }),
              damage.said);
  }
}

TEST(MeshDamage, MasksOfAFanThatAreMissingAreNoticed) {
  jt::Mesh fan;
  fan.positions.push_back({0, 0, 5});
  for (std::uint32_t i = 0; i < 70; ++i) {
    const auto angle = static_cast<float>(i) * 0.0897F;
    fan.positions.push_back({std::cos(angle), std::sin(angle), 0});
    fan.corners.insert(fan.corners.end(), {0, i + 1, (i + 1) % 70 + 1});
    fan.records.insert(fan.records.end(), {i, i, i});
    fan.normals.push_back({std::cos(angle), std::sin(angle), 0});
  }
  Report report;
  TopologyData data = encodeTopology(fan, Generation::v9, {.profile = Profile::compact}, report);
  data.streams.highDegreeMasks.resize(2);
  Budget budget(1 << 20);
  VariantChoice choice;
  EXPECT_EQ(errorText([&] { decodeTopology(data, Generation::v9, choice, budget, report); }),
            "fewer attribute masks than vertices");
}

TEST(MeshDamage, ColorsOfManyBitsAreRefused) {
  Report report;
  CodedArray colors = colorsOf(3);
  colors.isHsv = 1;
  for (const std::uint8_t bits : std::initializer_list<std::uint8_t>{32, 33}) {
    colors.hsvBits = {8, 8, bits, 8};
    EXPECT_EQ(errorText([&] { decodeColors(colors, Generation::v10, report); }),
              bits == 32 ? "" : "colors: a quantizer of more than 32 bits");
  }
}

TEST(MeshDamage, StripsAndListsThatDoNotFitAreRefused) {
  Report report;
  const StripData strips = encodeStrips(grid(3, 2, false, false, {}, true), false,
                                        {.coordinateBits = 8, .normalBits = 8}, report);
  for (const std::int32_t index : {-1, strips.arrays.coordinates.count}) {
    StripData data = strips;
    data.indices.at(2) = index;
    Budget budget(1 << 20);
    EXPECT_EQ(errorText([&] {
                decodeStrips(data, {}, false, jt::Mesh::Kind::triangles, budget, report);
              }),
              "an index of a vertex that does not exist");
  }
  jt::Mesh line;
  line.kind = jt::Mesh::Kind::polylines;
  line.positions = {{0, 1, 2}, {3, 4, 5}, {6, 7, 9}};
  line.corners = {0, 1, 2};
  line.records = {0, 1, 2};
  line.starts = {0, 3};
  line.normals = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  ListData list = encodeLists(line, Generation::v10, {}, report);
  list.arrays.normals = normalsOf(2);
  list.indices = {0, 1, 1};
  Budget budget(1 << 20);
  EXPECT_EQ(errorText([&] {
              decodeLists(list, Generation::v10, jt::Mesh::Kind::polylines, budget, report);
            }),
            "fewer attribute records than are used");
}

}  // namespace
