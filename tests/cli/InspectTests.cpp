// Tables of parts, and where one object lies seen from another.

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "Jt.h"
#include "JtInstance.h"
#include "JtLOD.h"
#include "JtMesh.h"
#include "JtPMI.h"
#include "JtPartition.h"
#include "JtTexture.h"
#include "JtXform.h"
#include "Program.h"
#include "VisPartNode.h"

namespace cli {
namespace {

void addText(JtNode& node, const char* key, const char* text) {
  node.addProperty(jt::make<JtStringPropAtom>(JtString(key)).get(),
                   jt::make<JtStringPropAtom>(JtString(text)).get(), true);
}

jt::Ref<JtMaterial> colored(float r, float g, float b) {
  auto material = jt::make<JtMaterial>();
  material->setDiffuseColor(r, g, b, 1);
  return material;
}

jt::Ref<JtTriStripSet> fan(std::uint32_t triangles, float size) {
  auto mesh = std::make_shared<jt::Mesh>();
  for (std::uint32_t i = 0; i < triangles + 2; ++i)
    mesh->positions.push_back({size * static_cast<float>(i % 2), static_cast<float>(i), 3});
  for (std::uint32_t i = 0; i < triangles; ++i)
    mesh->corners.insert(mesh->corners.end(), {i, i + 1, i + 2});
  auto shape = jt::make<JtTriStripSet>();
  shape->setMesh(mesh);
  return shape;
}

/// A workspace with press.jt, of another system: in "Press", red, "Frame" in two places (three
/// levels of detail, a texture, wires, a shape in blue), "Bolt" (a shape, two annotations, inches,
/// two properties) and "Seal" (a shape without
/// counts, placed by a singular matrix).
class Inspect : public testing::Test {
 protected:
  Inspect() {
    const auto frame = part("Frame");
    const auto levels = jt::make<JtRangeLOD>();
    for (const auto& shape : {fan(7, 2), fan(3, 2), fan(1, 2)}) {
      shape->appendAttribute(colored(0, 0, 1).get());
      levels->addChild(shape.get());
    }
    frame->addChild(levels.get());
    const auto image = jt::make<JtTextureImage>();
    image->setFileName(JtString("steel, brushed.png"));
    frame->appendAttribute(image.get());
    const auto wires = jt::make<JtWireframeRep>();
    wires->addEdge(jt::polylineCurve({{0, 0, 0}, {1, 2, 3}}));
    frame->setWFRep(wires.get());

    const auto bolt = part("Bolt");
    bolt->addChild(fan(5, 1).get());
    addText(*bolt, Jt::jtPropMeasurementUnits, "Inches");
    addText(*bolt, "Supplier", "Nord");
    const auto pmi = jt::make<PMIDataManager>();
    for (const int type : {0x0100, 0x0082}) {
      jt::PMIGenericEntity entity;
      entity.type = static_cast<std::uint16_t>(type);
      pmi->addGenericEntity(entity);
    }
    bolt->setPMI(pmi.get());

    const auto seal = part("Seal");
    const auto unstated = jt::make<JtTriStripSet>();
    unstated->setStatistics(
        {.box = {{0, 0, 0}, {1, 1, 4}}, .vertices = {0, -1}, .polygons = {0, -1}});
    seal->addChild(unstated.get());
    seal->appendAttribute(
        jt::make<JtXform>(jt::Matrix4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}).get());

    const auto press = jt::make<VisMetaDataNode>();
    addText(*press, Jt::jtPropName, "Press");
    press->appendAttribute(colored(1, 0, 0).get());
    place(*press, *frame, 100);
    place(*press, *frame, 200);
    press->addChild(bolt.get());
    press->addChild(seal.get());
    const auto top = jt::make<JtPartition>();
    top->addChild(press.get());
    const auto location =
        jt::make<JtFSStorageLocation>(JtString(), JtString(work_.path("press.jt").string()));
    top->save(location.get());
  }

