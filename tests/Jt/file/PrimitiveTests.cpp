// Primitive sets: read from their parameters and shown as triangles.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numbers>

#include "file/container/Compression.h"
#include "file/shapes/ShapeSegment.h"
#include "support/ShapeScene.h"

namespace {

using jt::Mesh;
using jt::file::Format;

struct Case {
  int type;
  jt::Vec3f size;
  double volume;
  double area;
  double middle;  ///< height of the centroid
};

constexpr double kPi = std::numbers::pi;
const Case kCases[] = {{0, {1, 2, 3}, 6, 22, 1.5},
                       {1, {2, 2, 5}, 20 * kPi, 28 * kPi, 2.5},
                       {1, {3, 0, 4}, 12 * kPi, 24 * kPi, 1},
                       {2, {2, 2, 3}, 4, 4 + 4 * std::sqrt(10.0), 0.75},
                       {3, {2, 0, 0}, 32 * kPi / 3, 16 * kPi, 0},
                       {4, {3, 4, 2}, 12, 12 + 2 * 12, 1}};

/// Volume inside a closed surface that is counter-clockwise from outside.
/// @param middle receives the y of its centroid
double volumeOf(const Mesh& mesh, double* middle = nullptr) {
  double volume = 0;
  double moment = 0;
  for (std::size_t c = 0; c + 2 < mesh.corners.size(); c += 3) {
    const auto at = [&](std::size_t i, std::size_t axis) {
      return double{mesh.positions[mesh.corners[c + i]][axis]};
    };
    double part = 0;
    for (std::size_t a = 0; a < 3; ++a)
      part += at(0, a) *
              (at(1, (a + 1) % 3) * at(2, (a + 2) % 3) - at(1, (a + 2) % 3) * at(2, (a + 1) % 3));
    volume += part;
    moment += part * (at(0, 1) + at(1, 1) + at(2, 1)) / 4;
  }
  if (middle) *middle = moment / volume;
  return volume / 6;
}

/// The content of a segment with one primitive, turned a quarter about x.
Bytes segmentOf(const Format& format, const Case& one, bool lossless, bool packed, bool color) {
  const bool isTen = format.major == 10;
  Fields primitive(format);
  if (lossless) primitive.i32(0);
  const auto quaternion = [&] { primitive.f32({std::sqrt(0.5F), 0, 0, std::sqrt(0.5F)}); };
  if (!lossless) quaternion();
  primitive.f32({10, 20, 30}).f32({one.size[0], one.size[1], one.size[2]});
  if (lossless) quaternion();
  if (color) primitive.f32({1, 0, 0});
  primitive.i32(one.type);
  Fields body(format);
  if (isTen) {
    body.put(std::uint8_t{1}).put(std::uint8_t{1}).put(std::uint64_t{color ? 0x12U : 2U});
    body.put(std::uint8_t{0}).put(std::uint8_t{1});
  } else {
    body.put(std::int16_t{1}).i32(0).i32(color ? 1 : 0).i32(0).put(std::int16_t{1});
  }
  const auto size = static_cast<std::int32_t>(primitive.bytes().size());
  if (!lossless) {
    body.i32(12).i32(1).raw(primitive);
  } else if (!packed) {
    body.i32(0).i32(size).i32(-size).raw(primitive);
  } else {
    const auto stream = jt::file::pack(primitive.bytes(),
                                       isTen ? jt::file::Packing::xz : jt::file::Packing::zlib, 6);
    body.i32(0).i32(size).i32(static_cast<std::int32_t>(stream.size())).raw(stream.bytes());
  }
  return elementOf(format, "e40373c2-1ad9-11d3-9daf-00a0c9c7ddc2", 4, body);
}

void expectClosed(const Mesh& mesh) {
  std::map<std::pair<jt::Vec3f, jt::Vec3f>, int> edges;
  for (std::size_t c = 0; c < mesh.corners.size(); ++c) {
    const std::size_t next = c % 3 == 2 ? c - 2 : c + 1;
    ++edges[{mesh.positions[mesh.corners[c]], mesh.positions[mesh.corners[next]]}];
    --edges[{mesh.positions[mesh.corners[next]], mesh.positions[mesh.corners[c]]}];
  }
  for (const auto& [edge, count] : edges) EXPECT_EQ(count, 0);
}

TEST(Primitives, BecomeClosedSurfacesInEveryForm) {
  MemoryStorage storage;
  for (const Format& format : allFormats())
    for (const Case& one : kCases)
      for (const int form : {0, 1, 2, 3, 4}) {
        SCOPED_TRACE(formatText(format) + " type " + std::to_string(one.type) + " form " +
                     std::to_string(form));
        const Bytes content = segmentOf(format, one, form < 4, form % 2 == 1, form >= 2);
        const auto node = jt::make<JtPrimitiveSet>();
        const auto root = storage.open(shapeFile(format, *node, content));
        const auto* set = jt::as<JtPrimitiveSet>(static_cast<const JtBase*>(root->child(0)));
        ASSERT_TRUE(set && set->mesh()) << jt::lastError();
        const auto fine = set->tessellate(2e-3F);
        ASSERT_TRUE(fine) << jt::lastError();
        EXPECT_EQ(fine->flaw(), "");
        expectClosed(*fine);
        Mesh local = *fine;  // back to the origin, where the sum is exact enough
        for (jt::Vec3f& p : local.positions) p = {p[0] - 10, p[1] - 20, p[2] - 30};
        double middle = 0;
        EXPECT_NEAR(volumeOf(local, &middle), one.volume, 0.01 * one.volume);
        EXPECT_NEAR(middle, -one.middle, 0.01);  // height, along z, was turned to -y
        EXPECT_NEAR(jt::file::statisticsOf(local).area, one.area, 0.01 * one.area);
        EXPECT_EQ(fine->colors.size(), form >= 2 ? 1U : 0U);
        EXPECT_LE(set->mesh()->primitiveCount(), fine->primitiveCount());
      }
}

TEST(Primitives, AreWrittenAsTrianglesInAnotherVersionAndKeptInTheirOwn) {
  MemoryStorage storage;
  const Format format{9, 5, false};
  const Bytes content = segmentOf(format, kCases[0], true, false, false);
  const auto node = jt::make<JtPrimitiveSet>();
  const auto root = storage.open(shapeFile(format, *node, content));
  jt::SaveOptions options;
  options.version = jt::FileVersion{10, 0};
  const auto there = storage.open(storage.saved(*root, options));
  EXPECT_FALSE(storage.report().warnings.empty());
  EXPECT_NEAR(volumeOf(*jt::as<JtShape>(there->child(0))->mesh()), 6, 1e-3);
  options.version.reset();
  options.rewriteSceneGraph = true;
  const auto same = storage.open(storage.saved(*root, options));
  EXPECT_TRUE(std::ranges::equal(same->container()->segmentBytes(same->container()->toc()[1]),
                                 root->container()->segmentBytes(root->container()->toc()[1])));
}

}  // namespace
