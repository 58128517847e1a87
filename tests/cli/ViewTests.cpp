// Pages: what is in them, whatever the page around it looks like.

#include <gtest/gtest.h>
#include <libdeflate.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <map>
#include <set>

#include "AssemblyFiles.h"
#include "Jt.h"
#include "JtMaterial.h"
#include "JtMesh.h"
#include "JtPartition.h"
#include "JtTexture.h"
#include "JtXform.h"
#include "Program.h"
#include "VisPartNode.h"

namespace cli {
namespace {

constexpr const char* kEmptyPage = "<p>before</p><!--jtw-page-data--><p>behind</p>";

/// The data of a page, taken apart.
struct Data {
  Json header;
  std::string arrays;

  template <class T>
  std::vector<T> array(const Json& offset, std::size_t count) const {
    std::vector<T> values(count);
    EXPECT_LE(offset.get<std::size_t>() + count * sizeof(T), arrays.size());
    std::memcpy(values.data(), arrays.data() + offset.get<std::size_t>(), count * sizeof(T));
    return values;
  }
  std::size_t itemCount() const { return header["items"]["count"]; }
  /// Addresses of the places of all items.
  std::vector<std::string> itemAddresses() const {
    std::vector<std::string> addresses;
    for (const auto place : array<std::uint32_t>(header["items"]["places"], itemCount()))
      addresses.push_back(header["nodes"].at(place)["address"]);
    return addresses;
  }
};

std::string bytesOf(const std::string& letters) {
  static const std::string kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bytes;
  std::uint32_t group = 0;
  unsigned bits = 0;
  for (const char letter : letters.substr(0, letters.find('='))) {
    const std::size_t value = kAlphabet.find(letter);
    EXPECT_NE(value, std::string::npos) << "a page with '" << letter << "' in its data";
    group = group << 6 | static_cast<std::uint32_t>(value);
    bits += 6;
    if (bits < 8) continue;
    bits -= 8;
    bytes += static_cast<char>(group >> bits & 0xff);
  }
  return bytes;
}

Data dataOf(const std::string& page) {
  const std::string before = "<p>before</p>";
  const std::string behind = "<p>behind</p>";
  EXPECT_TRUE(page.starts_with(before) && page.ends_with(behind)) << page.substr(0, 80);
  const std::string packed =
      bytesOf(page.substr(before.size(), page.size() - before.size() - behind.size()));
  std::string data(packed.size() * 1100, '\0');
  std::size_t size = 0;
  libdeflate_decompressor* inflater = libdeflate_alloc_decompressor();
  EXPECT_EQ(libdeflate_zlib_decompress(inflater, packed.data(), packed.size(), data.data(),
                                       data.size(), &size),
            LIBDEFLATE_SUCCESS);
  libdeflate_free_decompressor(inflater);
  std::uint32_t length = 0;
  std::memcpy(&length, data.data(), sizeof length);
  return {Json::parse(data.substr(4, length)), data.substr(4 + length, size - 4 - length)};
}

/// The program with a page of its own beside it, so that no test needs the one that is built.
class ViewPage : public testing::Test {
 protected:
  ViewPage() {
    work_.run("--version; mkdir bin; ln '" JTW_TOOL "' bin/jtw 2> io/ln || cp '" JTW_TOOL
              "' bin/jtw");
    work_.write("bin/jtw-view.html", kEmptyPage);
  }
  Outcome view(const std::string& line) const {
    return work_.run("--version > io/v; bin/jtw view " + line);
  }
  Data data(const std::string& line) const {
    const Outcome outcome = view(line + " -o out.html");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    return dataOf(work_.read("out.html"));
  }
  void edit(const std::string& line) const { ASSERT_EQ(work_.run(line).exit, 0) << line; }
  void makeComponent() const {
    edit("new cell.kpak --unit in");
    edit("add cell.kpak block --key 2 --parent 1 --name Arm --loc 1000,200,30");
  }
  /// A part in inches with a triangle of unequal sides, placed as that matrix has it.
  void savePart(const std::string& file, const jt::Matrix4& place) const {
    auto mesh = std::make_shared<jt::Mesh>();
    mesh->positions = {{9, 9, 9}, {1, 2, 0}, {4, 2, 0}, {1, 8, 5}};
    mesh->normals = {{0, 0, 1}, {0, 1, 0}};
    mesh->textures = {{.channel = 0, .components = 2, .values = {0.25F, 0.5F, 0.75F, 1}}};
    mesh->corners = {1, 2, 3, 3, 2, 1};
    mesh->records = {0, 0, 0, 0, 1, 1};
    const auto part = jt::make<VisPartNode>();
    part->addChild(jt::makeShape(mesh).get());
    part->addProperty(jt::make<JtStringPropAtom>(JtString(Jt::jtPropMeasurementUnits)).get(),
                      jt::make<JtStringPropAtom>(JtString("Inches")).get(), true);
    part->appendAttribute(jt::make<JtXform>(place).get());
    const auto material = jt::make<JtMaterial>();
    material->setDiffuseColor(1, 0.4F, 0.2F, 0.8F);
    part->appendAttribute(material.get());
    const auto texture = jt::make<JtTextureImage>();
    jt::TexturePixels pixels{2, 1, 3, {}};
    for (const int value : {255, 0, 9, 0, 8, 255})
      pixels.bytes.push_back(static_cast<std::byte>(value));
    texture->setPixels(pixels);
    texture->setWrap(jt::TextureWrap::mirror, jt::TextureWrap::clampToEdge);
    part->appendAttribute(texture.get());
    const auto partition = jt::make<JtPartition>();
    partition->addChild(part.get());
    const auto location =
        jt::make<JtFSStorageLocation>(JtString(work_.path("").c_str()), JtString(file));
    partition->save(location.get());
  }