  static jt::Ref<VisPartNode> part(const char* name) {
    auto made = jt::make<VisPartNode>();
    addText(*made, Jt::jtPropName, name);
    return made;
  }
  static void place(JtGroup& parent, JtNode& child, double x) {
    const auto instance = jt::make<JtInstance>();
    instance->appendAttribute(
        jt::make<JtXform>(jt::Matrix4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, 0, 0, 1}).get());
    instance->setChild(&child);
    parent.addChild(instance.get());
  }
  /// The last steps of the paths, in order.
  std::string namesOf(const std::string& options) const {
    std::string names;
    const Json result = work_.json("inspect press.jt " + options);
    for (const Json& each : result.at("parts")) {
      const std::string path = each.at("path");
      names += (names.empty() ? "" : " ") + path.substr(path.rfind('/') + 1);
    }
    return names;
  }

  Workspace work_;
};

TEST_F(Inspect, ListsWhatTheFileStatesOfEachPart) {
  const Json result = work_.json("inspect press.jt");
  ASSERT_EQ(result.at("parts").size(), 3U);
  const char* const expected[] = {
      R"({"key": null, "triangles": 7, "lods": 3, "bounds": {"min": [100, 0, 3],
          "max": [102, 8, 3]}, "material": {"r": 0, "g": 0, "b": 1, "a": 1},
          "texture": "steel, brushed.png", "unit": "Millimeters", "instances": 2, "exact": true,
          "annotations": 0})",
      R"({"key": null, "triangles": 5, "lods": 1, "bounds": {"min": [0, 0, 76.2],
          "max": [25.4, 152.4, 76.2]}, "material": {"r": 1, "g": 0, "b": 0, "a": 1},
          "texture": null, "unit": "Inches", "instances": 1, "exact": false, "annotations": 2})",
      R"({"key": null, "triangles": null, "vertices": null, "lods": 1, "bytes": 0,
          "instances": 1})"};
  for (std::size_t i = 0; i < 3; ++i) EXPECT_TRUE(matches(result["parts"][i], expected[i]));
  const Json shapes = work_.json("info press.jt").at("shapes");
  std::uint64_t geometry = 0;
  for (const Json& level : shapes.at("lods")) geometry += level.at("bytes").get<std::uint64_t>();
  const Json& totals = result.at("totals");
  EXPECT_GT(totals.at("bytes"), geometry) << "wires and annotations too";
  EXPECT_TRUE(matches(totals, R"({"parts": 3, "uncounted": 1, "triangles": 12,
                                  "shownTriangles": 19, "instances": 4, "annotations": 2})"));
  EXPECT_EQ(totals.at("vertices"), shapes.at("vertices"));
  const Outcome text = work_.run("inspect press.jt");
  EXPECT_NE(text.out.find("3 parts in 4 places, 12 triangles (19 in all places)"),
            std::string::npos)
      << text.out;
}

TEST_F(Inspect, SortsByAnyColumnAndTakesASelection) {
  const struct {
    const char* options;
    const char* names;
  } orders[] = {{"", "Frame Bolt Seal"},
                {"--sort path", "Bolt Frame Seal"},
                {"--sort triangles", "Bolt Frame Seal"},
                {"--sort triangles,desc", "Frame Bolt Seal"},
                {"--sort vertices", "Bolt Frame Seal"},
                {"--sort bytes", "Seal Bolt Frame"},
                {"--sort bounds,desc", "Bolt Frame Seal"},
                {"--sort material", "Frame Bolt Seal"},
                {"--sort texture,desc", "Frame Bolt Seal"},
                {"--sort unit", "Bolt Frame Seal"},
                {"--sort lods", "Bolt Seal Frame"},
                {"--sort instances", "Bolt Seal Frame"},
                {"--sort exact", "Bolt Seal Frame"},
                {"--sort annotations,desc", "Bolt Frame Seal"},
                {"--sort key", "Frame Bolt Seal"},
                {"--select 'name=*e* and not name=Seal'", "Frame"},
                {"--select 'kind=component'", ""}};
  for (const auto& [options, names] : orders) EXPECT_EQ(namesOf(options), names) << options;

  std::istringstream csv(work_.run("inspect press.jt --csv --select 'not name=Seal'").out);
  std::vector<std::string> lines;
  for (std::string line; std::getline(csv, line);) lines.push_back(line);
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_TRUE(lines[0].starts_with("path,key,triangles,vertices,lods,bytes,minX,")) << lines[0];
  EXPECT_NE(lines[1].find(",100,0,3,102,8,3,#0000ff,\"steel, brushed.png\",Millimeters,2,true,0"),
            std::string::npos)
      << lines[1];

  const struct {
    const char* line;
    int exit;
    const char* text;
  } wrong[] = {{"inspect press.jt --sort triangels", 2, "did you mean 'triangles'"},
               {"inspect press.jt --sort xyz", 2, "the columns are path, key"},
               {"inspect press.jt --sort bytes,down", 2, "'down', not desc"},
               {"inspect press.jt --select 'name='", 2, "at character 6"},
               {"inspect press.jt --select below=Nothing", 5, "Nothing"},
               {"inspect press.jt --csv --json", 2, "exclude each other"},
               {"inspect nothing.jt", 3, "nothing.jt"}};
  for (const auto& [line, exit, text] : wrong) {
    const Outcome outcome = work_.run(line);
    EXPECT_EQ(outcome.exit, exit) << line;
    EXPECT_NE(outcome.err.find(text), std::string::npos) << outcome.err;
  }
}

