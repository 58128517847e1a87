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
#include "JtStyles.h"
#include "JtTexture.h"
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
  /// The picture of boxes.jt with these options.
  Pixels picture(const std::string& options) const {
    work_.json("snapshot boxes.jt out.png " + options);
    return decode(work_.read("out.png"));
  }
  Workspace work_;
};

bool isRed(const std::array<int, 4>& p) { return p[0] > p[1] + 60 && p[0] > p[2] + 60; }
bool isBlue(const std::array<int, 4>& p) { return p[2] > p[1] + 60 && p[2] > p[0] + 60; }
bool isDark(const std::array<int, 4>& pixel) { return pixel[0] + pixel[1] + pixel[2] < 150; }

std::size_t count(const Pixels& pixels, bool (*isOne)(const std::array<int, 4>&)) {
  std::size_t number = 0;
  for (std::size_t y = 0; y < pixels.height; ++y)
    for (std::size_t x = 0; x < pixels.width; ++x) number += isOne(pixels.at(x, y)) ? 1 : 0;
  return number;
}

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
    const double scale = std::min(0.92 * 200 / row.across, 0.92 * 100 / row.along);
    EXPECT_NEAR(static_cast<double>(count(pixels, isRed)), row.across * row.along * scale * scale,
                400);
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

/// Red beside blue, which is smaller.
void addTwoBoxes(JtPartition& partition) {
  addBox(partition, {10, 20, 40}, 0, {1, 0, 0, 1});
  addBox(partition, {10, 10, 10}, 30, {0, 0, 1, 1});
}

TEST_F(Picture, AnyDirectionAndPlaceCanBeTheEyes) {
  auto partition = jt::make<JtPartition>();
  addTwoBoxes(*partition);
  save(*partition);
  const std::string size = "--size 90x60 ";
  for (const auto& [view, same] : {std::pair("--view 0,3,0", "--view front"),
                                   {"--from 7,-900,8 --to 7,0,8", "--view front"},
                                   {"--view 0,0,-1", "--view top"},
                                   {"--view 0,1,0 --up 0,0,-2", "--view back --up 0,0,-1"}}) {
    const Pixels one = picture(size + view);
    const Pixels other = picture(size + same);
    const bool isTurned = std::string(same).find("back") != std::string::npos;
    EXPECT_EQ(one.rgba == other.rgba, !isTurned) << view;
  }
  // The nearer one is the larger one: 5 of 25 and 20 of 55 away, half a picture is 0.577.
  const Pixels near = picture("--size 100x100 --from 60,0,0 --to 0,0,0 --perspective 60");
  EXPECT_TRUE(isBlue(near.at(50, 35)));
  EXPECT_TRUE(isRed(near.at(50, 30)));
  EXPECT_TRUE(isRed(near.at(50, 20)));
  EXPECT_FALSE(isRed(near.at(50, 16)));
  EXPECT_GT(count(picture("--size 80x80 --perspective 50"), isRed),
            count(picture("--size 80x80"), isRed) * 3 / 5)
      << "it fills the picture";
  const Pixels inside = picture("--size 20x20 --from 0,0,0 --to 0,0,9 --perspective 90");
  EXPECT_EQ(count(inside, isRed), 400U) << "what is behind the eye is not in front of it";
  const Pixels middle = picture("--size 100x100 --from 15,-500,0 --perspective 10");
  EXPECT_TRUE(isRed(middle.at(30, 50)) && isBlue(middle.at(67, 50)));
}

