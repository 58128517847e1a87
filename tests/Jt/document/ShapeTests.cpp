// Geometry as part of the scene graph: read from the segments of a file, set, saved, shared,
// damaged.

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <nlohmann/json.hpp>
#include <thread>

#include "Jt.h"
#include "JtInspect.h"
#include "JtLOD.h"
#include "JtMaterial.h"
#include "JtResidencyRequestManager.h"
#include "file/shapes/ShapeSegment.h"
#include "support/Differences.h"
#include "support/Meshes.h"
#include "support/ShapeFiles.h"
#include "support/ShapeScene.h"

namespace {

using jt::Mesh;
using jt::file::Format;

std::shared_ptr<const Mesh> shared(Mesh mesh) {
  return std::make_shared<const Mesh>(std::move(mesh));
}

JtShape* shapeOf(const jt::Ref<JtPartition>& root, int index = 0) {
  return jt::as<JtShape>(root->child(index));
}

std::size_t shapeSegments(const jt::Ref<JtPartition>& root) {
  return static_cast<std::size_t>(std::ranges::count_if(
      root->container()->toc(),
      [](const auto& entry) { return jt::file::isShapeSegment(entry.type()); }));
}

Mesh square(float size = 1) {
  Mesh mesh;
  mesh.positions = {{0, 0, 0}, {size, 0, 0}, {size, size, 0}, {0, size, 0}};
  mesh.normals = {{0, 0, 1}};
  mesh.corners = {0, 1, 2, 0, 2, 3};
  mesh.records.assign(6, 0);
  return mesh;
}

struct OpenedVector {
  ShapeVector vector;
  Format format;
  Mesh mesh;  ///< decoded without a file around it
  Bytes file;
};

std::vector<OpenedVector> vectorFiles() {
  std::vector<OpenedVector> all;
  for (ShapeVector& vector : shapeVectors()) {
    const int generation = nlohmann::json::parse(vector.expected)["generation"];
    const Format format{generation, generation == 8 ? 1 : generation == 9 ? 5 : 0, false};
    jt::codec::VariantChoice variants;
    Mesh mesh = readShape(vector.bytes, format, variants).mesh;
    const auto node = jt::makeShape(shared(mesh));
    Bytes file = shapeFile(format, *node, vector.bytes);
    all.push_back({std::move(vector), format, std::move(mesh), std::move(file)});
  }
  return all;
}

TEST(Shapes, OfFilesAreDecodedOnDemandAndKeepTheirBytes) {
  MemoryStorage storage;
  for (const OpenedVector& one : vectorFiles()) {
    SCOPED_TRACE(one.vector.name);
    const auto root = storage.open(one.file);
    const JtShape* shape = shapeOf(root);
    ASSERT_TRUE(shape && shape->hasMesh());
    const auto mesh = shape->mesh();
    ASSERT_TRUE(mesh) << jt::lastError();
    EXPECT_EQ(contentOf(*mesh), contentOf(one.mesh));
    EXPECT_EQ(shape->mesh(), mesh);  // decoded once
    // A save that changes the scene graph copies the segment.
    root->growBounds();
    const auto key = jt::make<JtStringPropAtom>(JtString(Jt::jtPropName));
    root->addProperty(key.get(), key.get(), true);
    const auto again = storage.open(storage.saved(*root));
    const auto stored = again->container()->segmentBytes(again->container()->toc()[1]);
    EXPECT_TRUE(std::ranges::equal(stored.subspan(jt::file::kSegmentHeaderSize), one.vector.bytes));
  }
}

TEST(Shapes, SetGeometryIsSavedWithNodeDataThatFollowsIt) {
  MemoryStorage storage;
  for (const OpenedVector& one : vectorFiles()) {
    SCOPED_TRACE(one.vector.name);
    const auto root = storage.open(one.file);
    JtShape* shape = shapeOf(root);
    Mesh other = *shape->mesh();
    for (jt::Vec3f& position : other.positions) position[0] *= 2;
    const auto old = root->container()->toc()[1].id;
    shape->setMesh(shared(other));
    EXPECT_EQ(contentOf(*shape->mesh()), contentOf(other));
    const auto again = storage.open(storage.saved(*root));
    const JtShape* back = shapeOf(again);
    ASSERT_TRUE(back && back->mesh()) << jt::lastError();
    EXPECT_EQ(contentOf(*back->mesh(), false), contentOf(other, false));
    EXPECT_EQ(back->statistics().box, jt::file::statisticsOf(other).box);
    EXPECT_EQ(back->statistics().vertices.max, static_cast<int>(other.corners.size()));
    const auto* vertexShape = jt::as<JtVertexShape>(static_cast<const JtBase*>(back));
    EXPECT_EQ((vertexShape->vertexBindings() & 8) != 0, !other.normals.empty());
    EXPECT_EQ(again->container()->find(old), nullptr);  // a new id: the old segment is gone
    EXPECT_EQ(shapeSegments(again), 1U);
  }
}

RC_GTEST_PROP(Shapes, RandomMeshesSurviveSavingInEveryEncoding, (bool compact)) {
  MemoryStorage storage;
  const auto version =
      *rc::gen::element(jt::FileVersion{8, 1}, jt::FileVersion{9, 5}, jt::FileVersion{10, 0});
  Mesh mesh = randomMesh();
  if (version.major == 8) {  // has no room for them
    mesh.flags.clear();
    mesh.groups.clear();
  }
  const auto root = jt::make<JtPartition>();
  root->setVersion(version);
  jt::ShapeEncoding encoding;
  if (compact) encoding.profile = jt::ShapeEncoding::Profile::compact;
  root->setShapeEncoding(encoding);
  root->addChild(jt::makeShape(shared(mesh)).get());
  const auto lossless = storage.open(storage.saved(*root));
  RC_ASSERT(contentOf(*shapeOf(lossless)->mesh()) == contentOf(mesh));
  encoding.positionBits = *rc::gen::inRange(8U, 25U);
  encoding.normalBits = 13;
  root->setShapeEncoding(encoding);
  const auto quantized = storage.open(storage.saved(*root));
  const auto before = jt::file::statisticsOf(mesh).box;
  const auto after = jt::file::statisticsOf(*shapeOf(quantized)->mesh()).box;
  if (before.isValid()) {
    const float step = 41.0F / static_cast<float>((1U << encoding.positionBits) - 1) + 1e-4F;
    for (std::size_t axis = 0; axis < 3; ++axis)
      RC_ASSERT(std::abs(before.max[axis] - after.max[axis]) <= step);
  }
}

TEST(Shapes, QuantizedInEightTheSceneIsTheSameWithinAStep) {
  MemoryStorage storage;
  const auto root = jt::make<JtPartition>();
  root->addChild(jt::makeShape(shared(grid(20, 20, false, true, {}, true))).get());
  Mesh lines = square();
  lines.kind = Mesh::Kind::polylines;
  lines.starts = {0, 4, 6};
  root->addChild(jt::makeShape(shared(lines)).get());
  lines.kind = Mesh::Kind::points;
  root->addChild(jt::makeShape(shared(lines)).get());
  root->setVersion({9, 5});
  const auto lossless = storage.open(storage.saved(*root));
  jt::CompareOptions tolerant;
  tolerant.tolerance = 0.01;
  for (const bool compact : {false, true})
    for (const jt::FileVersion version : {jt::FileVersion{8, 1}, {8, 2}}) {
      jt::ShapeEncoding encoding{.positionBits = 12, .normalBits = 9};
      if (compact) encoding.profile = jt::ShapeEncoding::Profile::compact;
      root->setShapeEncoding(encoding);
      root->setVersion(version);
      const auto back = storage.open(storage.saved(*root));
      EXPECT_TRUE(jt::verify(MemoryLocation("opened")).empty());
      EXPECT_EQ(Differences(*lossless, *back, tolerant).lines(), std::vector<std::string>());
      EXPECT_FALSE(Differences(*lossless, *back).result().isSame());
      const auto& container = *back->container();
      jt::codec::VariantChoice variants;
      EXPECT_EQ(readShapeSegment(container, container.toc()[1], variants).bits,
                (jt::codec::QuantizationParameters{12, 9, 0, 0}));
    }
}

TEST(Shapes, SegmentsAreSharedAndNamedByTheirLevel) {
  MemoryStorage storage;
  const auto root = jt::make<JtPartition>();
  const auto lod = jt::make<JtRangeLOD>();
  const auto group = jt::make<JtGroup>();
  const auto mesh = shared(square());
  const auto a = jt::makeShape(mesh);
  const auto b = jt::makeShape(mesh);  // the same mesh: one segment
  const auto c = jt::Ref<JtNode>(jt::as<JtNode>(a->clone().get()));
  const auto coarse = jt::makeShape(shared(square(2)));
  for (JtNode* node : {static_cast<JtNode*>(a.get()), static_cast<JtNode*>(b.get()), c.get()})
    group->addChild(node);
  lod->addChild(group.get());
  lod->addChild(coarse.get());
  root->addChild(lod.get());
  root->addChild(jt::makeShape(shared(square(3))).get());
  root->appendAttribute(jt::make<JtMaterial>().get());
  coarse->appendAttribute(jt::make<JtMaterial>().get());
  // Whatever a save stores otherwise, the scene stays as it was made.
  const auto geometry = [](const JtShape& shape) {
    return jt::as<JtLateLoadedPropAtom>(shape.property(JtString("JT_LLPROP_SHAPEIMPL")));
  };
  const auto* atomOfB = geometry(*b);
  const auto* coarseAtom = geometry(*coarse);
  for (const bool dryRun : {true, false}) {
    jt::SaveOptions options;
    options.dryRun = dryRun;
    storage.saved(*root, options);
    EXPECT_FALSE(root->bounds());
    EXPECT_EQ(geometry(*b), atomOfB);
    EXPECT_NE(atomOfB, geometry(*a));
    EXPECT_EQ(coarseAtom->segmentType(), 7);
  }
  const auto again = storage.open(storage.saved(*root));
  EXPECT_TRUE(again->bounds());
  EXPECT_EQ(again->numAttributes(), 1);
  EXPECT_EQ(again->child(0)->child(1)->numAttributes(), 1);
  std::vector<int> types;
  for (const auto& entry : again->container()->toc()) types.push_back(entry.type());
  EXPECT_EQ(types, (std::vector<int>{1, 7, 8, 6}));
  const auto* read = jt::as<JtGroup>(jt::as<JtGroup>(again->child(0))->child(0));
  const auto first = jt::as<JtShape>(read->child(0))->mesh();
  ASSERT_TRUE(first);
  for (int i = 1; i < 3; ++i) EXPECT_EQ(jt::as<JtShape>(read->child(i))->mesh(), first);
  const jt::ShapeSummary summary = jt::summarizeShapes(*again);
  EXPECT_EQ(summary.all.shapes, 5U);
  EXPECT_EQ(summary.triangles, 8U);  // of the finest level and outside levels
  EXPECT_EQ(summary.byType.at("Tri-Strip Set Shape Node"), 5U);
  std::vector<std::pair<int, std::size_t>> counts;
  for (const auto& level : summary.levels) {
    counts.emplace_back(level.level.value_or(-1), level.shapes);
    EXPECT_GT(level.bytes, 100U);
  }
  EXPECT_EQ(counts, (std::vector<std::pair<int, std::size_t>>{{0, 3}, {1, 1}, {-1, 1}}));
}

TEST(Shapes, WhatCannotBeIsRefusedWithoutEffect) {
  const auto shape = jt::makeShape(shared(square()));
  Mesh bad = square();
  bad.corners[0] = 4;
  Mesh lines = square();
  lines.kind = Mesh::Kind::polylines;
  lines.starts = {0, 6};
  for (const Mesh& mesh : {bad, lines})
    EXPECT_EQ(errorCode([&] { shape->setMesh(shared(mesh)); }), "bad_mesh");
  EXPECT_EQ(errorCode([] { jt::make<JtNullShape>()->setMesh(shared(square())); }), "bad_mesh");
  EXPECT_EQ(contentOf(*shape->mesh()), contentOf(square()));
  const auto root = jt::make<JtPartition>();
  using Set = void (*)(jt::ShapeEncoding&);
  for (const Set set : std::initializer_list<Set>{
           [](auto& e) { e.positionBits = 25; }, [](auto& e) { e.normalBits = 14; },
           [](auto& e) { e.textureBits = 0; }, [](auto& e) { e.colorBits = 9; }}) {
    jt::ShapeEncoding encoding;
    set(encoding);
    EXPECT_EQ(errorCode([&] { root->setShapeEncoding(encoding); }), "bad_encoding");
  }
  EXPECT_FALSE(root->shapeEncoding());
  shape->setMesh(nullptr);
  EXPECT_FALSE(shape->hasMesh() || shape->mesh());
}

TEST(Shapes, ADamagedOneIsOneErrorAndTheRestStaysUsable) {
  MemoryStorage storage;
  for (const OpenedVector& one : vectorFiles()) {
    SCOPED_TRACE(one.vector.name);
    const auto root = jt::make<JtPartition>();
    root->setVersion({one.format.major, one.format.minor});
    root->addChild(jt::makeShape(shared(one.mesh)).get());
    root->addChild(jt::makeShape(shared(one.mesh)).get());
    Bytes file = storage.saved(*root);
    const auto whole = storage.open(file);
    const auto entry = whole->container()->toc()[1];
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(entry.offset);
    std::fill(begin + 66, begin + entry.length, std::byte{0xff});  // behind the element's head
    const auto damaged = storage.open(file);
    for (int i = 0; i < 2; ++i) {  // every time
      jt::setLastError({});
      EXPECT_FALSE(shapeOf(damaged)->mesh());
      EXPECT_NE(jt::lastError().find(entry.id.text()), std::string::npos) << jt::lastError();
    }
    ASSERT_TRUE(shapeOf(damaged, 1)->mesh());
    shapeOf(damaged, 1)->setMesh(shared(one.mesh));
    const auto again = storage.open(storage.saved(*damaged));
    EXPECT_TRUE(shapeOf(again, 1)->mesh());
    EXPECT_TRUE(std::ranges::equal(again->container()->segmentBytes(again->container()->toc()[1]),
                                   damaged->container()->segmentBytes(entry)));
  }
}

TEST(Shapes, AreLoadedAheadWhereThatIsSwitchedOn) {
  MemoryStorage storage;
  const auto root = jt::make<JtPartition>();
  constexpr int kShapes = 40;
  for (int i = 0; i < kShapes; ++i)
    root->addChild(jt::makeShape(shared(square(static_cast<float>(i + 1)))).get());
  Bytes file = storage.saved(*root);
  const auto last = storage.open(file)->container()->toc().back();
  const auto begin = file.begin() + static_cast<std::ptrdiff_t>(last.offset);
  std::fill(begin + 66, begin + last.length, std::byte{0xff});
  auto& manager = JtResidencyRequestManager::instance();
  manager.stop();
  for (const bool isOn : {false, true}) {
    JtPartition::_autoLoadShapes = isOn;
    const auto opened = storage.open(file);
    std::vector<std::shared_ptr<const Mesh>> meshes;  // beside the threads of the manager
    for (int i = 0; i < kShapes; ++i) meshes.push_back(shapeOf(opened, i)->mesh());
    manager.waitForAll();
    EXPECT_EQ(manager.failures(), isOn ? 1U : 0U);  // the damaged one: it was looked at
    for (int i = 0; i < kShapes; ++i) {
      EXPECT_EQ(shapeOf(opened, i)->mesh(), meshes[static_cast<std::size_t>(i)]);
      EXPECT_EQ(meshes[static_cast<std::size_t>(i)] != nullptr, i + 1 < kShapes);
    }
  }
  for (int i = 0; i < 20; ++i) storage.open(file)->close();  // while loads run
  manager.waitForAll();
  manager.stop();
}

TEST(Levels, AreChosenByNumberAndByDistance) {
  const auto lod = jt::make<JtRangeLOD>();
  EXPECT_EQ(lod->childForLevel(0), nullptr);
  EXPECT_EQ(lod->childForDistance(1), nullptr);
  for (int i = 0; i < 3; ++i) lod->addChild(jt::make<JtGroup>().get());
  lod->setRangeLimits({10, 20});
  struct Choice {
    float distance;
    int child;
  };
  for (const auto& [distance, child] :
       {Choice{-1, 0}, {0, 0}, {10, 0}, {10.5F, 1}, {20, 1}, {1e30F, 2}, {std::nanf(""), 0}})
    EXPECT_EQ(lod->childForDistance(distance), lod->child(child)) << distance;
  lod->setRangeLimits({1, 2, 3, 4});
  EXPECT_EQ(lod->childForDistance(9), lod->child(2));
  EXPECT_EQ(lod->childForLevel(1), lod->child(1));
  EXPECT_EQ(lod->childForLevel(4000000000U), lod->child(2));
}

TEST(Shapes, AreDecodedOnceHoweverManyThreadsAsk) {
  MemoryStorage storage;
  const auto root = jt::make<JtPartition>();
  for (int i = 0; i < 8; ++i)
    root->addChild(jt::makeShape(shared(square(static_cast<float>(i + 1)))).get());
  const auto opened = storage.open(storage.saved(*root));
  std::vector<std::vector<std::shared_ptr<const Mesh>>> seen(4);
  {
    std::vector<std::jthread> threads;
    for (auto& meshes : seen)
      threads.emplace_back([&] {
        for (int i = 0; i < 8; ++i) meshes.push_back(shapeOf(opened, i)->mesh());
      });
  }
  for (const auto& meshes : seen) EXPECT_EQ(meshes, seen[0]);
  const std::weak_ptr<const Mesh> first = seen[0][0];
  seen.clear();
  EXPECT_FALSE(first.expired());
  shapeOf(opened)->releaseMesh();
  EXPECT_TRUE(first.expired());
  EXPECT_TRUE(shapeOf(opened)->mesh());
}

}  // namespace