TEST_F(Inspect, InfoSaysWhatKindsOfDataThereAre) {
  const struct {
    const char* file;
    const char* content;
  } contents[] = {
      {"press.jt", R"({"pmi": true, "exactGeometry": true, "textures": true, "otherFiles": true})"},
      {"typed95.jt", R"({"pmi": true, "exactGeometry": false})"},
      {"zoo100.jt", R"({"pmi": false, "textures": true})"},
      {"tiny100.jt", R"({"pmi": false, "exactGeometry": false, "textures": false,
                         "otherFiles": false})"}};
  for (const auto& [file, content] : contents)
    EXPECT_TRUE(matches(work_.json(std::string("info ") + file).at("content"), content)) << file;
  EXPECT_NE(
      work_.run("info press.jt")
          .out.find("content     annotations (PMI), exact geometry, textures, references to other"),
      std::string::npos);
}

TEST_F(Inspect, MetadataIsListedForAllNodesAndForOne) {
  const Json all = work_.json("metadata press.jt");
  std::string names;
  std::string bolt;
  for (const Json& node : all.at("nodes")) {
    EXPECT_TRUE(node.at("path").is_null());
    if (!node.at("name").is_null()) names += node.at("name").get<std::string>() + " ";
    if (node.at("name") == "Bolt") bolt = "'#" + node.at("id").dump() + "'";
  }
  EXPECT_EQ(names, "Press Frame Bolt Seal ");
  for (const std::string& address : {bolt, std::string("Bolt")}) {
    const Json nodes = work_.json("metadata press.jt " + address).at("nodes");
    ASSERT_EQ(nodes.size(), 1U) << address;
    EXPECT_TRUE(matches(nodes[0], R"({"name": "Bolt", "metadata": null,
        "properties": {"Supplier": "Nord", "JT_LLPROP_PMI": {"late": true}}})"));
    EXPECT_EQ(nodes[0].at("path").is_null(), address == bolt);
  }
  for (const char* address : {"'#6'", "Cube"})
    EXPECT_TRUE(matches(work_.json(std::string("metadata tiny95.jt ") + address).at("nodes"),
                        R"([{"metadata": {"Made": "2024-03-05T06:07:08", "LAYER::": 7}}])"));
  const struct {
    const char* words;
    int exit;
    const char* code;
  } wrong[] = {{"press.jt '#9999'", 5, "unknown_key"},
               {"press.jt Nut", 5, "unknown_key"},
               {"press.jt '#1/2:'", 2, "usage"},
               {"press.jt Bolt --parts", 2, "usage"},
               {"nothing.jt", 3, "not_found"},
               {"nothing.jt Bolt", 3, "not_found"},
               {"press.jt /Press/Frame/x", 5, "unknown_key"}};
  for (const auto& [words, exit, code] : wrong)
    EXPECT_EQ(work_.json(std::string("metadata ") + words, exit).at("code"), code) << words;
  EXPECT_EQ(work_.run("new cell.kpak").exit, 0);
  EXPECT_EQ(work_.run("add cell.kpak frame --name F").exit, 0);
  EXPECT_EQ(work_.json("metadata cell.kpak F", 5).at("code"), "no_node");
  EXPECT_TRUE(matches(work_.json("metadata cell.kpak root").at("nodes"),
                      R"([{"key": 1, "path": "/cell"}])"));
}