TEST_F(Picture, ShowsWhatIsChosenCutOrPulledApart) {
  auto partition = jt::make<JtPartition>();
  addTwoBoxes(*partition);
  save(*partition);
  const Json tree = work_.json("tree boxes.jt");
  const std::string blue = tree["root"]["children"][1]["address"];
  for (const std::string& choice : {"--key '" + blue + "'", std::string("--select 'color=blue'")}) {
    const Pixels chosen = picture("--size 100x50 --view front " + choice);
    EXPECT_EQ(count(chosen, isRed), 0U);
    EXPECT_NEAR(static_cast<double>(count(chosen, isBlue)), 46 * 46, 100) << "it fills the picture";
  }
  // In front view, 44 of 1200 pixels a unit: the boxes are 40 high and 40 wide together.
  const std::string front = "--size 100x100 --view front ";
  const auto matter = std::array<int, 4>{158, 0, 0, 255};
  EXPECT_EQ(picture(front + "--section y=3").at(15, 50), matter);
  EXPECT_NE(picture(front + "--section 0,3,0,0,2,0").at(15, 50), matter);
  EXPECT_EQ(picture(front + "--section 0,3,0,0,-2,0").at(15, 50), matter);
  const Pixels lower = picture(front + "--section z=10");
  EXPECT_FALSE(isRed(lower.at(15, 25)));
  EXPECT_TRUE(isRed(lower.at(15, 29)));
  // 70 units over the picture in the place of 40.
  const auto columns = [](const Pixels& pixels) {
    std::size_t number = 0;
    for (std::size_t x = 0; x < pixels.width; ++x) number += isRed(pixels.at(x, 50)) ? 1 : 0;
    return number;
  };
  EXPECT_NEAR(static_cast<double>(columns(picture(front))), 92 * 10 / 40.0, 1.1);
  EXPECT_NEAR(static_cast<double>(columns(picture(front + "--explode 1"))), 92 * 10 / 70.0, 1.1);
}

TEST_F(Picture, DeepPathsAreNotLookedAtWithoutEnd) {
  auto partition = jt::make<JtPartition>();
  auto mesh = std::make_shared<jt::Mesh>();
  mesh->positions = {{0, 0, 0}, {1, 0, 0}, {0, 0, 2}};
  mesh->corners = {0, 1, 2};
  JtGroup* group = partition.get();
  for (int depth = 0; depth < 90; ++depth) {
    const auto below = jt::make<JtGroup>();
    below->addChild(jt::makeShape(mesh).get());
    group->addChild(below.get());
    group = below.get();
  }
  save(*partition);
  const std::string few = "snapshot boxes.jt out.png --size 9x9 --max-places 100";
  EXPECT_EQ(work_.json(few)["shapes"], 90);
  EXPECT_EQ(work_.json(few + " --explode 1", 3)["code"], "too_many_places");
  EXPECT_EQ(work_.json("snapshot boxes.jt out.png --size 9x9 --explode 1")["shapes"], 90);
}

TEST_F(Picture, EdgesAndWidthsAreDrawn) {
  auto partition = jt::make<JtPartition>();
  addBox(*partition, {10, 20, 40}, 0, {1, 0, 0, 1});
  save(*partition);
  const std::string front = "--size 100x100 --view front ";
  EXPECT_EQ(count(picture(front), isDark), 0U);
  EXPECT_NEAR(static_cast<double>(count(picture(front + "--edges"), isDark)), 2 * (92 + 23), 60);
  EXPECT_EQ(count(picture(front + "--edge-angle 91"), isDark), 0U) << "all are right angles";

  auto strokes = std::make_shared<jt::Mesh>();
  strokes->kind = jt::Mesh::Kind::polylines;
  strokes->positions = {{0, 0, 0}, {40, 0, 0}, {40, 0, 40}};
  strokes->corners = {0, 1, 2};
  strokes->starts = {0, 3};
  for (const jt::Mesh::Kind kind : {jt::Mesh::Kind::polylines, jt::Mesh::Kind::points}) {
    const bool isLines = kind == jt::Mesh::Kind::polylines;
    auto mesh = std::make_shared<jt::Mesh>(*strokes);
    mesh->kind = kind;
    partition = jt::make<JtPartition>();
    auto part = jt::make<VisPartNode>();
    part->addChild(jt::makeShape(mesh).get());
    auto material = jt::make<JtMaterial>();
    material->setDiffuseColor(1, 0, 0, 1);
    part->appendAttribute(material.get());
    auto line = jt::make<JtLineStyle>();
    line->setWidth(5);
    part->appendAttribute(line.get());
    auto point = jt::make<JtPointStyle>();
    point->setSize(9);
    part->appendAttribute(point.get());
    partition->addChild(part.get());
    save(*partition);
    const auto red = [&](const char* option) {
      return static_cast<double>(count(picture(front + option), isRed));
    };
    EXPECT_NEAR(red(""), isLines ? 2 * 92 * 5.5 : 3 * 64, 130);
    EXPECT_NEAR(red(isLines ? "--line-width 2" : "--point-size 4"), isLines ? 2 * 92 * 2 : 3 * 12.6,
                40);
  }
}

