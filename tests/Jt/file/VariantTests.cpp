// The variant of the mesh walk is a matter of the file: what a shape is read as depends neither on
// which shapes were read before nor on the thread.

#include <gtest/gtest.h>

#include <thread>

#include "JtInspect.h"
#include "file/shapes/ShapeCache.h"
#include "file/shapes/ShapeSegment.h"
#include "support/FileBuilder.h"
#include "support/Meshes.h"

namespace {

using namespace jt::file;
using jt::Mesh;
using jt::codec::Variant;

constexpr Format kNine{9, 5, false};

struct WrittenShape {
  Mesh mesh;
  unsigned variant = 0;
};

/// A file of shape segments 2, 3, ..., compact and each written in its variant.
Bytes fileOf(const std::vector<WrittenShape>& shapes) {
  FileBuilder file(kNine);
  std::uint32_t number = 2;
  for (const auto& [mesh, variant] : shapes) {
    jt::codec::EncodeOptions options;
    options.profile = jt::codec::Profile::compact;
    options.variant = Variant::byIndex(variant);
    jt::codec::Report losses;
    const auto segment =
        writeShapeSegment(mesh, FileBuilder::id(number), 7, kNine, options, losses);
    file.segment(number++, 7, {segment.bytes().begin(), segment.bytes().end()});
  }
  SceneBuilder scene(kNine);
  return file.scene(scene.partition(1, {}).marker().marker().table({})).build();
}

Mesh torus(std::uint32_t columns, std::uint32_t rows, std::size_t period) {
  std::vector<bool> holes(period);
  holes[period / 2] = true;
  return grid(columns, rows, true, true, holes, false);
}

/// Written in variant 3, it is another mesh in variant 1, and none at all in 0 and 2.
const WrittenShape kDoubtful{torus(3, 5, 8), 3};

TEST(Variants, TheLargeShapesOfAFileDecideForTheDoubtfulOnes) {
  const std::vector<WrittenShape> shapes{kDoubtful, {torus(24, 19, 4), 3}, kDoubtful};
  const auto container = Container::open(jt::make<MemoryImage>(fileOf(shapes), "file"), {});
  const auto expectShape = [&](ShapeCache& cache, std::size_t i) {
    EXPECT_EQ(contentOf(*cache.mesh(container->toc()[i])), contentOf(shapes[i].mesh)) << i;
  };
  std::vector<std::size_t> order{0, 1, 2};
  do {
    ShapeCache cache(*container);
    for (const std::size_t i : order) expectShape(cache, i);
  } while (std::ranges::next_permutation(order).found);
  for (int round = 0; round < 20; ++round) {
    ShapeCache cache(*container);
    std::vector<std::jthread> threads;
    for (std::size_t i = 0; i < 6; ++i) threads.emplace_back([&, i] { expectShape(cache, i % 3); });
  }
}

TEST(Variants, AFileOfDoubtfulShapesAloneIsReadInTheFirstVariantThatFits) {
  const auto container = Container::open(jt::make<MemoryImage>(fileOf({kDoubtful}), "file"), {});
  jt::codec::VariantChoice choice;
  const Mesh first = readShapeSegment(*container, container->toc()[0], choice).mesh;
  EXPECT_EQ(choice.metInstead(), 1U << 1);
  EXPECT_NE(contentOf(first), contentOf(kDoubtful.mesh));
  ShapeCache cache(*container);
  EXPECT_EQ(contentOf(*cache.mesh(container->toc()[0])), contentOf(first));
}

TEST(Variants, AFileIsExaminedOnlyWhenAShapeDoesNotFitTheExpectedOne) {
  const WrittenShape usual{torus(24, 19, 4), 0};
  const auto container = Container::open(jt::make<MemoryImage>(fileOf({usual}), "file"), {});
  ShapeCache cache(*container);
  cache.mesh(container->toc()[0]);
  EXPECT_FALSE(cache.variants().isSettled());
}

TEST(Variants, VerifyReportsTheVariantsThatWereMet) {
  MemoryStorage storage;
  const struct {
    unsigned large;
    unsigned small;
    const char* message;
  } cases[] = {{3, 3, "the surfaces of the file are walked in variant 3 or 7, not"},
               {0, 3, "some surfaces of the file are walked in variant 3, the others"},
               {3, 0, "the surfaces of the file are walked in variant 3 or 7, not"},
               {0, 0, nullptr}};
  for (const auto& [large, small, message] : cases) {
    SCOPED_TRACE(std::to_string(large) + " " + std::to_string(small));
    storage["file"] = fileOf({{torus(16, 13, 4), small}, {torus(24, 19, 4), large}});
    const auto findings = jt::verify(MemoryLocation("file"));
    ASSERT_EQ(findings.size(), message ? 1U : 0U);
    if (message) {
      EXPECT_EQ(findings[0].message.find(message), 0U) << findings[0].message;
    }
  }
}

}  // namespace
