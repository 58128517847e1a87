#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>

#include "RTTran3D.h"

namespace {

constexpr RTVec3D point(1, 2, 3);

void expectNear(const RTVec3D& actual, const RTVec3D& expected, double tolerance = 1e-12) {
  EXPECT_NEAR(actual.x, expected.x, tolerance);
  EXPECT_NEAR(actual.y, expected.y, tolerance);
  EXPECT_NEAR(actual.z, expected.z, tolerance);
}

void expectUnit(const RTTran3D& t, double tolerance) {
  for (std::size_t i = 0; i < 16; ++i) {
    EXPECT_NEAR(t.values()[i], RTTran3D::unit.values()[i], tolerance) << "place " << i + 1;
  }
}

}  // namespace

// x' = -y + 10, y' = x + 20, z' = z + 30: a quarter turn about z, then a move.
TEST(RTTran3D, NumbersAreRowByRowForColumnVectors) {
  const std::array<double, 16> numbers{0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30, 0, 0, 0, 1};
  const RTTran3D t(numbers);
  EXPECT_EQ(t, RTTran3D::fromPlacement(10, 20, 30, 0, 0, 90));
  EXPECT_EQ(t, RTTran3D({0, 1, 0}, {-1, 0, 0}, {0, 0, 1}, {10, 20, 30}));
  EXPECT_EQ(t.getTranslation(), RTVec3D(10, 20, 30));
  EXPECT_EQ(t.transformPoint(point), RTVec3D(8, 21, 33));
  EXPECT_EQ(t.transformDirection(point), RTVec3D(-2, 1, 3));
  EXPECT_EQ(t.xAxis(), RTVec3D(0, 1, 0));
  EXPECT_EQ(t.yAxis(), RTVec3D(-1, 0, 0));
  EXPECT_EQ(t.transposed()(3, 1), 20);
  EXPECT_EQ(t.transposed().transposed(), t);
}

TEST(RTTran3D, AnglesTurnAboutFixedXThenYThenZ) {
  struct Case {
    double rx, ry, rz;
    RTVec3D expected;
  };
  for (const Case& c :
       {Case{90, 0, 0, {1, -3, 2}}, Case{0, 90, 0, {3, 2, -1}}, Case{0, 0, -90, {2, -1, 3}},
        Case{90, 90, 0, {2, -3, -1}}, Case{90, 90, 90, {3, 2, -1}}, Case{180, 0, 0, {1, -2, -3}},
        Case{360, -360, 720, {1, 2, 3}}}) {
    EXPECT_EQ(RTTran3D::fromPlacement(0, 0, 0, c.rx, c.ry, c.rz).transformPoint(point), c.expected)
        << c.rx << " " << c.ry << " " << c.rz;
  }
  const RTTran3D all = RTTran3D::fromPlacement(0, 0, 0, 10, 20, 30);
  const RTTran3D steps = RTTran3D::fromPlacement(0, 0, 0, 0, 0, 30) *
                         RTTran3D::fromPlacement(0, 0, 0, 0, 20, 0) *
                         RTTran3D::fromPlacement(0, 0, 0, 10, 0, 0);
  expectNear(all.transformPoint(point), steps.transformPoint(point));
}

TEST(RTTran3D, InAProductTheRightOneActsFirst) {
  const RTTran3D turn = RTTran3D::fromPlacement(0, 0, 0, 0, 0, 90);
  const RTTran3D move = RTTran3D::fromTranslation({5, 0, 0});
  EXPECT_EQ((move * turn).transformPoint({1, 0, 0}), RTVec3D(5, 1, 0));
  EXPECT_EQ((turn * move).transformPoint({1, 0, 0}), RTVec3D(0, 6, 0));
  RTTran3D squared = turn;
  squared *= squared;
  EXPECT_EQ(squared.transformPoint(point), RTVec3D(-1, -2, 3));
}

TEST(RTTran3D, InverseUndoesRigidScaledShearedAndProjective) {
  const RTTran3D rigid = RTTran3D::fromPlacement(1e6, -2e6, 3e6, 11, 22, 33);
  RTTran3D sheared = rigid;
  sheared(0, 1) += 0.7;
  RTTran3D projective = RTTran3D::fromPlacement(1, 2, 3, 40, 50, 60);
  projective(3, 0) = 0.25;
  projective(3, 3) = 2;
  RTTran3D tiny;  // metres of a model in kilometres: small, but not singular
  for (std::size_t i = 0; i < 3; ++i) tiny(i, i) = 1e-9;
  for (const RTTran3D& t : {rigid, sheared, projective, tiny}) {
    const auto inverse = t.tryInverse();
    ASSERT_TRUE(inverse);
    expectUnit(*inverse * t, 1e-8);
    expectUnit(t * *inverse, 1e-8);
  }
  EXPECT_EQ(RTTran3D::fromPlacement(10, 20, 30, 0, 0, 90).inverse().transformPoint({8, 21, 33}),
            point);
}

TEST(RTTran3D, SingularAndUndefinedMatricesAreReported) {
  RTTran3D flat(RTVec3D(1, 2, 3), RTVec3D(4, 5, 6), RTVec3D(5, 7, 9), RTVec3D(1, 1, 1));
  RTTran3D noAxis;
  noAxis(1, 1) = 0;
  RTTran3D noLastRow;
  noLastRow(3, 3) = 0;
  RTTran3D notANumber;
  notANumber(0, 3) = std::numeric_limits<double>::quiet_NaN();
  RTTran3D infinite;
  infinite(0, 0) = std::numeric_limits<double>::infinity();
  for (const RTTran3D& t : {flat, noAxis, noLastRow, notANumber, infinite}) {
    EXPECT_FALSE(t.tryInverse());
    EXPECT_EQ(t.inverse(), RTTran3D::unit);
  }
}

TEST(RTTran3D, ProjectivePointsAreDivided) {
  RTTran3D t;
  t(3, 3) = 2;
  EXPECT_EQ(t.transformPoint({2, 4, 6}), point);
}

TEST(RTVec3D, CrossProductIsRightHandedAndNormalizeKeepsZero) {
  EXPECT_EQ(RTVec3D(1, 0, 0) && RTVec3D(0, 1, 0), RTVec3D(0, 0, 1));
  EXPECT_EQ(dot({1, 2, 3}, {4, 5, 6}), 32);
  RTVec3D v(0, 3, 4);
  EXPECT_EQ(v.normalize(), 5);
  EXPECT_EQ(v, RTVec3D(0, 0.6, 0.8));
  RTVec3D zero;
  EXPECT_EQ(zero.normalize(), 0);
  EXPECT_EQ(zero, RTVec3D());
}
