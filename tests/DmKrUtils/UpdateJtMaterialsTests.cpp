#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <vector>

#include "DmKrUtilsUpdateJtMaterials.h"
#include "JtInstance.h"
#include "JtMaterial.h"
#include "JtShape.h"
#include "support/FileBuilder.h"

namespace {

using jt::Rgba;
using jt::file::Format;
using Result = DmKrUtilsUpdateJtMaterials::Result;

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinite = std::numeric_limits<float>::infinity();

std::vector<std::size_t> counts(const Result& result) {
  return {result.materials,  result.clamped,         result.completed,
          result.alphaMoved, result.overridesStated, result.shared};
}

/// Converts; a second run, and one over the saved and reopened file, must change nothing.
std::vector<std::size_t> converted(JtPartition& partition, bool isInUse = false) {
  Result result;
  EXPECT_TRUE(DmKrUtilsUpdateJtMaterials(isInUse).execute(&partition, result));
  Result again;
  EXPECT_TRUE(DmKrUtilsUpdateJtMaterials(isInUse).execute(&partition, again));
  EXPECT_FALSE(again.hasChanges());
  MemoryStorage storage;
  const auto reopened = storage.open(storage.saved(partition));
  EXPECT_TRUE(DmKrUtilsUpdateJtMaterials(false).execute(reopened.get(), again));
  EXPECT_FALSE(again.hasChanges() && !isInUse);
  EXPECT_FALSE(reopened->isContentModified() && !isInUse);
  return counts(result);
}

std::shared_ptr<const jt::Mesh> triangle(bool colored) {
  const auto mesh = std::make_shared<jt::Mesh>();
  mesh->positions = {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}};
  mesh->corners = {0, 1, 2};
  if (!colored) return mesh;
  mesh->colors = {{1, 0, 0, 1}};
  mesh->records = {0, 0, 0};
  return mesh;
}

struct StoredMaterial {
  Rgba ambient;
  Rgba diffuse;
  std::uint32_t inhibit = 0;
  std::uint16_t flags = 0x39a0;
};

/// A file with one group that has the material.
Bytes fileWith(const Format& format, const StoredMaterial& stored) {
  using jt::file::Feature;
  SceneBuilder scene(format);
  const auto color = [](Fields& fields, const Rgba& value) {
    fields.f32({value[0], value[1], value[2], value[3]});
  };
  Fields material = scene.fields().version().put(std::uint8_t{8}).put(stored.inhibit);
  if (format.has(Feature::fieldFinal)) material.i32(0);
  material.version(format.major == 9 ? 2 : 1).put(stored.flags);
  color(material, stored.ambient);
  color(material, stored.diffuse);
  material.f32({.3F, .3F, .3F, 1, 0, 0, 0, 1, 30});
  if (format.major > 8) material.f32({0});
  if (format.major > 9) material.f32({1});
  scene.partition(1, {2}).group(2, {}, {3}).element(SceneBuilder::kMaterial, 3, 3, material);
  return FileBuilder(format).scene(scene.marker().marker().table({})).build();
}

TEST(UpdateMaterials, BringsTheColorsOfEachGenerationToTodaysForm) {
  constexpr std::uint32_t kNoDiffuse9 = 0x02;
  constexpr std::uint32_t kNoDiffuse10 = 0x40;
  constexpr std::uint32_t kNoAlpha10 = 0x80;
  const Rgba red{.8F, .1F, .1F, 1};
  const Rgba glass{.8F, .1F, .1F, .25F};
  const Rgba gray{.5F, .5F, .5F, 1};
  struct Case {
    const char* what;
    int major;
    StoredMaterial stored;
    Rgba ambient;
    Rgba diffuse;
    std::vector<std::size_t> counts;
  };
  const Case cases[] = {
      {"nothing to do", 9, {red, gray}, red, gray, {1, 0, 0, 0, 0, 0}},
      {"out of range",
       10,
       {{2, -1, kNan, kNan}, {kInfinite, .5F, -kInfinite, 7}},
       {1, 0, 0, 1},
       {1, .5F, 0, 1},
       {1, 1, 0, 0, 0, 0}},
      {"only ambient, 8.x", 8, {red, gray, kNoDiffuse9}, red, red, {1, 0, 1, 0, 0, 0}},
      {"only ambient, 9.x", 9, {red, gray, 0x80}, red, red, {1, 0, 1, 0, 0, 0}},
      {"only ambient, 10.x", 10, {red, gray, kNoDiffuse10}, red, red, {1, 0, 1, 0, 0, 0}},
      {"a bit that says specular in 10.x", 10, {red, gray, 2}, red, gray, {1, 0, 0, 0, 0, 0}},
      {"only diffuse", 9, {gray, glass, 1}, red, glass, {1, 0, 1, 0, 0, 0}},
      {"neither", 10, {red, gray, kNoDiffuse10 | 1}, red, gray, {1, 0, 0, 0, 0, 0}},
      {"opacity in ambient", 10, {glass, gray}, red, {.5F, .5F, .5F, .25F}, {1, 0, 0, 1, 0, 0}},
      {"only ambient, with opacity", 8, {glass, gray, kNoDiffuse9}, red, glass, {1, 0, 1, 1, 0, 0}},
      {"opacity left open",
       10,
       {glass, {.5F, .5F, .5F, .9F}, kNoAlpha10},
       red,
       {.5F, .5F, .5F, .25F},
       {1, 0, 0, 1, 0, 0}},
      {"opacity in both", 9, {glass, {1, 1, 1, .5F}}, glass, {1, 1, 1, .5F}, {1, 0, 0, 0, 0, 0}},
      {"ambient alpha 0", 9, {{1, 1, 1, 0}, gray}, {1, 1, 1, 0}, gray, {1, 0, 0, 0, 0, 0}},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.what);
    MemoryStorage storage;
    const Format format{expected.major, expected.major == 9 ? 5 : expected.major == 8, false};
    const auto partition = storage.open(fileWith(format, expected.stored));
    EXPECT_EQ(converted(*partition), expected.counts);
    const auto* material = jt::as<JtMaterial>(partition->child(0)->attribute(0));
    ASSERT_NE(material, nullptr);
    EXPECT_EQ(material->ambient(), expected.ambient);
    EXPECT_EQ(material->diffuse(), expected.diffuse);
    EXPECT_TRUE(expected.counts[2] == 0 || (material->states(JtMaterialField::ambient) &&
                                            material->states(JtMaterialField::diffuse)));
    EXPECT_EQ(material->blending(), expected.counts[3] != 0);
  }
}

