// The wireframe element: its layout in both generations, curves, edges and their ids, damage, and
// the way through files of all versions.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

#include "VisPartNode.h"
#include "file/segments/WireframeElement.h"
#include "support/Damage.h"
#include "support/Differences.h"
#include "support/ShapeScene.h"
#include "support/WireLayout.h"

namespace {

using namespace jt::file;
using jt::WireCurve;
using jt::WireframeData;
using Point = std::array<double, 3>;
using Ints = std::vector<std::int32_t>;

constexpr Format k95{9, 5, false};
constexpr Format k100{10, 0, false};

/// A quarter of a circle of radius 5 around (1, 2, 3), from the x to the y direction.
WireCurve quarter() { return jt::arcCurve({6, 2, 3}, {6, 7, 3}, {1, 7, 3}, std::sqrt(0.5)); }

jt::Ref<JtWireframeRep> sample() {
  auto wires = jt::make<JtWireframeRep>();
  wires->addEdge(jt::lineCurve({1, 2, 3}, {4, 6, 9}));
  wires->addEdge(quarter());
  wires->addEdge(jt::polylineCurve({{0, 0, 0}, {1, 0, 0}, {1, 2, 0}, {1, 2, 3}}));
  wires->addEdge({3,
                  {{0, 0, 0}, {1, 3, 0}, {2, 3, 1}, {4, 0, 0}, {5, 1, 2}},
                  {},
                  {-2, -2, -2, -2, 0.5, 7, 7, 7, 7},
                  false});
  return wires;
}

// --- The layout

TEST(Wireframe, EveryFieldIsReadInTheOrderOfItsGeneration) {
  for (const Format& format : {k95, k100, Format{9, 5, true}, Format{10, 5, true}}) {
    SCOPED_TRACE(formatText(format));
    const Bytes body = WireLayout().body(format);
    const WireframeData data = readWireframe(body, format, 0);
    const auto wires = WireframeAccess::make(data);
    EXPECT_EQ(wires->edgeIds(), (Ints{7, 9, 4, 12, 5, 30, 31}));
    EXPECT_EQ(data.nextTag, 99);
    ASSERT_EQ(data.curves.size(), 6);
    EXPECT_EQ(&wires->curveOf(0), &wires->curveOf(2));
    EXPECT_EQ(wires->curveOf(1).points[3], (Point{9.5, 10.5, 11.5}));
    EXPECT_EQ(wires->curveOf(3).points,
              (std::vector<Point>{{60.5, 61.5, 62.5}, {63.5, 64.5, 65.5}}));
    using Doubles = std::vector<double>;
    EXPECT_EQ(data.curves[0].knots, (Doubles{0, 0, 0.5, 0.5, 1, 1}));
    EXPECT_EQ(data.curves[1].knots, (Doubles{-1, -1, -1, 3, 3, 6, 6, 6}));
    EXPECT_EQ(data.curves[2].knots, (Doubles{0, 0, 0, 0.25, 1, 1, 1}));
    EXPECT_EQ(data.curves[3].knots, (Doubles{10, 10, 11, 13, 20, 20}));
    EXPECT_EQ(data.curves[4].knots, (Doubles{0, 0, 0, 1, 1, 1}));
    EXPECT_EQ(data.curves[1].weights, (Doubles{1, 0.5, 1, 0.25, 1}));
    EXPECT_EQ(data.curves[4].weights, (Doubles{1, 0.75, 1}));
    EXPECT_TRUE(data.curves[0].weights.empty());
  }
}

TEST(Wireframe, AnOddNumberOfPairedKnotsIsCompleted) {
  WireLayout layout;
  layout.counts[0] = 5;  // three inner knots, of which one pair is stored
  layout.points.insert(layout.points.end(), {1, 2, 3});
  const WireframeData data = readWireframe(layout.body(k100), k100, 0);
  EXPECT_EQ(data.curves[0].knots, (std::vector<double>{0, 0, 0.5, 0.5, 0.5, 1, 1}));
  ByteSink out;
  writeWireframe(out, data, k100);
  EXPECT_EQ(readWireframe(out.bytes(), k100, 0).curves, data.curves);
}

TEST(Wireframe, TheHandMadeElementIsALine) {
  const Bytes content = testData("wires/line10.bin");
  const auto elements = segmentElements(content, k100);
  ASSERT_EQ(elements.size(), 1);
  const auto object = readSegmentObject(elements[0], k100);
  const auto* wires = jt::as<JtWireframeRep>(object.get());
  ASSERT_TRUE(wires && wires->numEdges() == 1);
  EXPECT_EQ(wires->curveOf(0).degree, 1);
  EXPECT_EQ(jt::polylineOf(wires->curveOf(0)), (std::vector<Point>{{0, 0, 0}, {10, 0, 0}}));
}

TEST(Wireframe, DoublesInArithmeticCodeAreRead) {
  // Two symbols of the same frequency, 1.5 and an escape: a bit each, the first bit of the
  // interval.
  Fields packet(k95);
  packet.put(std::uint8_t{3}).i32(1).i32(2).i32(0).i32(1).put(1.5).i32(0);
  packet.i32(-2).i32(1).put(0.0).i32(0).put(-4.25).put(1.5);
  packet.i32(2).put(-4.25).put(3.75).i32(16).i32(4).i32(1).i32(0x60000000);
  jt::codec::ByteCursor cursor(packet.bytes(), false);
  auto budget = jt::codec::Budget::forInput(1000);
  EXPECT_EQ(jt::codec::decodeFloatPacket(cursor, budget),
            (std::vector<double>{1.5, -4.25, 3.75, 1.5}));
  EXPECT_EQ(cursor.left(), 0);

  std::set<std::string> said;
  const auto decode = [](const Bytes& changed) {
    jt::codec::ByteCursor damaged(changed, false);
    auto room = jt::codec::Budget::forInput(1000);
    jt::codec::decodeFloatPacket(damaged, room);
  };
  addRefusals(packet.bytes(), said, decode);
  Fields single(k95);  // a symbol that may be left without occurrences
  single.put(std::uint8_t{3}).i32(1).i32(1).i32(0).i32(1).put(1.5).i32(0).zeros(16);
  addRefusals(single.i32(0).i32(16).i32(2).i32(1).i32(0).bytes(), said, decode);
  addRefusals(Fields(k95).put(std::uint8_t{0}).i32(4).put(1.5).put(-2.5).bytes(), said, decode);
  expectRefusals(
      said, {"bad_context: expected  or  context tables, found ",
             "bad_context: a context of  entries does not fit",
             "bad_context: the occurrences of a context add up to ",
             "bad_context: code text over this number of tables or without symbols is not defined",
             "truncated:  values of  bits do not fit", "bad_packet:  words for values of  bits",
             "truncated: a code text of  bits does not fit", "bad_packet: expected  values, found ",
             "bad_packet: more escapes than outofband values"});
}

// --- Damage

TEST(Wireframe, WhatDoesNotFitIsRefused) {
  struct Damage {
    std::function<void(WireLayout&)> make;
    const char* said;
  };
  const Damage cases[] = {
      {[](auto& l) { l.curveOf[2] = 6; }, "edge 2 has curve 6, but there are 6"},
      {[](auto& l) { l.curveOf[2] = -1; }, "edge 2 has curve -1, but there are 6"},
      {[](auto& l) { l.tags.pop_back(); }, "expected 7 values, found 6"},
      {[](auto& l) { l.flags.pop_back(), l.ofKind[3].clear(); }, "expected 4 flags, found 3"},
      {[](auto& l) { l.ofKind[2] = {1}; }, "curve 1 has two kinds of knots, or does not exist"},
      {[](auto& l) { l.ofKind[1] = {6}; }, "curve 6 has two kinds of knots, or does not exist"},
      {[](auto& l) { l.types[4] = 2; }, "curve 4 is of the unknown type 2"},
      {[](auto& l) { l.degrees[5] = 0; }, "curve 5 has 2 control points for a degree of 0"},
      {[](auto& l) { l.degrees[5] = 2; }, "curve 5 has 2 control points for a degree of 2"},
      {[](auto& l) { l.counts[1] = 0x7fffffff; },
       "66 coordinates do not fit the numbers of control points"},
      {[](auto& l) { l.points.pop_back(); },
       "65 coordinates do not fit the numbers of control points"},
      {[](auto& l) { l.points.push_back(1); },
       "67 coordinates do not fit the numbers of control points"},
      {[](auto& l) { l.weightCount = 7; },
       "7 weights with 3 indices and 3 values for 8 points of rational curves"},
      {[](auto& l) { l.weightIndices[2] = 8; }, "weight 8 of 8"},
      {[](auto& l) { l.weights.pop_back(); },
       "8 weights with 3 indices and 2 values for 8 points of rational curves"},
      {[](auto& l) { l.knots.pop_back(); }, "8 knots do not fit the curves"},
      {[](auto& l) { l.knots.push_back(1); }, "10 knots do not fit the curves"},
  };
  for (const Format& format : {k95, k100})
    for (const Damage& damage : cases) {
      SCOPED_TRACE(damage.said);
      WireLayout layout;
      damage.make(layout);
      const Bytes body = layout.body(format);
      EXPECT_EQ(errorCode([&] { readWireframe(body, format, 0); }), "bad_value");
      EXPECT_EQ(errorText([&] { readWireframe(body, format, 0); }), damage.said);
    }
}

TEST(Wireframe, EveryTruncationIsAnError) {
  for (const Format& format : {k95, k100}) {
    const Bytes body = WireLayout().body(format);
    for (std::size_t size = 0; size < body.size(); ++size) {
      const Bytes cut(body.begin(), body.begin() + static_cast<std::ptrdiff_t>(size));
      EXPECT_NE(errorCode([&] { readWireframe(cut, format, 0); }), "") << size;
    }
  }
}

// --- Curves

TEST(Wireframe, ArcsAndSplinesAreWithinTheTolerance) {
  for (const double chord : {0.5, 0.01, 0.0001}) {
    const std::vector<Point> points = jt::polylineOf(quarter(), {chord, 90});
    EXPECT_EQ(points.front(), (Point{6, 2, 3}));
    EXPECT_EQ(points.back(), (Point{1, 7, 3}));
    for (std::size_t i = 0; i + 1 < points.size(); ++i) {
      const auto radius = [&](const Point& at) { return std::hypot(at[0] - 1, at[1] - 2); };
      const Point middle{(points[i][0] + points[i + 1][0]) / 2,
                         (points[i][1] + points[i + 1][1]) / 2, 3};
      EXPECT_NEAR(radius(points[i]), 5, 1e-12);
      EXPECT_GT(radius(middle), 5 - chord);
    }
    EXPECT_LT(points.size(), 8 + 4 / std::sqrt(chord));
  }
  // x(t) is linear and y(t) a cubic in pieces; the inner knot is met exactly.
  const WireCurve spline{3,
                         {{0, 0, 0}, {1, 3, 0}, {3, 0, 0}, {5, 6, 0}, {6, 0, 0}},
                         {},
                         {0, 0, 0, 0, 1, 2, 2, 2, 2},
                         false};
  const std::vector<Point> points = jt::polylineOf(spline, {0.001, 5});
  const auto atKnot =
      std::ranges::find_if(points, [](const Point& at) { return std::abs(at[0] - 3) < 1e-12; });
  ASSERT_NE(atKnot, points.end());
  EXPECT_NEAR((*atKnot)[1], 2.25, 1e-12);
}

TEST(Wireframe, CurvesThatCannotBeEvaluatedGiveTheirControlPoints) {
  struct Case {
    const char* what;
    std::function<void(WireCurve&)> make;
    std::size_t points;
  };
  const double nan = std::nan("");
  const Case cases[] = {{"descending knots", [](WireCurve& c) { c.knots[3] = -1; }, 3},
                        {"a torn curve", [](WireCurve& c) { c.knots = {0, 0, 0, 0, 1, 1}; }, 3},
                        {"no knots", [](WireCurve& c) { c.knots.clear(); }, 3},
                        {"weight 0", [](WireCurve& c) { c.weights[1] = 0; }, 3},
                        {"high degree", [](WireCurve& c) { c.degree = 1 << 30; }, 3},
                        {"no number", [&](WireCurve& c) { c.points[1][2] = nan; }, 0}};
  for (const Case& each : cases) {
    WireCurve curve = quarter();
    each.make(curve);
    EXPECT_EQ(jt::polylineOf(curve).size(), each.points) << each.what;
  }
}

// --- Files

/// A partition with a part that has wires.
jt::Ref<JtPartition> partWith(JtWireframeRep* wires) {
  auto root = jt::make<JtPartition>();
  const auto part = jt::make<VisPartNode>();
  part->setWFRep(wires);
  root->addChild(part.get());
  return root;
}

jt::SaveOptions in(const jt::FileVersion& version) {
  jt::SaveOptions options;
  options.version = version;
  return options;
}

VisPartNode& partOf(JtPartition& root) { return *jt::as<VisPartNode>(root.child(0)); }

TEST(Wireframe, WiresGoThroughEveryVersionThatHasAForm) {
  const auto wires = sample();
  const auto root = partWith(wires.get());
  for (const jt::FileVersion& from : {jt::FileVersion{9, 5}, {10, 0}, {10, 2}})
    for (const jt::FileVersion& to : {jt::FileVersion{9, 5}, {10, 0}}) {
      MemoryStorage storage;
      const auto first = storage.open(storage.saved(*root, in(from)));
      const auto second = storage.open(storage.saved(*first, in(to)));
      ASSERT_EQ(partOf(*second).ensureWFRep(), 1);
      const JtWireframeRep& read = *partOf(*second).wfRep();
      EXPECT_EQ(read.edges(), wires->edges());
      EXPECT_EQ(read.curves(), wires->curves());
      EXPECT_TRUE(Differences(*first, *second).lines().empty());
    }
}

TEST(Wireframe, An8xFileLeavesWiresOutAndSaysSo) {
  MemoryStorage storage;
  const auto wires = sample();
  const auto root = partWith(wires.get());
  const auto made = storage.open(storage.saved(*root, in({8, 1})));
  EXPECT_EQ(storage.report().warnings.size(), 1);
  EXPECT_EQ(partOf(*made).ensureWFRep(), 0);
  const auto source = storage.open(storage.saved(*root, in({9, 5})));
  partOf(*source).wfRep()->addEdge(quarter());
  const auto converted = storage.open(storage.saved(*source, in({8, 1})));
  EXPECT_EQ(partOf(*converted).ensureWFRep(), 0);
  const auto& segments = storage.report().segments;
  EXPECT_TRUE(std::ranges::any_of(segments, [](const jt::SegmentAction& action) {
    return action.type == 18 && action.kind == jt::SegmentAction::Kind::dropped;
  }));
}

TEST(Wireframe, AnAddedEdgeIsSavedAndHasAnIdOfItsOwn) {
  MemoryStorage storage;
  auto data = sample()->data();
  data.edges = {{2, 7}, {0, 3}, {1, 5}, {3, 6}};
  data.nextTag = 0;
  data.cadTags.flag = 1;
  data.cadTags.tags = {{1001, false}, {1LL << 40, true}, {1003, false}, {1004, false}};
  const auto root = partWith(WireframeAccess::make(data).get());
  for (const jt::FileVersion& version : {jt::FileVersion{9, 5}, {10, 0}}) {
    const auto source = storage.open(storage.saved(*root, in(version)));
    EXPECT_EQ(partOf(*source).wfRep()->addEdge(quarter()), 8);
    const auto again = storage.open(storage.saved(*source));
    const JtWireframeRep& wires = *partOf(*again).wfRep();
    EXPECT_EQ(wires.edgeIds(), (Ints{7, 3, 5, 6, 8}));
    EXPECT_EQ(wires.cadTag(1), 1LL << 40);
    EXPECT_EQ(wires.cadTag(2), 1003);
    EXPECT_EQ(wires.curveOf(4), quarter());
  }
}

TEST(Wireframe, ThePartReturns1ForWiresOnly) {
  MemoryStorage storage;
  VisPartNode none;
  EXPECT_EQ(none.ensureWFRep(), 0);
  EXPECT_EQ(none.wfRep(), nullptr);
  WireLayout layout;
  layout.curveOf[1] = 88;
  const auto root = storage.open(wireFile(k100, wireContent(k100, layout)));
  EXPECT_EQ(partOf(*root).ensureWFRep(), 0);
  EXPECT_NE(jt::lastError().find("curve 88"), std::string::npos) << jt::lastError();
  // What cannot be read is kept by a save in the same version.
  partOf(*root).addProperty(JtString("x"), jt::make<JtInt32PropAtom>(1).get(), true);
  storage.saved(*root);
  EXPECT_EQ(storage.report().segments.back().kind, jt::SegmentAction::Kind::copied);
}

TEST(Wireframe, IdsArePositionsWhenATagRepeats) {
  auto data = sample()->data();
  data.edges = {{2, 7}, {0, 3}, {1, 7}};
  EXPECT_EQ(WireframeAccess::make(data)->edgeIds(), (Ints{0, 1, 2}));
}

}  // namespace