  Workspace work_;
};

TEST_F(ViewPage, ListsTheObjectsOfTheComponentWithTheirProperties) {
  makeComponent();
  edit("add cell.kpak annotation --key 3 --parent 2 --type Note --name Hint --text 'mind the gap'");
  const Json nodes = data("cell.kpak").header["nodes"];
  ASSERT_EQ(nodes.size(), 3U);
  const Json tree = work_.json("tree cell.kpak")["root"];
  const Json* object = &tree;
  for (std::size_t i = 0; i < nodes.size(); ++i, object = &object->at("children")[0]) {
    EXPECT_EQ(nodes[i]["depth"], i);
    for (const auto& [name, value] : object->items())
      if (name != "children") {
        EXPECT_EQ(nodes[i][name], value) << i << name;
      }
    if (i + 1 == nodes.size()) break;
  }
  EXPECT_EQ(nodes[1]["properties"]["JT_PROP_NAME"], "Arm");
  EXPECT_EQ(nodes[2]["text"], Json({"mind the gap"}));
}

TEST_F(ViewPage, HoldsShapesInMillimetresFromTheirMiddle) {
  savePart("part.jt", {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 2, 0, 100, 30, 7, 1});
  const Data page = data("part.jt");
  ASSERT_EQ(page.itemCount(), 1U);
  const Json& mesh = page.header["meshes"][0];
  // One vertex for each position with a normal; the position that no corner has is left out.
  EXPECT_TRUE(matches(mesh, R"({"kind": "triangles", "vertices": 5, "corners": 6})"));
  const auto positions = page.array<float>(mesh["positions"], 15);
  const auto indices = page.array<std::uint32_t>(mesh["indices"], 6);
  const auto normals = page.array<std::int8_t>(mesh["normals"], 20);
  const auto matrix = page.array<float>(page.header["items"]["matrices"], 12);
  const std::vector<double> origin = page.header["origin"];
  // Coordinates in inches, turned and scaled, and the axis of the normal. Savers turn triangles.
  std::multiset<std::vector<long>> corners;
  for (const std::uint32_t vertex : indices) {
    std::vector<long> corner;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      double at = origin[axis] + static_cast<double>(matrix[9 + axis]);
      for (std::size_t i = 0; i < 3; ++i)
        at += static_cast<double>(positions[3 * vertex + i] * matrix[3 * i + axis]);
      corner.push_back(std::lround(at / 0.0254));
    }
    corner.push_back(std::find(&normals[4 * vertex], &normals[4 * vertex + 3], 127) -
                     &normals[4 * vertex]);
    corners.insert(corner);
  }
  EXPECT_EQ(corners, (std::multiset<std::vector<long>>{{96000, 32000, 7000, 2},
                                                       {96000, 38000, 7000, 2},
                                                       {84000, 32000, 17000, 2},
                                                       {84000, 32000, 17000, 2},
                                                       {96000, 38000, 7000, 1},
                                                       {96000, 32000, 7000, 1}}));
  EXPECT_NEAR(origin[0], 25.4 * 90, 1e-3);
  const auto color = page.array<std::uint8_t>(page.header["items"]["colors"], 4);
  EXPECT_EQ(color, (std::vector<std::uint8_t>{255, 102, 51, 204}));

