// Pictures of shapes whose look is known.

#include <gtest/gtest.h>
#include <png.h>

#include <array>
#include <cmath>

#include "Jt.h"
#include "JtDrawing.h"
#include "JtMaterial.h"
#include "JtMesh.h"
#include "JtPartition.h"
#include "JtXform.h"
#include "Program.h"
#include "VisPartNode.h"

namespace cli {
namespace {

struct Pixels {
  std::size_t width = 0;
  std::size_t height = 0;
  std::vector<std::uint8_t> rgba;
  std::array<int, 4> at(std::size_t x, std::size_t y) const {
    const std::uint8_t* p = &rgba.at((y * width + x) * 4);
    return {p[0], p[1], p[2], p[3]};
  }
};

Pixels decode(const std::string& png) {
  png_image header{};
  header.version = PNG_IMAGE_VERSION;
  EXPECT_TRUE(png_image_begin_read_from_memory(&header, png.data(), png.size())) << header.message;
  header.format = PNG_FORMAT_RGBA;
  Pixels pixels{header.width, header.height, {}};
  pixels.rgba.resize(PNG_IMAGE_SIZE(header));
  EXPECT_TRUE(png_image_finish_read(&header, nullptr, pixels.rgba.data(), 0, nullptr));
  return pixels;
}

/// A box of that size about the origin, as a part that is moved along x and painted.
void addBox(JtPartition& partition, const jt::Vec3f& size, double x, const jt::Rgba& color) {
  auto mesh = std::make_shared<jt::Mesh>();
  for (unsigned corner = 0; corner < 8; ++corner) {
    jt::Vec3f p{};
    for (unsigned axis = 0; axis < 3; ++axis)
      p[axis] = size[axis] * ((corner >> axis) & 1U ? 0.5F : -0.5F);
    mesh->positions.push_back(p);
  }
  mesh->corners = {0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6, 0, 1, 5, 0, 5, 4,
                   2, 6, 7, 2, 7, 3, 0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5};
  auto part = jt::make<VisPartNode>();
  part->addChild(jt::makeShape(mesh).get());
  jt::Matrix4 matrix = jt::kIdentity;
  matrix[12] = x;
  part->appendAttribute(jt::make<JtXform>(matrix).get());
  auto material = jt::make<JtMaterial>();
  material->setDiffuseColor(color[0], color[1], color[2], color[3]);
  part->appendAttribute(material.get());
  partition.addChild(part.get());
}

class Picture : public testing::Test {
 protected:
  void save(JtPartition& partition) const {
    auto location =
        jt::make<JtFSStorageLocation>(JtString(work_.path("").c_str()), JtString("boxes.jt"));
    partition.save(location.get());
  }
  Workspace work_;
};

TEST_F(Picture, ShowsEachSideFittedToTheView) {
  auto partition = jt::make<JtPartition>();
  addBox(*partition, {10, 20, 40}, 0, {1, 0, 0, 1});
  save(*partition);
  const struct {
    const char* view;
    double across, along;
  } rows[] = {{"front", 10, 40}, {"right", 20, 40}, {"top", 10, 20}, {"back", 10, 40}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.view);
    const Json told =
        work_.json("snapshot boxes.jt out.png --size 200x100 --view " + std::string(row.view));
    EXPECT_TRUE(matches(told, R"({"shapes": 1, "triangles": 12, "damaged": 0})"));
    const Pixels pixels = decode(work_.read("out.png"));
    ASSERT_EQ(pixels.width, 200U);
    ASSERT_EQ(pixels.height, 100U);
    std::size_t covered = 0;
    for (std::size_t y = 0; y < pixels.height; ++y)
      for (std::size_t x = 0; x < pixels.width; ++x)
        if (const auto pixel = pixels.at(x, y); pixel[0] > pixel[1] + 100) ++covered;
    const double scale = std::min(0.92 * 200 / row.across, 0.92 * 100 / row.along);
    EXPECT_NEAR(static_cast<double>(covered), row.across * row.along * scale * scale, 400);
    EXPECT_EQ(pixels.at(0, 0), (std::array<int, 4>{255, 255, 255, 255}));
  }
}

TEST_F(Picture, WhatIsNearerHidesAndWhatIsTranslucentMixes) {
  auto partition = jt::make<JtPartition>();
  addBox(*partition, {10, 10, 10}, 0, {0, 1, 0, 1});
  addBox(*partition, {10, 10, 10}, 30, {0, 0, 1, 0.5F});
  save(*partition);
  const auto middle = [this](const char* view) {
    work_.json("snapshot boxes.jt out.png --size 64x64 --background transparent --view " +
               std::string(view));
    const Pixels pixels = decode(work_.read("out.png"));
    EXPECT_EQ(pixels.at(0, 0)[3], 0);
    return pixels.at(32, 32);
  };
  EXPECT_EQ(middle("left")[2], 0) << "green is in front";
  const auto mixed = middle("right");
  EXPECT_GT(mixed[1], 40);
  EXPECT_GT(mixed[2], 100);
  EXPECT_EQ(mixed[3], 255);
}

/// A part with a frame of 40 by 20 and an arc as wires, red, moved along x. @param inShapes also as
/// polylines
void addWires(JtPartition& partition, double x, bool inShapes) {
  auto wires = jt::make<JtWireframeRep>();
  wires->addEdge(jt::polylineCurve({{0, 0, 0}, {40, 0, 0}, {40, 0, 20}, {0, 0, 20}, {0, 0, 0}}));
  wires->addEdge(jt::arcCurve({30, 0, 10}, {30, 0, 20}, {20, 0, 20}, std::sqrt(0.5)));
  auto part = jt::make<VisPartNode>();
  part->setWFRep(wires.get());
  if (inShapes) part->addChild(jt::makeShape(jt::wireMesh(*part)).get());
  jt::Matrix4 matrix = jt::kIdentity;
  matrix[12] = x;
  part->appendAttribute(jt::make<JtXform>(matrix).get());
  auto material = jt::make<JtMaterial>();
  material->setDiffuseColor(1, 0, 0, 1);
  part->appendAttribute(material.get());
  partition.addChild(part.get());
}

TEST_F(Picture, ShowsWiresWherePolylinesDoNot) {
  auto partition = jt::make<JtPartition>();
  addWires(*partition, 100, false);
  save(*partition);
  EXPECT_EQ(work_.json("snapshot boxes.jt out.png --size 200x120 --view front")["wires"], 2);
  const Pixels pixels = decode(work_.read("out.png"));
  std::size_t red = 0;
  for (std::size_t y = 0; y < pixels.height; ++y)
    for (std::size_t x = 0; x < pixels.width; ++x) {
      const auto pixel = pixels.at(x, y);
      if (pixel[0] > pixel[1] + 100) ++red;
    }
  EXPECT_GT(red, 500U);  // around the frame
  EXPECT_LT(red, 2400U);
  EXPECT_EQ(work_.json("snapshot boxes.jt out.png --wires off")["wires"], 0);
  work_.json("convert boxes.jt out.obj");
  const std::string lines = work_.read("out.obj");
  EXPECT_NE(lines.find("v 140 0 20\n"), std::string::npos) << lines;
  EXPECT_NE(lines.find("\nl 1 2 3 4 5\n"), std::string::npos) << lines;
  work_.json("convert boxes.jt out.glb");
  work_.json("convert out.glb again.jt");
  EXPECT_EQ(work_.json("snapshot again.jt out.png")["polylines"], 2);
  EXPECT_EQ(work_.run("convert boxes.jt out.stl").exit, 3) << "there are no lines in STL";

  addWires(*partition, 0, true);
  save(*partition);
  EXPECT_TRUE(matches(work_.json("snapshot boxes.jt out.png"),
                      R"({"wires": 2, "shapes": 1, "polylines": 2})"));
  const Json listed = work_.json("wires boxes.jt");
  ASSERT_EQ(listed["parts"].size(), 2U);
  EXPECT_TRUE(matches(listed["parts"][0], R"({"key": null, "error": null, "wires": [
      {"id": 0, "name": null, "color": {"r": 1, "g": 0, "b": 0, "a": 1},
       "cadTag": null, "degree": 1, "rational": false, "controlPoints": 5, "closed": true,
       "length": 120, "start": [0, 0, 0], "end": [0, 0, 0]},
      {"id": 1, "degree": 2, "rational": true, "closed": false, "start": [30, 0, 10],
       "end": [20, 0, 20]}]})"));
  EXPECT_NEAR(listed["parts"][0]["wires"][1]["length"].get<double>(), 15.708, 0.02);
  const std::string address = listed["parts"][1]["address"];
  EXPECT_EQ(work_.json("wires boxes.jt '" + address + "'")["parts"].size(), 1U);
}

TEST_F(Picture, ReportsWhatCannotBeShown) {
  EXPECT_EQ(work_.run("snapshot tiny95.jt out.png").exit, 0);
  EXPECT_NE(work_.run("snapshot tiny95.jt out.png").err.find("no geometry"), std::string::npos);
  EXPECT_EQ(work_.run("snapshot tiny95.jt out.png --view inside").exit, 2);
  EXPECT_EQ(work_.run("snapshot tiny95.jt out.png --size 0x7").exit, 2);
  EXPECT_EQ(work_.run("snapshot tiny95.jt out.png --size 99999x7").exit, 2);
  EXPECT_EQ(work_.run("snapshot missing.jt out.png").exit, 3);
  const std::string untouched = work_.read("zoo95.jt");
  EXPECT_EQ(work_.run("snapshot tiny95.jt zoo95.jt").exit, 2)
      << "a JT file is no place for a picture";
  EXPECT_EQ(work_.read("zoo95.jt"), untouched);
  EXPECT_EQ(decode(work_.run("snapshot tiny95.jt - --size 8x8").out).width, 8U);
  EXPECT_EQ(work_.run("snapshot tiny95.jt missing/out.png").exit, 4);
}

}  // namespace
}  // namespace cli
