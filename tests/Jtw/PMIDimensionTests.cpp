#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

#include <cmath>
#include <limits>

#include "JtkwPMIDimensionData.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

JtkwPMIArrow arrow(const RTVec3D& head, const RTVec3D& left, const RTVec3D& right) {
  JtkwPMIArrow made;
  made.setHeadPoint(head);
  made.setBaseLeftPoint(left);
  made.setBaseMidPoint((left + right) * 0.5);
  made.setBaseRightPoint(right);
  return made;
}

/// Lines and arrows that live as long as the lists that point to them.
struct Drawing {
  std::vector<JtkwPMILine> lines;
  std::vector<JtkwPMIArrow> arrows;

  JtkwPMIDimensionData::Lines linePointers() {
    JtkwPMIDimensionData::Lines list{nullptr};
    for (auto& line : lines) list.push_back(&line);
    return list;
  }
  JtkwPMIDimensionData::Arrows arrowPointers() {
    JtkwPMIDimensionData::Arrows list{nullptr};
    for (auto& a : arrows) list.push_back(&a);
    return list;
  }
  bool calculate(JtkwPMIDimensionData& data, bool isAngular) {
    return isAngular ? data.calculateAngularDimensionPlane(linePointers(), arrowPointers())
                     : data.calculateDimensionPlane(linePointers(), arrowPointers());
  }
  Drawing through(const RTTran3D& t) const {
    Drawing moved;
    for (const auto& l : lines)
      moved.lines.emplace_back(t.transformPoint(l.beginPoint()), t.transformPoint(l.endPoint()));
    for (const auto& a : arrows)
      moved.arrows.push_back(arrow(t.transformPoint(a.headPoint()),
                                   t.transformPoint(a.baseLeftPoint()),
                                   t.transformPoint(a.baseRightPoint())));
    return moved;
  }
};

/// 40 long, 10 above what it measures: two extension lines, a dimension line, arrows at its ends.
Drawing linear() {
  return {{{{0, 0, 0}, {0, 12, 0}}, {{40, 0, 0}, {40, 12, 0}}, {{0, 10, 0}, {40, 10, 0}}},
          {arrow({0, 10, 0}, {3, 11, 0}, {3, 9, 0}), arrow({40, 10, 0}, {37, 9, 0}, {37, 11, 0})}};
}

/// 60 degrees between two legs of one length.
Drawing angular() {
  return {{{{0, 0, 0}, {50, 0, 0}}, {{0, 0, 0}, {25, 25 * std::sqrt(3.0), 0}}},
          {arrow({45, 0, 0}, {44, 3, 0}, {46, 3, 0})}};
}

/// x and y directions of the plane, or two zero vectors when there is none.
std::pair<RTVec3D, RTVec3D> axesOf(Drawing drawing, bool isAngular) {
  JtkwPMIDimensionData data;
  data.setRelLoc(RTTran3D::unit, nullptr);
  const bool found = drawing.calculate(data, isAngular);
  EXPECT_EQ(found, data.pointOnXDirection() != RTVec3D());
  return {data.pointOnXDirection(), data.pointOnYDirection()};
}

