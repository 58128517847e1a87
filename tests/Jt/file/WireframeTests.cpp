// The wireframe element: its layout in both generations, curves, edges and their ids, damage, and
// the way through files of all versions.

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <numbers>

#include "VisPartNode.h"
#include "codec/packet/FloatPackets.h"
#include "codec/packet/Packets.h"
#include "codec/packet/Packets64.h"
#include "file/segments/WireframeElement.h"
#include "support/Damage.h"
#include "support/Differences.h"
#include "support/ShapeScene.h"

namespace {

using namespace jt::file;
using jt::WireCurve;
using jt::WireframeData;
using jt::codec::PacketKind;
using jt::codec::Predictor;
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

/// The body of an element, field by field.
class Body {
 public:
  explicit Body(const Format& format) : isTen_(format.major == 10), format_(format), out_(format) {}

  Body& i32(std::int32_t value) {
    out_.i32(value);
    return *this;
  }
  Body& version() {
    out_.version();
    return *this;
  }
  /// A packet of the kind and predictor that the field has in 9.x and in 10.x.
  Body& ints(const Ints& values, PacketKind kind9, Predictor predictor9, Predictor predictor10) {
    jt::codec::Bytes bytes;
    jt::codec::encodePacket(isTen_ ? PacketKind::mk3 : kind9, bytes, format_.bigEndian, values,
                            isTen_ ? predictor10 : predictor9);
    out_.raw(bytes);
    return *this;
  }
  Body& edges(const Ints& values) {
    return ints(values, PacketKind::mk2, Predictor::lag1, Predictor::none);
  }
  Body& perCurve(const Ints& values) {
    return ints(values, PacketKind::mk1, Predictor::lag1, Predictor::none);
  }
  Body& indices(const Ints& values) {
    return ints(values, PacketKind::mk1, Predictor::stride1, Predictor::lag1);
  }
  Body& doubles(const std::vector<double>& values) {
    jt::codec::Bytes bytes;
    if (isTen_) {
      std::vector<std::int64_t> bits;
      for (const double value : values) bits.push_back(std::bit_cast<std::int64_t>(value));
      jt::codec::encodePacket64(bytes, format_.bigEndian, bits);
    } else {
      jt::codec::encodeFloatPacket(bytes, format_.bigEndian, values);
    }
    out_.raw(bytes);
    return *this;
  }
  const Bytes& bytes() const { return out_.bytes(); }

 private:
  bool isTen_;
  Format format_;
  Fields out_;
};

/// Every field with values of its own: four kinds of knots and none, weights, a curve of two edges.
struct Layout {
  Ints curveOf{3, 0, 3, 5, 2, 4, 1};
  Ints tags{7, 9, 4, 12, 5, 30, 31};
  Ints flags{1, 1, 1, 1};
  std::array<Ints, 4> ofKind{Ints{0}, {1}, {2}, {3}};
  Ints types{1, 1, 1, 1, 1, 1};
  Ints degrees{1, 2, 2, 1, 2, 1};
  Ints counts{4, 5, 4, 4, 3, 2};
  Ints dimensions{3, 4, 3, 3, 4, 3};
  std::int32_t weightCount = 8;
  Ints weightIndices{1, 3, 6};
  std::vector<double> weights{0.5, 0.25, 0.75};
  std::vector<double> points;
  std::vector<double> knots{0.5, -1, 3, 6, 0.25, 10, 11, 13, 20};

  Layout() {
    for (int i = 0; i < 3 * 22; ++i) points.push_back(i + 0.5);
  }
  Bytes body(const Format& format) const {
    Body out(format);
    out.version().i32(static_cast<std::int32_t>(curveOf.size()));
    out.i32(static_cast<std::int32_t>(types.size())).edges(curveOf).edges(tags);
    out.i32(static_cast<std::int32_t>(flags.size()));
    for (const std::int32_t flag : flags) out.i32(flag);
    for (std::size_t i = 0; i < ofKind.size(); ++i)
      if (i < flags.size() && flags[i] != 0) out.indices(ofKind[i]);
    out.perCurve(types).perCurve(degrees).perCurve(counts).perCurve(dimensions);
    out.perCurve({0, 0, 0, 0, 0, 0}).i32(weightCount).indices(weightIndices);
    out.doubles(weights).doubles(points).doubles(knots);
    return out.i32(99).i32(0).bytes();
  }
};

TEST(Wireframe, EveryFieldIsReadInTheOrderOfItsGeneration) {
  for (const Format& format : {k95, k100, Format{9, 5, true}, Format{10, 5, true}}) {
    SCOPED_TRACE(formatText(format));
    const Bytes body = Layout().body(format);
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
  Layout layout;
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
  addRefusals(Fields(k95).put(std::uint8_t{0}).i32(4).put(1.5).put(-2.5).bytes(), said, decode);
  expectRefusals(
      said, {"bad_context: expected  or  context tables, found ",
             "bad_context: a context of  entries does not fit",
             "bad_context: the occurrences of a context add up to ",
             "truncated:  values of  bits do not fit", "bad_packet:  words for values of  bits",
             "truncated: a code text of  bits does not fit", "bad_packet: expected  values, found ",
             "bad_packet: more escapes than outofband values"});
}

// --- Damage

TEST(Wireframe, WhatDoesNotFitIsRefused) {
  struct Damage {
    const char* what;
    std::function<void(Layout&)> make;
  };
  const Damage cases[] = {
      {"no such curve", [](Layout& l) { l.curveOf[2] = 6; }},
      {"negative curve", [](Layout& l) { l.curveOf[2] = -1; }},
      {"too few tags", [](Layout& l) { l.tags.pop_back(); }},
      {"three flags", [](Layout& l) { l.flags.pop_back(), l.ofKind[3].clear(); }},
      {"two kinds of knots", [](Layout& l) { l.ofKind[2] = {1}; }},
      {"knots of no curve", [](Layout& l) { l.ofKind[1] = {6}; }},
      {"not NURBS", [](Layout& l) { l.types[4] = 2; }},
      {"degree 0", [](Layout& l) { l.degrees[5] = 0; }},
      {"few points", [](Layout& l) { l.degrees[5] = 2; }},
      {"very many points", [](Layout& l) { l.counts[1] = 0x7fffffff; }},
      {"few coordinates", [](Layout& l) { l.points.pop_back(); }},
      {"trailingBytes coordinates", [](Layout& l) { l.points.push_back(1); }},
      {"weights of another count", [](Layout& l) { l.weightCount = 7; }},
      {"weight of no point", [](Layout& l) { l.weightIndices[2] = 8; }},
      {"index without weight", [](Layout& l) { l.weights.pop_back(); }},
      {"few knots", [](Layout& l) { l.knots.pop_back(); }},
      {"trailingBytes knots", [](Layout& l) { l.knots.push_back(1); }},
  };
  for (const Format& format : {k95, k100})
    for (const Damage& damage : cases) {
      SCOPED_TRACE(damage.what);
      Layout layout;
      damage.make(layout);
      EXPECT_EQ(errorCode([&] { readWireframe(layout.body(format), format, 0); }), "bad_value");
    }
}

TEST(Wireframe, EveryTruncationIsAnError) {
  for (const Format& format : {k95, k100}) {
    const Bytes body = Layout().body(format);
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
  Layout layout;
  layout.curveOf[1] = 88;
  const Bytes damaged =
      elementOf(k100, "873a70d0-2ac8-11d1-9b6b-0080c7bb5997", 9, layout.body(k100));
  const auto root = storage.open(wireFile(k100, damaged));
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
