#include <gtest/gtest.h>

#include "JtInstance.h"
#include "JtPartition.h"
#include "JtXform.h"
#include "VisPartNode.h"

namespace {

jt::Ref<JtNullShape> boxShape(float x, float y, float z) {
  auto shape = jt::make<JtNullShape>();
  jt::ShapeStatistics statistics;
  statistics.box = {{0, 0, 0}, {x, y, z}};
  shape->setStatistics(statistics);
  return shape;
}

void move(JtNode& node, const jt::Matrix4& matrix) {
  node.appendAttribute(jt::make<JtXform>(matrix).get());
}

TEST(Bounds, FollowTheTransformsOfEveryOccurrence) {
  const auto partition = jt::make<JtPartition>();
  const auto part = jt::make<VisPartNode>();
  part->addChild(boxShape(1, 2, 3).get());
  EXPECT_FALSE(partition->computeBounds());
  for (const jt::Matrix4& matrix : {jt::Matrix4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1},
                                    // A quarter turn about z: x goes to y, y to -x.
                                    jt::Matrix4{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 5, 0, 0, 1}}) {
    const auto instance = jt::make<JtInstance>();
    instance->setChild(part.get());
    move(*instance, matrix);
    partition->addChild(instance.get());
  }
  EXPECT_EQ(partition->computeBounds(), (jt::Box{{3, 0, 0}, {11, 22, 33}}));
}

TEST(Bounds, HoldAllCornersOfATurnedBox) {
  const auto partition = jt::make<JtPartition>();
  const auto instance = jt::make<JtInstance>();
  instance->setChild(boxShape(1, 2, 3).get());
  // About z by the angle with cosine 0.6 and sine 0.8.
  move(*instance, {0.6, 0.8, 0, 0, -0.8, 0.6, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1});
  partition->addChild(instance.get());
  partition->addChild(boxShape(11, 4, 5).get());
  const auto box = partition->computeBounds();
  ASSERT_TRUE(box);
  const jt::Vec3f expected[] = {{0, 0, 0}, {11, 22, 33}};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_FLOAT_EQ(box->min[axis], expected[0][axis]);
    EXPECT_FLOAT_EQ(box->max[axis], expected[1][axis]);
  }
  partition->removeChild(1);
  const auto turned = partition->computeBounds();
  ASSERT_TRUE(turned);
  EXPECT_FLOAT_EQ(turned->min[0], 10 - 1.6F);
  EXPECT_FLOAT_EQ(turned->max[0], 10.6F);
  EXPECT_FLOAT_EQ(turned->min[1], 20);
  EXPECT_FLOAT_EQ(turned->max[1], 22);
}

TEST(Bounds, AreTightWhereTurnsUndoEachOther) {
  const auto partition = jt::make<JtPartition>();
  const auto outer = jt::make<JtInstance>();
  const auto inner = jt::make<JtInstance>();
  inner->setChild(boxShape(1, 2, 3).get());
  outer->setChild(inner.get());
  move(*inner, {0.6, -0.8, 0, 0, 0.8, 0.6, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1});
  move(*outer, {0.6, 0.8, 0, 0, -0.8, 0.6, 0, 0, 0, 0, 1, 0, 10, 20, 30, 1});
  partition->addChild(outer.get());
  const auto box = partition->computeBounds();
  ASSERT_TRUE(box);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_FLOAT_EQ(box->min[axis], static_cast<float>(10 * (axis + 1)));
    EXPECT_FLOAT_EQ(box->max[axis], static_cast<float>(11 * (axis + 1)));
  }
}

TEST(Bounds, StoredExtentGrowsAndNeverShrinks) {
  const auto partition = jt::make<JtPartition>();
  partition->addChild(boxShape(1, 1, 1).get());
  partition->setBounds({{-5, 0, 0}, {0.5F, 1, 1}});
  partition->growBounds();
  EXPECT_EQ(partition->bounds(), (jt::Box{{-5, 0, 0}, {1, 1, 1}}));
}

}  // namespace