TEST(PMIDimension, PlanesByHand) {
  const RTVec3D none, x(1, 0, 0), y(0, 1, 0), z(0, 0, 1);
  Drawing halfCircle{{{{0, 0, 0}, {50, 0, 0}}, {{0, 0, 0}, {-50, 0, 0}}},
                     {arrow({0, 0, 20}, {1, 0, 19}, {1, 0, 21})}};
  Drawing radius{{{{0, 0, 0}, {9, 9, 0}}}, {arrow({0, 0, 5}, {0, 1, 3}, {0, -1, 3})}};
  Drawing linesOnly{{{{0, 0, 0}, {0, 9, 0}}, {{3, 5, 0}, {3, 5, -4}}}, {}};
  Drawing oneHead{
      {}, {arrow({9, 0, 5}, {8, 0, 3}, {10, 0, 3}), arrow({9, 1e-11, 5}, {9, 0, 4}, {9, 0, 4})}};
  Drawing badPart = linear();
  badPart.lines.insert(badPart.lines.begin(), {{0, 0, kNan}, {0, 500, 0}});
  badPart.arrows.insert(badPart.arrows.begin(), arrow({0, 0, -kInf}, {}, {}));
  const struct {
    const char* name;
    Drawing drawing;
    bool isAngular;
    RTVec3D x, y;
  } rows[] = {
      {"feet below the line", linear(), false, x, y * -1},
      {"a leg is x, the other on the side of y", angular(), true, x, y},
      {"180 degrees: the arc is on the side of y", halfCircle, true, x, z},
      {"one arrow", radius, false, z, RTVec3D(std::sqrt(0.5), std::sqrt(0.5), 0)},
      {"no arrow: the longest line", linesOnly, false, y, RTVec3D(0.6, 0, -0.8)},
      {"no arrow: directions, not places", linesOnly, true, y, z * -1},
      {"no lines", {{}, linear().arrows}, true, x, y},
      {"not finite", badPart, false, x, y * -1},
      {"heads are one but for rounding", oneHead, false, z, x * -1},
      {"flat", {{{{0, 0, 0}, {100, 0, 0}}, {{0, 0, 0}, {50, 1e-6, 0}}}, {}}, true, x, y},
      {"too flat", {{{{0, 0, 0}, {100, 0, 0}}, {{0, 0, 0}, {50, 1e-8, 0}}}, {}}, true, none, none},
      {"nothing", {}, false, none, none},
      {"nothing", {}, true, none, none},
      {"a point",
       {{{{1, 2, 3}, {1, 2, 3}}}, {arrow({1, 2, 3}, {1, 2, 3}, {1, 2, 3})}},
       false,
       none,
       none},
      {"zero", {{{{}, {}}}, {arrow({}, {}, {})}}, true, none, none},
      {"one line", {{{{1, 2, 3}, {4, 4, 4}}}, {}}, true, none, none},
      {"only what is not finite", {{{{0, 0, 0}, {kInf, 0, 0}}}, {}}, false, none, none},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    const auto axes = axesOf(row.drawing, row.isAngular);
    EXPECT_LE((axes.first - row.x).length(), 1e-12);
    EXPECT_LE((axes.second - row.y).length(), 1e-12);
  }
}

RTTran3D anyPlacement(double reach) {
  const auto angle = [] { return *rc::gen::inRange(-180, 181); };
  const auto move = [reach] { return *rc::gen::inRange(-1000, 1001) * reach / 1000; };
  return RTTran3D::fromPlacement(move(), move(), move(), angle(), angle(), angle());
}

RC_GTEST_PROP(PMIDimension, PlanesTurnAndScaleWithTheDrawing, ()) {
  const RTTran3D turn = anyPlacement(1e5);
  const double scale = std::pow(10.0, *rc::gen::inRange(-300, 300));
  RTTran3D scaling;
  for (std::size_t i : {0U, 1U, 2U}) scaling(i, i) = scale;
  for (const bool isAngular : {false, true}) {
    const Drawing drawing = isAngular ? angular() : linear();
    const auto [x, y] = axesOf(drawing, isAngular);
    const auto [movedX, movedY] = axesOf(drawing.through(turn).through(scaling), isAngular);
    RC_ASSERT((turn.transformDirection(x) - movedX).length() < 1e-8);
    RC_ASSERT((turn.transformDirection(y) - movedY).length() < 1e-8);
    RC_ASSERT(std::abs(dot(movedX, movedY)) < 1e-12);
  }
}