TEST_F(Picture, TwoFilesAreComparedByColor) {
  struct Box {
    const char* name;
    int key;  // 0: none
    double x;
    float height;
    float red;
  };
  const auto make = [this](const char* file, const std::vector<Box>& boxes) {
    auto partition = jt::make<JtPartition>();
    for (const Box& box : boxes) {
      addBox(*partition, {10, 10, box.height}, box.x, {box.red, 0.5F, 0.5F, 1});
      JtNode& part = *partition->child(partition->numChildren() - 1);
      const auto add = [&part](const char* key, const jt::Ref<JtPropAtom>& value) {
        part.addProperty(jt::make<JtStringPropAtom>(JtString(key)).get(), value.get(), true);
      };
      add("JT_PROP_NAME", jt::make<JtStringPropAtom>(JtString(box.name)));
      if (box.key > 0) add("KrGmProtoKey", jt::make<JtInt32PropAtom>(box.key));
    }
    auto location = jt::make<JtFSStorageLocation>(JtString(work_.path("").c_str()), JtString(file));
    partition->save(location.get());
  };
  make("a.jt", {{"same", 0, 0, 10, 0},
                {"gone", 0, 20, 10, 0},
                {"moved", 0, 40, 10, 0},
                {"form", 0, 100, 10, 0},
                {"paint", 0, 120, 10, 0},
                {"name", 7, 140, 10, 0}});
  make("b.jt", {{"same", 0, 0, 10, 0},
                {"new", 0, 60, 10, 0},
                {"moved", 0, 80, 10, 0},
                {"form", 0, 100, 8, 0},
                {"paint", 0, 120, 10, 1},
                {"renamed", 7, 140, 10, 0}});
  const Json told = work_.json("diff a.jt b.jt --picture out.png --size 320x80 --view front", 1);
  EXPECT_TRUE(matches(told["picture"], R"({"file": "out.png", "added": 1, "removed": 1,
      "moved": 1, "changed": 2, "same": 2})"))
      << told["picture"];
  const Pixels pixels = decode(work_.read("out.png"));
  // 150 units over 92 of 100 of 320 pixels.
  const auto at = [&pixels](double x) {
    return pixels.at(static_cast<std::size_t>(160 + (x - 70) * 0.92 * 320 / 150), 31);
  };
  const auto isGreen = [](const std::array<int, 4>& p) {
    return p[1] > p[0] + 60 && p[1] > p[2] + 60;
  };
  const auto isGray = [](const std::array<int, 4>& p) {
    return p[0] < 250 && std::abs(p[0] - p[2]) < 12;
  };
  EXPECT_TRUE(isGray(at(0)));
  EXPECT_TRUE(isRed(at(20)));
  EXPECT_GT(at(40)[2], at(40)[0] + 20) << "a shade where it was";
  EXPECT_GT(at(40)[0], 150);
  EXPECT_TRUE(isGreen(at(60)));
  EXPECT_TRUE(isBlue(at(80)) && at(80)[0] < 80);
  for (const double x : {100.0, 120.0}) EXPECT_TRUE(isRed(at(x)) && at(x)[1] > at(x)[2] + 40);
  EXPECT_TRUE(isGray(at(140))) << "a key outlives a name";
  EXPECT_EQ(work_.json("diff a.jt b.jt --tolerance 1", 1)["picture"], nullptr);
  EXPECT_EQ(work_.json("diff a.jt b.jt --picture out.png --tolerance 50", 1)["picture"]["moved"],
            0);
  EXPECT_NE(work_.run("diff a.jt b.jt --picture out.png")
                .out.find("out.png: added 1, removed 1, moved 1, changed 2, same 2\n"),
            std::string::npos);
  EXPECT_EQ(work_.json("diff a.jt b.jt --view top", 2)["code"], "usage");
  EXPECT_EQ(work_.json("diff a.jt b.jt --picture b.jt", 2)["code"], "usage");
}