TEST(UpdateMaterials, ReportsWhetherAMaterialHidesVertexColors) {
  struct Case {
    const char* what;
    int major;
    std::uint32_t inhibit;
    bool isColored;
    bool isHiddenAbove;  // by a material on the partition
    bool states;
    bool hides;
  };
  const Case cases[] = {
      {"says it", 9, 0, true, false, true, true},
      {"open, 9.x", 9, 0x20, true, false, true, false},
      {"open, 10.x", 10, 0x10, true, false, true, false},
      {"hidden by what it inherits", 10, 0x10, true, true, true, true},
      {"no vertex colors", 10, 0x10, false, true, false, true},
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.what);
    MemoryStorage storage;
    const Format format{expected.major, expected.major == 9 ? 5 : 0, false};
    const auto partition = storage.open(
        fileWith(format, {{.5F, .5F, .5F, 1}, {.5F, .5F, .5F, 1}, expected.inhibit, 0x39a0}));
    const auto shape = jt::makeShape(triangle(expected.isColored));
    auto* vertices = jt::as<JtVertexShape>(shape.get());
    vertices->setVertexBindings(2);  // as producers do: only the geometry knows
    jt::as<JtGroup>(partition->child(0))->addChild(shape.get());
    if (expected.isHiddenAbove) partition->appendAttribute(jt::make<JtMaterial>().get());
    const auto result = converted(*partition);
    const auto* material = jt::as<JtMaterial>(partition->child(0)->attribute(0));
    EXPECT_EQ(result[4], expected.inhibit != 0 && expected.isColored ? 1U : 0U);
    EXPECT_EQ(material->states(JtMaterialField::overrideVertexColors), expected.states);
    EXPECT_EQ(material->overrideVertexColors(), expected.hides);
  }
}

TEST(UpdateMaterials, EqualOnesBecomeOneUnlessSomebodyHoldsThem) {
  const auto painted = [](JtGroup& parent, float blue) {
    const auto material = jt::make<JtMaterial>();
    material->setDiffuseColor(0, 0, blue);
    const auto node = jt::make<JtGroup>();
    node->appendAttribute(material.get());
    parent.addChild(node.get());
    return material.get();
  };
  for (const bool isInUse : {false, true}) {
    const auto top = jt::make<JtPartition>();
    painted(*top, 1);
    const jt::Ref<JtMaterial> held(painted(*top, 1));
    painted(*top, .5F);
    painted(*top, 2);  // equal once it is in range
    painted(*top, 1)->setForce(true);
    EXPECT_EQ(converted(*top, isInUse),
              (std::vector<std::size_t>{5, 1, 0, 0, 0, isInUse ? 1U : 2U}));
    EXPECT_EQ(top->child(1)->attribute(0) == held.get(), isInUse);
    EXPECT_EQ(top->child(3)->attribute(0), top->child(0)->attribute(0));
    EXPECT_NE(top->child(4)->attribute(0), top->child(0)->attribute(0));
  }
  Result result;
  EXPECT_FALSE(DmKrUtilsUpdateJtMaterials(false).execute(nullptr, result));
}

TEST(UpdateMaterials, WorkGrowsWithTheGraphAndNotWithItsPathsOrDepth) {
  constexpr int kLevels = 100'000;
  const auto top = jt::make<JtPartition>();
  JtGroup* level = top.get();
  for (int i = 0; i < kLevels; ++i) {
    const auto next = jt::make<JtGroup>();
    const auto material = jt::make<JtMaterial>();
    material->setDiffuseColor(0, 0, static_cast<float>(i % 100) / 100);
    next->appendAttribute(material.get());
    level->addChild(next.get());
    if (i % 1000 < 60) level->addChild(next.get());
    level = next.get();
  }
  Result result;
  EXPECT_TRUE(DmKrUtilsUpdateJtMaterials(true).execute(top.get(), result));
  EXPECT_EQ(counts(result), (std::vector<std::size_t>{kLevels, 0, 0, 0, 0, kLevels - 100}));
}

}  // namespace