RC_GTEST_PROP(PMIDimension, WhatLiesOnOneLineHasNoPlane, ()) {
  const auto at = [] {
    const double unit = std::pow(10.0, -*rc::gen::inRange(0, 6)) / 7;  // some are close together
    return RTVec3D(*rc::gen::inRange(-1000, 1001) * unit, 0, 0);
  };
  Drawing drawing;
  for (int i = 0; i < 3; ++i) drawing.lines.emplace_back(at(), at());
  for (int i = 0; i < 3; ++i) {
    const RTVec3D base = at();
    drawing.arrows.push_back(arrow(at(), base, base));
  }
  const Drawing moved = drawing.through(anyPlacement(1e6));
  for (const bool isAngular : {false, true}) RC_ASSERT(axesOf(moved, isAngular).first == RTVec3D());
}

TEST(PMIDimension, LocationHasThePlaneWhereThereIsOne) {
  JtkwPMIDimensionData data;
  const RTTran3D turned = RTTran3D::fromPlacement(0, 0, 0, 90, 0, 0);
  data.setRelLoc(RTTran3D::fromTranslation({5, 6, 7}), nullptr);
  RTTran3D location = turned;
  data.getRelLoc(RTTran3D::unit, location);
  EXPECT_EQ(location.zAxis(), turned.zAxis());  // no plane: as it was passed in

  ASSERT_TRUE(linear().calculate(data, false));
  EXPECT_EQ(data.origin(), RTVec3D(5, 6, 7));
  data.getRelLoc(RTTran3D::fromTranslation({1, 0, 0}), location);
  EXPECT_EQ(location.getTranslation(), RTVec3D(6, 6, 7));
  EXPECT_EQ(location.xAxis(), RTVec3D(1, 0, 0));
  EXPECT_EQ(location.yAxis(), RTVec3D(0, -1, 0));
  EXPECT_EQ(location.zAxis(), RTVec3D(0, 0, -1));

  data.setPointOnXDirection({6, 8, 10});
  data.setpointOnYDirection({6, 8 + 1e-6, 10});  // nearly parallel
  data.getRelLoc(RTTran3D::unit, location);
  EXPECT_LE(std::abs(dot(location.xAxis(), location.yAxis())), 1e-14);

  for (const RTVec3D& bad : {RTVec3D(kNan, 0, 0), RTVec3D(7, 10, 13), RTVec3D(5, 6, 7)}) {
    data.setpointOnYDirection(bad);
    location = turned;
    data.getRelLoc(RTTran3D::unit, location);
    EXPECT_EQ(location.zAxis(), turned.zAxis());
  }
}

TEST(PMIDimension, IsDrawnWithWhatIsShown) {
  Drawing drawing = linear();
  drawing.lines.emplace_back(RTVec3D(), RTVec3D(9, 9, 9), false);
  drawing.arrows.emplace_back(false);
  EXPECT_EQ(drawing.lines[0].type(), 2);
  EXPECT_EQ(drawing.arrows[0].type(), 4);
  EXPECT_EQ(drawing.lines[0].color(), ApiGraColor(1, 1, 1, 1.0F));
  JtkwPMIDimensionData data;
  ASSERT_TRUE(data.setPolylines(drawing.linePointers(), drawing.arrowPointers()));
  JtkwPMIDimensionData::Points vertices;
  JtkwPMIDimensionData::Indices indices;
  JtkwPMIDimensionData::PolylineTypes types;
  data.getPMIPolylineData(vertices, indices, types);
  EXPECT_EQ(indices, (JtkwPMIDimensionData::Indices{0, 2, 4, 6, 10, 14}));
  EXPECT_EQ(std::vector<int>(types.begin(), types.end()), (std::vector<int>{0, 0, 0, 1, 1}));
  EXPECT_EQ(vertices[7], RTVec3D(0, 10, 0));
  EXPECT_EQ(vertices[9], vertices[6]);

  EXPECT_EQ(data.text(), nullptr);
  data.setRWCText("\xc3\x98 50\xff");
  EXPECT_STREQ(data.text(), "\xc3\x98 50\xef\xbf\xbd");
}

}  // namespace
