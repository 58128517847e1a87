// The commands on JT files, on every file of the test data.

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

#include "Program.h"

namespace cli {
namespace {

class DataFile : public testing::TestWithParam<std::string> {
 protected:
  const std::string& file() const { return GetParam(); }
  Workspace work_;
};

INSTANTIATE_TEST_SUITE_P(Data, DataFile, testing::ValuesIn(dataFiles()), [](const auto& test) {
  return test.param.substr(0, test.param.size() - 3);
});

TEST_P(DataFile, InfoAndGraphAgree) {
  const Json info = work_.json("info --segments " + file());
  EXPECT_EQ(info.at("size"), work_.read(file()).size());
  EXPECT_EQ(info.at("segmentList").size(), info.at("segments").at("count"));
  EXPECT_EQ(info.at("byteOrder"), file() == "tiny95be.jt" ? "big" : "little");

  const Json nodes = work_.json("graph --metadata " + file()).at("nodes");
  EXPECT_EQ(nodes.size(), info.at("graph").at("nodes"));
  EXPECT_EQ(nodes.at(0).at("type"), "Partition Node");
  std::set<std::int64_t> ids;
  std::size_t properties = 0;
  for (const Json& node : nodes) {
    EXPECT_TRUE(ids.insert(node.at("id").get<std::int64_t>()).second) << node;
    properties += node.at("properties").size();
    for (const Json& attribute : node.at("attributes")) EXPECT_NE(attribute.at("type"), "") << node;
  }
  EXPECT_EQ(properties, info.at("graph").at("properties"));
  for (const Json& node : nodes)
    for (const Json& child : node.at("children"))
      EXPECT_TRUE(ids.contains(child.get<std::int64_t>())) << node;
}

TEST_P(DataFile, CopyReachesAFixedPointAndKeepsTheOtherSegments) {
  const Json first = work_.json("copy " + file() + " a.jt");
  const Json second = work_.json("copy a.jt b.jt");
  EXPECT_EQ(work_.read("a.jt"), work_.read("b.jt"));
  EXPECT_EQ(work_.json("copy a.jt b.jt --dry-run").at("saved"), second.at("saved"));
  EXPECT_EQ(work_.json("graph b.jt").at("nodes"), work_.json("graph " + file()).at("nodes"));

  const auto segments = [this](const std::string& name) {
    std::map<std::string, std::string> bytes;
    const std::string all = work_.read(name);
    const Json info = work_.json("info --segments " + name);
    for (const Json& row : info.at("segmentList"))
      bytes[row.at("id")] = all.substr(row.at("offset"), row.at("length"));
    return bytes;
  };
  const auto before = segments(file());
  const auto after = segments("a.jt");
  for (const Json& row : first.at("segments")) {
    const std::string id = row.at("id");
    EXPECT_EQ(row.at("action"), row.at("type") == 1 ? "rewritten" : "copied") << row;
    if (row.at("action") == "copied") {
      EXPECT_EQ(before.at(id), after.at(id));
    }
  }
  EXPECT_EQ(before.size(), after.size());
}

TEST_P(DataFile, CopyThroughPipesGivesTheSameBytes) {
  work_.json("copy " + file() + " a.jt");
  const Outcome piped = work_.run("copy - - --json < " + file());
  EXPECT_EQ(piped.exit, 0);
  EXPECT_EQ(piped.out, work_.read("a.jt"));
  EXPECT_TRUE(
      matches(Json::parse(piped.err), R"({"schema": "jtw.copy/1", "saved": {"file": "-"}})"));
}

TEST_P(DataFile, VerifyFindsItSound) {
  const Json verdict = work_.json("verify " + file());
  EXPECT_EQ(verdict.at("sound"), true);
  for (const Json& finding : verdict.at("findings"))
    EXPECT_EQ(finding.at("severity"), "warning") << finding;
}

/// Bytes [first, last) that fields tell, in order.
struct Tiles {
  std::uint64_t end = 0;
  void add(const Json& field) {
    if (field.at("size") == 0) return;
    EXPECT_EQ(field.at("offset"), end) << field;
    end = field.at("offset").get<std::uint64_t>() + field.at("size").get<std::uint64_t>();
  }
};

TEST_P(DataFile, ExplainListsEveryByteOnce) {
  const Json explained = work_.json("explain " + file());
  const std::string bytes = work_.read(file());
  Tiles container;
  std::map<std::size_t, Tiles> inflated;
  std::vector<Json> inFile;
  for (const Json& field : explained.at("fields")) {
    if (field.at("inflated"))
      inflated[field.at("segment")].add(field);
    else
      inFile.push_back(field);
    EXPECT_NE(field.at("type"), "error") << field;
  }
  // Packed streams are reported by what is in them: one piece of the file each.
  const Json info = work_.json("info --segments " + file());
  for (const Json& row : info.at("segmentList")) {
    if (row.at("compression") == "none") continue;
    const std::uint64_t stream = row.at("offset").get<std::uint64_t>() + 33;
    inFile.push_back({{"offset", stream}, {"size", row.at("length").get<std::uint64_t>() - 33}});
  }
  std::stable_sort(inFile.begin(), inFile.end(), [](const Json& a, const Json& b) {
    return a.at("offset").get<std::uint64_t>() < b.at("offset").get<std::uint64_t>();
  });
  for (const Json& field : inFile) container.add(field);
  EXPECT_EQ(container.end, bytes.size());
  for (const Json& segment : explained.at("segments"))
    if (segment.at("inflatedOffsets")) {
      EXPECT_EQ(inflated.at(segment.at("index")).end, segment.at("size")) << segment;
    }
}

TEST(Explain, AByteAloneIsTheFieldOfTheList) {
  const Workspace work;
  const Json all = work.json("explain tiny95.jt");
  for (const Json& field : all.at("fields")) {
    if (field.at("size") == 0) continue;
    const std::uint64_t last =
        field.at("offset").get<std::uint64_t>() + field.at("size").get<std::uint64_t>() - 1;
    std::string line = "explain tiny95.jt@" + std::to_string(last);
    if (field.at("inflated")) line += " --segment " + field.at("segment").dump();
    if (last % 7 != 0) continue;  // enough of them
    const Json one = work.json(line).at("fields");
    ASSERT_EQ(one.size(), 1U) << line;
    EXPECT_TRUE(holds(one.at(0), field)) << line << one << field;
  }
}

TEST(Explain, ReportsWhatAFieldBelongsTo) {
  const Workspace work;
  const Json fields = work.json("explain tiny95.jt --segment 0").at("fields");
  const auto name = std::find_if(fields.begin(), fields.end(), [](const Json& field) {
    return field.at("value") == "Tiny.asm;0;0:";
  });
  ASSERT_NE(name, fields.end());
  const Json one = work.json("explain tiny95.jt@" + name->at("offset").dump() + " --segment 0");
  EXPECT_TRUE(matches(one.at("fields").at(0), R"({"value": "Tiny.asm;0;0:", "belongsTo":
      {"id": 1, "name": "Tiny.asm;0;0:", "type": "Partition Node", "key": "JT_PROP_NAME"}})"));
  EXPECT_TRUE(matches(work.json("explain tiny95.jt@300").at("fields").at(0),
                      R"({"path": "segment.compressedData", "offset": 198, "belongsTo": null})"));
}

TEST(Graph, ShowsValuesAsTheyAreMeant) {
  const Workspace work;
  for (const char* file : {"tiny81.jt", "tiny95.jt", "tiny95be.jt", "tiny100.jt", "tiny105.jt"}) {
    const Json nodes = work.json(std::string("graph --metadata ") + file).at("nodes");
    EXPECT_TRUE(matches(nodes.at(2), R"({"type": "Instance Node", "attributes": [
        {"type": "Geometric Transform Attribute",
         "matrix": [1, 0, 0, 10, 0, 1, 0, 20, 0, 0, 1, 30, 0, 0, 0, 1]}]})"))
        << file;
    EXPECT_TRUE(matches(nodes.at(3), R"({"type": "Part Node",
        "attributes": [{"type": "Material Attribute", "diffuse": {"r": 0.8, "g": 0.4, "b": 0.2, "a": 1}}],
        "properties": {"JT_LLPROP_METADATA": {"late": true, "segmentType": 4}},
        "metadata": {"Made": "2024-03-05T06:07:08", "LAYER::": 7}})"))
        << file;
  }
}

TEST(Info, ReportsWhatTheSceneGraphHas) {
  const Workspace work;
  EXPECT_TRUE(matches(work.json("info - < tiny100.jt"), R"({"schema": "jtw.info/1", "file": "-",
      "version": "10.0", "versionText": "Version 10.0 JT", "component": false, "native": false,
      "unit": "Millimeters", "bounds": {"min": [10, 20, 30], "max": [11, 22, 33]},
      "graph": {"depth": 6, "byType": {"Part Node": 1}},
      "shapes": {"count": 1, "triangles": 0, "byType": {"Null Shape Node": 1},
                 "lods": [{"level": 0, "count": 1, "bytes": 0}]},
      "segments": {"count": 2, "byType": [{"type": 1, "name": "Logical Scene Graph", "count": 1},
                                          {"type": 4, "name": "Meta Data", "count": 1}]}})"));
}

TEST(Copy, ReportsWhatAVersionChangeLeavesOut) {
  const Workspace work;
  EXPECT_TRUE(matches(work.json("info zoo95.jt"),
                      R"({"graph": {"attributes": 8, "unlistedAttributes": 7}})"));
  std::string leftOut;
  const Json report = work.json("copy zoo95.jt out.jt --version 10.0");
  for (const Json& warning : report.at("warnings"))
    if (warning.at("code") == "not_convertible") leftOut += warning.at("message");
  for (const char* kind : {"Shader Effects", "Vertex Shader", "Fragment Shader"})
    EXPECT_NE(leftOut.find(kind), std::string::npos) << leftOut;
  EXPECT_TRUE(work.json("copy zoo95.jt out.jt --version 9.5").at("warnings").empty());
}

TEST(Verify, AnswersForSeveralFiles) {
  const Workspace work;
  work.write("cut.jt", work.read("tiny95.jt").substr(0, 700));
  std::string damaged = work.read("tiny95.jt");
  damaged[400] = static_cast<char>(damaged[400] ^ 1);
  work.write("damaged.jt", damaged);
  EXPECT_TRUE(
      matches(work.json("verify cut.jt", 1),
              R"({"sound": false, "findings": [{"severity": "error", "code": "truncated"}]})"));
  EXPECT_EQ(work.json("verify damaged.jt", 1).at("sound"), false);
  EXPECT_TRUE(matches(work.json("verify tiny95.jt tiny81.jt"), R"({"sound": true})"));
  EXPECT_TRUE(matches(work.json("verify tiny95.jt missing.jt", 1), R"({"sound": false, "files": [
      {"file": "tiny95.jt", "sound": true, "findings": []},
      {"file": "missing.jt", "sound": false, "findings": [{"code": "not_found"}]}]})"));
  work.json("verify missing.jt missing2.jt", 3);
}