TEST_F(Picture, PartsAreAsLargeAsTheirUnitsSay) {
  auto partition = jt::make<JtPartition>();
  addBox(*partition, {100, 10, 100}, 0, {1, 0, 0, 1});
  addBox(*partition, {2, 1, 3}, 4, {0, 0, 1, 1});
  for (const auto& [part, unit] : {std::pair(0, "Millimeters"), {1, "Inches"}})
    partition->child(part)->addProperty(
        jt::make<JtStringPropAtom>(JtString(Jt::jtPropMeasurementUnits)).get(),
        jt::make<JtStringPropAtom>(JtString(unit)).get(), true);
  save(*partition);
  // From -50 to 50 and from 76.2 to 127 millimetres.
  const Pixels pixels = picture("--size 177x177 --view front");
  const double scale = 0.92 * 177 / 177;
  EXPECT_NEAR(static_cast<double>(count(pixels, isRed)), 100 * 100 * scale * scale, 300);
  EXPECT_NEAR(static_cast<double>(count(pixels, isBlue)), 50.8 * 76.2 * scale * scale, 200);
}

/// A square of 10 in the plane of x and z with an image of 2 x 2 pixels on it: below red and blue,
/// above white and black.
void addImage(JtPartition& partition, float repeats, jt::TextureWrap wrap) {
  auto mesh = std::make_shared<jt::Mesh>();
  mesh->positions = {{0, 0, 0}, {10, 0, 0}, {10, 0, 10}, {0, 0, 10}};
  mesh->textures = {
      {.channel = 0, .components = 2, .values = {0, 0, repeats, 0, repeats, repeats, 0, repeats}}};
  mesh->corners = mesh->records = {0, 1, 2, 0, 2, 3};
  auto part = jt::make<VisPartNode>();
  part->addChild(jt::makeShape(mesh).get());
  auto texture = jt::make<JtTextureImage>();
  jt::TexturePixels pixels{2, 2, 3, {}};
  for (const int value : {255, 0, 0, 0, 0, 255, 255, 255, 255, 0, 0, 0})
    pixels.bytes.push_back(static_cast<std::byte>(value));
  texture->setPixels(pixels);
  texture->setWrap(wrap, wrap);
  part->appendAttribute(texture.get());
  partition.addChild(part.get());
}

TEST_F(Picture, ImagesLieOnSurfaces) {
  const auto draw = [this](float repeats, jt::TextureWrap wrap, const char* options) {
    auto partition = jt::make<JtPartition>();
    addImage(*partition, repeats, wrap);
    save(*partition);
    return picture(std::string("--size 100x100 --view front ") + options);
  };
  const Pixels once = draw(1, jt::TextureWrap::clampToEdge, "");
  EXPECT_TRUE(isRed(once.at(15, 85)));
  EXPECT_TRUE(isBlue(once.at(85, 85)));
  EXPECT_GT(once.at(15, 15)[1], 120);
  EXPECT_TRUE(isDark(once.at(85, 15)));
  EXPECT_NEAR(once.at(50, 85)[0], once.at(50, 85)[2], 12) << "between texels they are mixed";
  const Pixels twice = draw(2, jt::TextureWrap::repeat, "");
  EXPECT_TRUE(isRed(twice.at(61, 85)) && isBlue(twice.at(39, 85)));
  EXPECT_TRUE(isBlue(draw(2, jt::TextureWrap::mirror, "").at(61, 85)));
  EXPECT_TRUE(isBlue(draw(2, jt::TextureWrap::clampToEdge, "").at(61, 85)));
  const Pixels none = draw(1, jt::TextureWrap::repeat, "--textures off");
  EXPECT_EQ(none.at(15, 85), none.at(85, 15));
}