// The file has singles: what it shows has no more digits than these need.
TEST_F(Inspect, NumbersAreTheShortestThatReadBackAsStored) {
  for (const char* line : {"new cell.kpak", "add cell.kpak block --loc 0.1,-0.2,1234.567 unit=in",
                           "add cell.kpak block --parent 2 --loc 0.3,2e-7,16777217,10,0,0"})
    EXPECT_EQ(work_.run(line).exit, 0) << line;
  const std::string place = "[1, 0, 0, 0.1, 0, 1, 0, -0.2, 0, 0, 1, 1234.567, 0, 0, 0, 1]";
  const struct {
    const char* command;
    std::string text;
  } shown[] = {{"tree cell.kpak", "\"relLoc\": " + place},
               {"get cell.kpak 2", "\"absLoc\": " + place},
               {"set cell.kpak 2 name=A", "\"relLoc\": " + place},
               {"get cell.kpak 3",
                "[1, 0, 0, 0.3, 0, 0.9848077, -0.17364818, 2e-07, 0, 0.17364818, 0.9848077, "},
               {"graph cell.kpak", "0.003937008, 0, 1, 0, -0.007874016, 0, 0, 1, 48.605, 0"}};
  for (const auto& [command, text] : shown) {
    const std::string out = work_.run(command + std::string(" --json")).out;
    EXPECT_NE(out.find(text), std::string::npos) << out;
  }
}

TEST_F(Inspect, FramesSayWhereAnObjectLiesSeenFromAnother) {
  for (const char* line : {"new cell.kpak", "add cell.kpak block --name A --loc 100,0,0,0,0,90",
                           "add cell.kpak block --name B --parent A --loc 10,20,30,40,0,0 unit=in",
                           "add cell.kpak frame --name F --parent B --loc 1,0,0"})
    EXPECT_EQ(work_.run(line).exit, 0) << line;
  const struct {
    const char* options;
    const char* expected;
  } placements[] = {
      {"--from A --to F", R"({"from": "2", "to": "4", "unit": "Millimeters",
          "translate": [11, 20, 30], "rotate": [40, 0, 0]})"},
      {"--from F --to root --unit inches", R"({"unit": "Inches",
          "translate": [-0.43307, 1.65354, -2.92930], "rotate": [0, -40, -90]})"},
      {"--from root --to /cell/A/B", R"({"translate": [80, 10, 30],
          "matrix": [0, -0.76604, 0.64279, 80, 1, 0, 0, 10, 0, 0.64279, 0.76604, 30,
                     0, 0, 0, 1]})"},
      {"--from A --to F --unit UM",
       R"({"unit": "Micrometers", "translate": [10999.99962, 19999.99925, 30000.00038]})"},
      {"--from 3 --to 3 --unit m", R"({"translate": [0, 0, 0], "unit": "Meters"})"}};
  for (const auto& [options, expected] : placements) {
    Json result = work_.json(std::string("frames cell.kpak ") + options);
    for (const char* member : {"translate", "rotate", "matrix"})
      for (Json& number : result.at(member))
        number = std::round(number.get<double>() * 1e5) / 1e5 + 0.0;
    EXPECT_TRUE(matches(result, expected)) << options;
  }
  const struct {
    const char* words;
    int exit;
    const char* code;
  } wrong[] = {{"cell.kpak --from A", 2, "usage"},
               {"cell.kpak --unit mm", 2, "usage"},
               {"cell.kpak 2 --from A --to B", 2, "usage"},
               {"cell.kpak --from A --to B --dry-run", 2, "usage"},
               {"cell.kpak --from A --to B --unit ell", 2, "usage"},
               {"cell.kpak --from A --to /cell//B", 2, "usage"},
               {"cell.kpak --from A --to C", 5, "unknown_key"},
               {"press.jt --from Seal --to Bolt", 5, "singular"},
               {"press.jt --from Bolt --to Seal", 5, "singular"}};
  for (const auto& [words, exit, code] : wrong)
    EXPECT_EQ(work_.json(std::string("frames ") + words, exit).at("code"), code) << words;
}

}  // namespace
}  // namespace cli
