// What a viewer shows: which shapes, where, and with which material.

#include <gtest/gtest.h>

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

TEST(Drawing, TheNearestMaterialHoldsUnlessOneAboveIsFinal) {
  auto root = jt::make<JtPartition>();
  auto outer = paint(*root, 0.1F);
  auto group = below<JtGroup>(*root);
  auto inner = paint(*group, 0.9F);
  below<JtTriStripSet>(*group);
  const auto red = [&root] { return drawn(*root).at(0).red; };
  EXPECT_EQ(red(), 0.9F);
  outer->setState(JtAttributeState::final, true);
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