TEST_F(Picture, SheetsTurntablesAndJpegs) {
  auto partition = jt::make<JtPartition>();
  addBox(*partition, {10, 20, 40}, 0, {1, 0, 0, 1});
  save(*partition);
  const Pixels sheet = picture("--sheet --size 201x101 --view front,right,top");
  EXPECT_EQ(sheet.at(100, 30), sheet.at(30, 50)) << "a line between the pictures";
  const auto redIn = [&sheet](std::size_t left, std::size_t top) {
    std::size_t number = 0;
    for (std::size_t y = top; y < top + 50; ++y)
      for (std::size_t x = left; x < left + 100; ++x) number += isRed(sheet.at(x, y)) ? 1 : 0;
    return static_cast<double>(number);
  };
  EXPECT_NEAR(redIn(101, 0) / redIn(0, 0), 2, 0.2) << "the same scale in all";
  EXPECT_NEAR(redIn(0, 51) / redIn(0, 0), 0.5, 0.1);
  EXPECT_EQ(redIn(101, 51), 0);

  const Json film =
      work_.json("snapshot boxes.jt turn.png --size 80x80 --view front --turntable 4");
  ASSERT_EQ(film["pictures"],
            Json({"turn-001.png", "turn-002.png", "turn-003.png", "turn-004.png"}));
  const auto red = [this](const char* name) {
    return static_cast<double>(count(decode(work_.read(name)), isRed));
  };
  EXPECT_NEAR(red("turn-002.png") / red("turn-001.png"), 2, 0.2);
  EXPECT_NEAR(red("turn-003.png"), red("turn-001.png"), 5);

  work_.json("snapshot boxes.jt out.jpg --size 40x40");
  EXPECT_EQ(work_.read("out.jpg").substr(0, 3), "\xff\xd8\xff");
  EXPECT_EQ(picture("--size 9x9 --background none").at(0, 0)[3], 0);
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
  const std::size_t red = count(decode(work_.read("out.png")), isRed);
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
  const std::pair<const char*, const char*> rows[] = {{"--view inside", "--view"},
                                                      {"--view 0,0,0", "--view"},
                                                      {"--size 0x7", "--size"},
                                                      {"--size 99999x7", "--size"},
                                                      {"--from 1,2", "--from"},
                                                      {"--to 1,2,3", "--from"},
                                                      {"--from 1,2,3 --to 1,2,3", "same place"},
                                                      {"--from 1,2,3 --view top", "exclude"},
                                                      {"--up 0,0,0", "--up"},
                                                      {"--perspective 180", "--perspective"},
                                                      {"--section w=3", "--section"},
                                                      {"--section 1,2,3,0,0,0", "--section"},
                                                      {"--edge-angle wide", "--edge-angle"},
                                                      {"--explode -1", "--explode"},
                                                      {"--point-size 0", "--point-size"},
                                                      {"--sheet --view front,inside", "--view"},
                                                      {"--sheet --turntable 3", "exclude"},
                                                      {"--turntable 9999", "--turntable"},
                                                      {"--key 1 --select kind=entity", "exclude"},
                                                      {"--select colour=red", "colour"}};
  for (const auto& [options, reason] : rows) {
    const Json failure = work_.json("snapshot tiny95.jt out.png " + std::string(options), 2);
    EXPECT_NE(failure["message"].get<std::string>().find(reason), std::string::npos) << options;
  }
  EXPECT_EQ(work_.run("snapshot tiny95.jt out.jpg --background none").exit, 2);
  EXPECT_EQ(work_.run("snapshot tiny95.jt - --turntable 3").exit, 2);
  EXPECT_EQ(work_.run("snapshot tiny95.jt out.png --key 99").exit, 5);
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