  EXPECT_EQ(page.array<std::uint32_t>(page.header["items"]["textures"], 1).front(), 0U);
  const Json& texture = page.header["textures"][0];
  EXPECT_TRUE(
      matches(texture, R"({"width": 2, "height": 1, "translucent": false, "wrap": [3, 4]})"));
  EXPECT_EQ(page.array<std::uint8_t>(texture["texels"], 8),
            (std::vector<std::uint8_t>{255, 0, 9, 255, 0, 8, 255, 255}));
  const auto coordinates = page.array<float>(mesh["coordinates"][0]["at"], 10);
  for (std::size_t vertex = 0; vertex < 5; ++vertex)
    EXPECT_EQ(coordinates[2 * vertex + 1], normals[4 * vertex + 2] == 127 ? 0.5F : 1) << vertex;
  EXPECT_EQ(data("part.jt --textures off").header["textures"].size(), 0U);
}

TEST_F(ViewPage, MarksWhatChangedSinceAnotherFile) {
  const jt::Matrix4 place{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 3, 5, 7, 1};
  savePart("old.jt", place);
  jt::Matrix4 moved = place;
  moved[13] += 2;
  savePart("new.jt", moved);
  const Data page = data("new.jt --compare old.jt");
  EXPECT_TRUE(matches(page.header["comparison"], R"({"moved": 1, "removed": 0, "same": 0})"));
  ASSERT_EQ(page.itemCount(), 2U);  // the shade of the old place comes last, and is listed alike
  const auto flags = page.array<std::uint8_t>(page.header["items"]["flags"], 8);
  EXPECT_EQ(flags[1], 4);
  EXPECT_EQ(flags[5], 5);
  EXPECT_EQ(page.itemAddresses()[0], page.itemAddresses()[1]);
  const auto matrices = page.array<float>(page.header["items"]["matrices"], 24);
  EXPECT_NEAR(static_cast<double>(matrices[10] - matrices[22]), 2 * 25.4, 1e-3);
}

TEST_F(ViewPage, GivesLinesOfAnnotationsTheirObject) {
  makeComponent();
  for (const char* key : {"3", "4"})
    edit(std::string("add cell.kpak annotation --parent 2 --type Note --text ab --key ") + key);
  const Data page = data("cell.kpak");
  const Json& lines = page.header["annotations"];
  std::map<std::string, int> counts;
  for (const auto place : page.array<std::uint32_t>(lines["places"], lines["count"]))
    ++counts[page.header["nodes"].at(place)["address"]];
  EXPECT_EQ(counts.size(), 2U);
  EXPECT_GT(counts["3"], 0);
  EXPECT_EQ(counts["3"], counts["4"]);
}

TEST_F(ViewPage, NamesCannotBecomeMarkup) {
  makeComponent();
  const std::string name = "</script><img src=x onerror=alert(1)><!--";
  edit("set cell.kpak 2 'name=" + name + "'");
  edit("copy cell.kpak '<b>&.jt'");  // the name of the file is in the page too
  EXPECT_EQ(data("'<b>&.jt'").header["nodes"][1]["name"], name);  // checks all that is around it
}

TEST_F(ViewPage, ShowsEachPlaceOfASharedPart) {
  const AssemblyFiles files{.cells = 2, .partsPerCell = 2};
  files.write(work_.path(""));
  const Data page = data("hall.jt");
  EXPECT_EQ(page.itemCount(), files.entities());
  EXPECT_LT(page.header["meshes"].size(), files.entities());
  const std::vector<std::string> addresses = page.itemAddresses();
  EXPECT_EQ(std::set<std::string>(addresses.begin(), addresses.end()).size(), files.entities());
  // Each below the same matrix as in the tree: shared parts are placed by what is above them.
  const auto matrices = page.array<float>(page.header["items"]["matrices"], 12 * page.itemCount());
  std::set<std::vector<float>> places;
  for (std::size_t i = 0; i < page.itemCount(); ++i)
    places.emplace(matrices.begin() + static_cast<std::ptrdiff_t>(12 * i),
                   matrices.begin() + static_cast<std::ptrdiff_t>(12 * i + 12));
  EXPECT_EQ(places.size(), files.entities());
}

TEST_F(ViewPage, FailsLikeOtherCommandsAndWritesNothing) {
  makeComponent();
  work_.run("--version > io/v; head -c 300 tiny95.jt > cut.jt");
  const struct {
    const char* line;
    int exit;
    const char* code;
  } rows[] = {{"missing.jt -o out.html", 3, nullptr},
              {"cut.jt -o out.html", 3, nullptr},
              {"cell.kpak -o out.png", 2, "usage"},
              {"cell.kpak --lod 1.5", 2, "usage"},
              {"cell.kpak --compare missing.jt -o out.html", 3, "not_found"},
              {"cell.kpak -o no/where/out.html", 4, nullptr}};
  for (const auto& [line, exit, code] : rows) {
    SCOPED_TRACE(line);
    const Outcome outcome = view(std::string(line) + " --json");
    EXPECT_EQ(outcome.exit, exit);
    const Json error = outcome.json();
    EXPECT_EQ(error["schema"], "jtw.error/1");
    if (code) {
      EXPECT_EQ(error["code"], code);
    }
    const std::string document = std::string(line).substr(0, std::string(line).find(' '));
    if (exit == 3 && !code) {
      EXPECT_EQ(error, work_.json("tree " + document, 3));
    }
    EXPECT_FALSE(work_.exists("out.html"));
  }
  work_.write("bin/jtw-view.html", "another page");
  EXPECT_EQ(view("cell.kpak --json").json()["code"], "not_installed");
  std::filesystem::remove(work_.path("bin/jtw-view.html"));
  EXPECT_EQ(view("cell.kpak --json").json()["code"], "not_installed");
  EXPECT_EQ(view("cell.kpak").exit, 3);
}

}  // namespace
}  // namespace cli
