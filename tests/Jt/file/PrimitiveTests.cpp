// Primitive sets: read from their parameters and shown as triangles.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numbers>

#include "file/shapes/ShapeSegment.h"
#include "support/PrimitiveContent.h"
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
        const Bytes content =
            primitiveContent(format, one.type, one.size, form < 4, form % 2 == 1, form >= 2);
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

TEST(Primitives, WhatDoesNotFitIsRefused) {
  struct Damage {
    bool packed;
    std::size_t field;  // 0 the unpacked size, 1 the stored size, 2 the type
    std::int32_t value;
    const char* said;
  };
  const char* const kSizes = "the sizes of the primitives do not fit their bytes";
  const Damage cases[] = {{false, 1, -61, kSizes},
                          {false, 1, -59, "the primitives are no whole number of records"},
                          {true, 0, -1, kSizes},
                          {true, 1, 1000, kSizes},
                          {false, 2, 5, "expected a primitive of type 0 to 4, found 5"},
                          {false, 2, -1, "expected a primitive of type 0 to 4, found -1"}};
  for (const Format& format : allFormats())
    for (const Damage& damage : cases) {
      SCOPED_TRACE(formatText(format) + " " + damage.said);
      Bytes content = primitiveContent(format, 1, {3, 2, 4}, true, damage.packed, true);
      const Fields sizes = Fields(format).i32(0).i32(60);
      const auto at =
          std::search(content.begin(), content.end(), sizes.bytes().begin(), sizes.bytes().end()) +
          4;
      const Fields value = Fields(format).i32(damage.value);
      std::ranges::copy(value.bytes(), damage.field == 2
                                           ? content.end() - 4
                                           : at + 4 * static_cast<std::ptrdiff_t>(damage.field));
      jt::codec::VariantChoice variants;
      EXPECT_EQ(errorText([&] { jt::file::readShape(content, format, variants); }), damage.said);
    }
}

TEST(Primitives, AreWrittenAsTrianglesInAnotherVersionAndKeptInTheirOwn) {
  MemoryStorage storage;
  const Format format{9, 5, false};
  const Bytes content =
      primitiveContent(format, kCases[0].type, kCases[0].size, true, false, false);
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
