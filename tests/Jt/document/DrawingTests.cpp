// What a viewer shows: which shapes, where, and with which material.

#include <gtest/gtest.h>

#include <cmath>

#include "JtDrawing.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtPartition.h"
#include "JtSwitch.h"
#include "VisPartNode.h"

namespace {

jt::Matrix4 moved(double x) {
  jt::Matrix4 matrix = jt::kIdentity;
  matrix[12] = x;
  return matrix;
}

void place(JtNode& node, double x) { node.appendAttribute(jt::make<JtXform>(moved(x)).get()); }

jt::Ref<JtMaterial> paint(JtNode& node, float red) {
  auto material = jt::make<JtMaterial>();
  material->setDiffuseColor(red, 0, 0);
  node.appendAttribute(material.get());
  return material;
}

template <typename Node>
jt::Ref<Node> below(JtGroup& parent) {
  auto node = jt::make<Node>();
  parent.addChild(node.get());
  return node;
}

struct Seen {
  JtShape* shape;
  JtNode* part;
  double x;
  float red;  ///< -1: no material
  friend bool operator==(const Seen&, const Seen&) = default;
};

std::vector<Seen> drawn(JtNode& root, std::uint32_t levelOfDetail = 0) {
  std::vector<Seen> result;
  EXPECT_TRUE(jt::visitDrawnShapes(
      root, {.levelOfDetail = levelOfDetail}, [&result](const jt::DrawnShape& shape) {
        result.push_back({shape.shape, shape.part, (*shape.toRoot)[12],
                          shape.material ? shape.material->diffuse()[0] : -1});
        return true;
      }));
  return result;
}

TEST(Drawing, PartsAreShownWhereTheirInstancesAre) {
  auto root = jt::make<JtPartition>();
  auto part = jt::make<VisPartNode>();
  place(*part, 1);
  auto shape = below<JtTriStripSet>(*part);
  std::vector<jt::Ref<JtInstance>> instances;
  for (const double x : {10.0, 20.0}) {
    instances.push_back(below<JtInstance>(*root));
    instances.back()->setChild(part.get());
    place(*instances.back(), x);
  }
  place(*root, 100);
  paint(*instances[1], 0.5F);
  EXPECT_EQ(drawn(*root), (std::vector<Seen>{{shape.get(), part.get(), 111, -1},
                                             {shape.get(), part.get(), 121, 0.5F}}));
  const auto isHidden = [&](const JtNode& node) { return &node == instances[1].get(); };
  std::size_t shown = 0;
  jt::visitDrawnShapes(*root, {.isHidden = isHidden}, [&](const auto&) { return ++shown > 0; });
  EXPECT_EQ(shown, 1U);
  instances[0]->setIgnored(true);
  EXPECT_EQ(drawn(*root).size(), 1U);
}

TEST(Drawing, OneAlternativeIsShown) {
  auto root = jt::make<JtPartition>();
  auto levels = below<JtRangeLOD>(*root);
  auto fine = below<JtTriStripSet>(*levels);
  auto coarse = below<JtTriStripSet>(*levels);
  auto choice = below<JtSwitch>(*root);
  below<JtPointSet>(*choice);
  auto chosen = below<JtPolylineSet>(*choice);
  choice->setSelectedChild(1);
  below<JtLOD>(*root);  // without children
  const auto shapes = [&root](std::uint32_t level) {
    std::vector<JtShape*> result;
    for (const Seen& one : drawn(*root, level)) result.push_back(one.shape);
    return result;
  };
  EXPECT_EQ(shapes(0), (std::vector<JtShape*>{fine.get(), chosen.get()}));
  EXPECT_EQ(shapes(7), (std::vector<JtShape*>{coarse.get(), chosen.get()}));
  choice->setSelectedChild(-1);
  EXPECT_EQ(shapes(0), (std::vector<JtShape*>{fine.get()}));
}

TEST(Drawing, TransformsMultiplyFromTheGeometryUpAsBoundsHaveIt) {
  const jt::Matrix4 turn{0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};  // x to y, y to -x
  const jt::Matrix4 broken{std::nan(""), 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  enum Flag : unsigned { kPlain, kIgnore = 1, kFinal = 2, kForce = 4 };
  using List = std::vector<std::pair<jt::Matrix4, unsigned>>;
  struct Case {
    const char* what;
    List above;
    List below;
    std::array<double, 2> place;  ///< where the origin of the geometry comes to lie
  };
  const Case cases[] = {
      {"moved, then turned", {}, {{moved(10), kPlain}, {turn, kPlain}}, {0, 10}},
      {"turned, then moved", {}, {{turn, kPlain}, {moved(10), kPlain}}, {10, 0}},
      {"turned above", {{moved(3), kPlain}, {turn, kPlain}}, {{moved(10), kPlain}}, {0, 13}},
      {"ignored", {{turn, kIgnore}}, {{moved(10), kPlain}, {turn, kIgnore}}, {10, 0}},
      {"no number", {}, {{moved(10), kPlain}, {broken, kPlain}, {turn, kPlain}}, {0, 10}},
      {"final, and more on its node",
       {{moved(3), kFinal}, {turn, kPlain}},
       {{moved(10), kPlain}},
       {0, 3}},
      {"forced below final",
       {{turn, kFinal}},
       {{moved(100), kPlain}, {moved(10), kForce}},
       {0, 10}},
  };
  const auto list = [](JtNode& node, const List& transforms) {
    for (const auto& [matrix, flags] : transforms) {
      auto xform = jt::make<JtXform>(matrix);
      xform->setState(JtAttributeState::ignore, (flags & kIgnore) != 0);
      xform->setForce((flags & kForce) != 0);
      xform->setFinal((flags & kFinal) != 0);
      node.appendAttribute(xform.get());
    }
  };
  for (const Case& expected : cases) {
    SCOPED_TRACE(expected.what);
    auto root = jt::make<JtPartition>();
    auto group = below<JtGroup>(*root);
    auto shape = below<JtTriStripSet>(*group);
    jt::ShapeStatistics statistics;
    statistics.box = {{0, 0, 0}, {0, 0, 0}};
    shape->setStatistics(statistics);
    list(*group, expected.above);
    list(*shape, expected.below);
    const auto [x, y] = expected.place;
    jt::visitDrawnShapes(*root, {}, [&](const jt::DrawnShape& drawn) {
      const jt::Matrix4& m = *drawn.toRoot;
      EXPECT_EQ((std::array{m[12], m[13]}), expected.place);
      return true;
    });
    const std::array point{static_cast<float>(x), static_cast<float>(y), 0.0F};
    EXPECT_EQ(root->computeBounds(), (jt::Box{point, point}));
  }
}

TEST(Drawing, TheNearestMaterialHoldsUnlessOneAboveIsFinal) {
  auto root = jt::make<JtPartition>();
  auto outer = paint(*root, 0.1F);
  auto group = below<JtGroup>(*root);
  auto inner = paint(*group, 0.9F);
  below<JtTriStripSet>(*group);
  const auto red = [&root] { return drawn(*root).at(0).red; };
  EXPECT_EQ(red(), 0.9F);
  outer->setFinal(true);
  EXPECT_EQ(red(), 0.1F);
  inner->setForce(true);
  EXPECT_EQ(red(), 0.9F);
  inner->setState(JtAttributeState::ignore, true);
  EXPECT_EQ(red(), 0.1F);
}

TEST(Drawing, PathsThatMultiplyEndTheWalk) {
  auto root = jt::make<JtPartition>();
  jt::Ref<JtGroup> last = root;
  for (int level = 0; level < 60; ++level) {
    auto next = jt::make<JtGroup>();
    last->addChild(next.get());
    last->addChild(next.get());
    last = next;
  }
  const jt::DrawingOptions options{.maxPaths = 100'000};
  EXPECT_FALSE(jt::visitDrawnShapes(*root, options, [](const jt::DrawnShape&) { return true; }));
}

}  // namespace