TEST(Copy, AFailureLeavesTheOldFile) {
  const Workspace work;
  work.write("old.jt", "precious");
  EXPECT_EQ(work.run("copy tiny95.jt old.jt --version 7.0").exit, 4);
  EXPECT_EQ(work.run("copy tiny95.jt old.jt --max-segment 1").exit, 3);
  EXPECT_EQ(work.run("copy tiny95.jt old.jt --dry-run").exit, 0);
  EXPECT_EQ(work.read("old.jt"), "precious");
  for (const std::string version : {"8.1", "8.2", "9.5", "10.0", "10.2"}) {
    EXPECT_EQ(work.run("copy tiny95.jt old.jt --version " + version).exit, 0);
    EXPECT_EQ(work.json("info old.jt").at("version"), version);
    EXPECT_EQ(work.json("verify old.jt").at("sound"), true);
  }
}

/// File names are bytes, whatever they mean.
TEST(FileNames, NeedNotBeUtf8) {
  const Workspace work;
  const std::string in = "b\xffse";
  const std::string out = "o\xfe";
  for (const char* name : {".jt", "/asm95.jt", "/tiny95.jt"}) {
    std::filesystem::create_directory(work.path(in));
    const std::string from = name[0] == '/' ? name + 1 : "tiny95.jt";
    std::filesystem::copy_file(work.path(from), work.path(in + name));
  }
  work.write(in + ".obj", "v 0 0 0\nv 7 0 0\nv 0 3 0\nf 1 2 3\n");
  work.write(in + ".list", in + ".jt\n");
  work.write(in + ".json", R"({"schema": "jtw.script/1", "steps": []})");
  const std::string plan = R"({"schema": "jtw.plan/1", "items": [{"source": "tiny95.jt"}]})";
  work.write(in + "-plan.json", plan);
  // IN and OUT are the names; the file behind the colon is there afterwards.
  std::vector<std::string> lines = {"info IN.jt",
                                    "graph IN.jt",
                                    "metadata IN.jt",
                                    "explain IN.jt",
                                    "explain IN.jt@8",
                                    "verify IN.jt",
                                    "verify --files-from IN.list --sarif OUT.sarif:OUT.sarif",
                                    "tree IN.jt",
                                    "find IN.jt key",
                                    "inspect IN.jt",
                                    "get IN.jt root",
                                    "pmi IN.jt",
                                    "wires IN.jt",
                                    "frames IN.jt",
                                    "tree stream:IN.jt",
                                    "info IN/asm95.jt",
                                    "verify IN/asm95.jt",
                                    "copy IN.jt OUT.jt:OUT.jt",
                                    "diff IN.jt OUT.jt",
                                    "copy IN/asm95.jt OUT-a.jt:OUT-a.jt",
                                    "copy IN/asm95.jt IN/OUT.jt --version 10.0:IN/OUT/tiny95.jt",
                                    "info IN/OUT.jt",
                                    "new OUT.kpak:OUT.kpak/OUT.jt",
                                    "add OUT.kpak block",
                                    "set OUT.kpak 1 name=A",
                                    "set stream:OUT.kpak/OUT.jt 1 name=B",
                                    "mv OUT.kpak 2 --parent 1",
                                    "rm OUT.kpak 2",
                                    "edit OUT.kpak IN.json",
                                    "buffer OUT.kpak kin set IN.obj",
                                    "buffer OUT.kpak kin get OUT.bin:OUT.bin",
                                    "export-partition OUT.kpak OUT-p.jt:OUT-p.jt",
                                    "export IN.jt OUT-e.jt:OUT-e.jt",
                                    "export IN.jt OUT-f.jt --per-part:OUT-f",
                                    "assemble IN-plan.json OUT-m.jt:OUT-m.jt",
                                    "update-materials OUT.kpak",
                                    "copy OUT.kpak OUT-n.jt",
                                    "diff --patch OUT.kpak OUT-n.jt -o OUT.patch:OUT.patch",
                                    "apply OUT.kpak OUT.patch",
                                    "merge OUT.kpak OUT.kpak OUT.kpak OUT-t.jt:OUT-t.jt",
                                    "snapshot IN.jt OUT.png:OUT.png"};
  if (JTW_HAS_MESH)
    lines.insert(
        lines.end(),
        {"import IN.obj OUT-i.kpak:OUT-i.kpak/OUT-i.jt", "convert IN.obj OUT-c.jt:OUT-c.jt",
         "convert OUT-c.jt OUT-c.glb:OUT-c.glb", "convert OUT-c.jt OUT-c.obj:OUT-c.obj",
         "convert OUT-c.jt OUT-c.stl:OUT-c.stl", "convert OUT-c.jt OUT-c.ply:OUT-c.ply",
         "convert OUT-c.glb OUT-g.jt:OUT-g.jt", "convert OUT-c.jt OUT-j.jt:OUT-j.jt",
         "convert IN.obj -o OUT-d --to stl:OUT-d/IN.stl"});
  for (const std::string& line : lines) {
    std::string named = std::regex_replace(line, std::regex("IN"), in);
    named = std::regex_replace(named, std::regex("OUT"), out);
    const std::size_t colon = named.rfind(':');
    const bool hasFile = colon != std::string::npos && named.rfind("stream:") + 6 != colon;
    const Outcome run = work.run(named.substr(0, hasFile ? colon : named.size()));
    EXPECT_EQ(run.exit, 0) << line << "\n" << run.err;
    if (hasFile) {
      EXPECT_TRUE(work.exists(named.substr(colon + 1))) << line;
    }
  }
  EXPECT_EQ(work.json("info " + in + ".jt")["file"], "b\xef\xbf\xbdse.jt");
  for (const auto& entry : std::filesystem::recursive_directory_iterator(work.path("")))
    EXPECT_EQ(entry.path().string().find("\xef\xbf\xbd"), std::string::npos) << entry.path();
}

}  // namespace
}  // namespace cli
