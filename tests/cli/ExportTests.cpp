// The commands `export` and `assemble`: results, refusals, and reports of what is left out.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <set>

#include "AssemblyFiles.h"
#include "Jt.h"
#include "JtBaseDataStream.h"
#include "JtPartition.h"
#include "Program.h"
#include "VisPartNode.h"

namespace cli {
namespace {

class Export : public testing::Test {
 protected:
  Workspace work_;

  static std::string plan(const std::string& items, const std::string& more = "") {
    return R"({"schema": "jtw.plan/1", )" + more + R"("items": [)" + items + "]}";
  }
  Json bounds(const std::string& file) const { return work_.json("info " + file).at("bounds"); }
};

TEST_F(Export, WritesWholeAssembliesInOneFileAndInPartFiles) {
  AssemblyFiles{.cells = 2, .partsPerCell = 3}.write(work_.path("in"));
  for (const std::string way : {"--monolithic", "--per-part"}) {
    for (const std::string version : {"8.2", "9.5", "10.0", "10.2"}) {
      const Json done =
          work_.json("export in/hall.jt out.jt " + way + " --layer 4 --version " + version);
      const Json& exported = done.at("exported");
      EXPECT_EQ(exported.at("parts"), 6) << exported;
      EXPECT_EQ(exported.at("instances"), 12) << exported;
      EXPECT_TRUE(done.at("leftOut").empty()) << done;
      EXPECT_EQ(done.at("files").size(), 8U);
      EXPECT_EQ(exported.at("files").size(), way == "--per-part" ? 7U : 1U);
      for (const Json& file : exported.at("files"))
        EXPECT_EQ(file.at("bytes"), std::filesystem::file_size(work_.path(file.at("file"))));
      EXPECT_EQ(work_.json("info out.jt").at("version"), version);
      EXPECT_TRUE(matches(bounds("out.jt"), R"({"min": [-5, -99, 6], "max": [27, 103, 9]})"));
      EXPECT_EQ(work_.run("verify out.jt").exit, 0);
    }
  }
  // The same again replaces the part files; a dry run and a refusal replace nothing.
  const std::string before = work_.read("out.jt");
  EXPECT_EQ(
      work_.json("export in/hall.jt out.jt --per-part --dry-run").at("exported").at("files").size(),
      7U);
  EXPECT_EQ(work_.run("export in/hall.jt missing/out.jt").exit, 4);
  EXPECT_EQ(work_.run("export nowhere.jt out.jt").exit, 3);
  for (const char* wrong : {"out.kpak", "- --per-part", "out.jt --version 7.0", "out.jt --layer x",
                            "out.jt --exclude-pmi Nonsense", "out.jt --per-part --monolithic"})
    EXPECT_EQ(work_.run(std::string("export in/hall.jt ") + wrong).exit, 2) << wrong;
  EXPECT_EQ(work_.read("out.jt"), before);
}

TEST_F(Export, NotesTheMomentOfTheEnvironmentWhateverTheTimeZone) {
  AssemblyFiles{.cells = 1, .partsPerCell = 2}.write(work_.path("in"));
  ASSERT_EQ(setenv("TZ", "Asia/Kolkata", 1), 0);
  ASSERT_EQ(setenv("SOURCE_DATE_EPOCH", "981173106", 1), 0);
  for (const std::string command : {"export", "export-partition"}) {
    EXPECT_EQ(work_.run(command + " in/hall.jt dated.jt").exit, 0) << command;
    const Outcome listed = work_.run("metadata dated.jt");
    EXPECT_NE(listed.out.find("3/2/2001, 4:5\n"), std::string::npos) << command << listed.out;
  }
  for (const char* wrong : {"-1", "5s", "253402300800", "99999999999999999999"}) {
    ASSERT_EQ(setenv("SOURCE_DATE_EPOCH", wrong, 1), 0);
    EXPECT_EQ(work_.run("export in/hall.jt wrong.jt").exit, 2) << wrong;
  }
  EXPECT_FALSE(work_.exists("wrong.jt"));
  unsetenv("SOURCE_DATE_EPOCH");
  unsetenv("TZ");
}

TEST_F(Export, NeverReplacesOrRemovesAFileThatItReads) {
  AssemblyFiles{.cells = 1, .partsPerCell = 2}.write(work_.path("in"));
  std::filesystem::create_symlink("in/cell0/part1.jt", work_.path("link.jt"));
  work_.run("export in/hall.jt out.jt --per-part");
  const std::string first = work_.json("tree out.jt").at("files")[0].at("file");
  work_.write("plan.json", plan(R"({"source": "in/cell0/part0.jt"})"));
  work_.write("older.json", plan("{\"source\": \"" + first + "\"}"));
  const char* const inputs[] = {"in/hall.jt", "in/cell0/part1.jt", "plan.json", "out.jt"};
  std::vector<std::string> before;
  for (const char* input : inputs) before.push_back(work_.read(input));
  before.push_back(work_.read(first));
  for (const char* command :
       {"export in/hall.jt in/hall.jt", "export in/hall.jt in/../in/cell0/part1.jt",
        "export in/hall.jt link.jt", "assemble plan.json plan.json",
        "assemble plan.json in/cell0/part0.jt", "assemble older.json out.jt --per-part"}) {
    const Outcome outcome = work_.run(command);
    EXPECT_EQ(outcome.exit, 2) << command << outcome.err;
    EXPECT_NE(outcome.err.find("is read for the export"), std::string::npos) << outcome.err;
  }
  for (std::size_t i = 0; i < std::size(inputs); ++i)
    EXPECT_EQ(work_.read(inputs[i]), before[i]) << inputs[i];
  EXPECT_EQ(work_.read(first), before.back());
}

TEST_F(Export, ReportsGeometryThatCannotBeReadAndWritesTheRest) {
  const Json done = work_.json("export zoo95.jt out.jt", 1);
  ASSERT_FALSE(done.at("leftOut").empty());
  EXPECT_EQ(done.at("leftOut")[0].at("what"), "geometry");
  EXPECT_EQ(work_.run("verify out.jt").exit, 0);
}

TEST_F(Export, EndsWhereAPartFileCannotBeRead) {
  AssemblyFiles{.cells = 1, .partsPerCell = 3}.write(work_.path("in"));
  work_.run("export in/hall.jt out.jt --per-part");
  const std::string before = work_.read("out.jt");
  const std::string part = "in/cell0/part1.jt";
  const std::string whole = work_.read(part);
  // One that is missing or damaged is left out; a loop of links is an error of the system.
  std::filesystem::remove(work_.path(part));
  EXPECT_EQ(work_.run("export in/hall.jt less.jt").exit, 1);
  std::filesystem::create_symlink("part1.jt", work_.path(part));
  for (const char* way : {"", " --per-part"}) {
    const Json error = work_.json(std::string("export in/hall.jt out.jt") + way, 3);
    EXPECT_EQ(error.at("code"), "source_unreadable") << error;
  }
  EXPECT_EQ(work_.read("out.jt"), before);
  std::filesystem::remove(work_.path(part));
  work_.write(part, whole);
  EXPECT_EQ(work_.run("export in/hall.jt out.jt --per-part").exit, 0);
}

/// A segment of exact geometry that no version but its own has a form for.
struct Body : JtBase {
  const JtType* typeID() const override {
    static const JtType type("Body", JtBase::classTypeID(), {0x4a540000, 1, 2, {}});
    return &type;
  }
  bool serialize(JtBaseDataStream& stream) const override { return stream.write(JtString("x")); }
};

TEST_F(Export, AndCopyReportExactGeometryThatTheVersionCannotHold) {
  const auto top = jt::make<JtPartition>();
  top->setVersion({9, 5});
  const auto base = jt::make<VisMetaDataNode>();
  for (const char* name : {"bolt", "nut"}) {
    const auto part = jt::make<VisPartNode>();
    part->addProperty(JtString(Jt::jtPropName), jt::make<JtStringPropAtom>(JtString(name)).get(),
                      true);
    part->addProperty(JtString("JT_LLPROP_XTBREP"),
                      jt::make<JtLateLoadedPropAtom>(jt::Ref<JtBase>(new Body), 17).get(), true);
    base->addChild(part.get());
  }
  base->addProperty(JtString(Jt::jtPropName), jt::make<JtStringPropAtom>(JtString("Base")).get(),
                    true);
  static_cast<VisPartNode*>(base->child(0))
      ->addProperty(JtString("KrGmProtoKey"), jt::make<JtInt32PropAtom>(12).get(), true);
  top->addChild(base.get());
  top->save(
      jt::make<JtFSStorageLocation>(JtString(), JtString(work_.path("in.jt").string())).get());
  const Outcome copied = work_.run("copy in.jt out.jt --version 10.0");
  const Json lost = work_.json("copy in.jt out.jt --version 10.0").at("saved").at("lostGeometry");
  EXPECT_EQ(lost.size(), 2U);
  EXPECT_TRUE(matches(lost[1], R"({"part": "nut", "type": 17})"));
  EXPECT_NE(copied.err.find("of part 'nut' (#" + lost[1].at("node").dump() +
                            ") is left out: " + lost[1].at("reason").get<std::string>()),
            std::string::npos)
      << copied.err;
  work_.write("out.jt", "kept");
  const Json losses = work_.json("copy in.jt out.jt --version 10.0 --dry-run").at("losses");
  EXPECT_TRUE(matches(losses, R"([{"type": 17, "what": "XT B-Rep", "nodes": [{"key": 12,
      "name": "bolt", "path": "/Base/bolt"}]}, {"nodes": [{"key": null, "name": "nut",
      "path": "/Base/nut"}]}])"));
  EXPECT_EQ(losses[1]["nodes"][0].at("id"), lost[1].at("node"));
  for (const std::string command : {"convert", "export-partition"})
    EXPECT_TRUE(matches(work_.json(command + " in.jt out.jt --version 10.0 --dry-run").at("losses"),
                        R"([{"what": "XT B-Rep", "nodes": [{"key": 12, "path": "/Base/bolt"}]},
                            {"what": "XT B-Rep", "nodes": [{"key": null, "path": "/Base/nut"}]}])"))
        << command;
  const std::string would = work_.run("copy in.jt out.jt --version 10.0 --dry-run").out;
  EXPECT_NE(would.find("would leave out XT B-Rep of /Base/bolt (#"), std::string::npos) << would;
  EXPECT_EQ(work_.read("out.jt"), "kept");
  for (const std::string way : {"", " --per-part"}) {
    const Json left =
        work_.json("export in.jt out.jt --exact --version 10.0 --dry-run" + way).at("leftOut");
    EXPECT_TRUE(matches(left, R"([{"part": "bolt", "what": "exact geometry"},
                                  {"part": "nut", "what": "exact geometry"}])"));
    const std::string said = work_.run("export in.jt out.jt --exact --version 10.0" + way).err;
    EXPECT_EQ(std::ranges::count(said, '\n'), 2) << said;
    EXPECT_TRUE(
        work_.json("export in.jt out.jt --exact --version 9.5" + way).at("leftOut").empty());
  }
}

TEST_F(Export, LeavesOutAnnotationsOfExcludedTypesAndGroups) {
  ASSERT_EQ(work_.run("new gear.kpak").exit, 0);
  for (const char* type : {"Note", "'Fillet Weld'", "Dimension"})
    ASSERT_EQ(work_.run(std::string("add gear.kpak annotation --text A --type ") + type).exit, 0);
  const auto count = [&](const std::string& excluded) {
    work_.json("export gear.kpak out.jt" + excluded);
    return work_.json("pmi out.jt --all").at("annotations").size();
  };
  EXPECT_EQ(count(""), 3U);
  EXPECT_EQ(count(" --exclude-pmi 'Line Weld Entities'"), 2U);
  EXPECT_EQ(count(" --exclude-pmi Note,Dimension"), 1U);
}

TEST_F(Export, AssemblesWhatAPlanSays) {
  AssemblyFiles{.cells = 1, .partsPerCell = 2}.write(work_.path("in"));
  work_.write("plan.json",
              plan(R"({"id": "row", "name": "Row", "place": {"translate": [0, 0, 500]}},
                {"parent": "row", "source": "in/cell0/part1.jt", "name": "A", "unit": "Inches",
                 "place": {"translate": [1, 2, 3], "rotate": [0, 0, 90]}, "color": "#ff0000"},
                {"source": "in/cell0/part1.jt", "name": "B", "layer": 7,
                 "place": [0,0,-2,9, 0,2,0,8, 2,0,0,7, 0,0,0,1]})",
                   R"("name": "Hall", "unit": "Centimeters", )"));
  const Json done = work_.json("assemble plan.json out.jt");
  EXPECT_TRUE(matches(done.at("exported"), R"({"parts": 1, "instances": 2})"));
  const Json graph = work_.json("graph out.jt");
  const auto find = [&](const std::string& name) -> Json {
    Json found;
    for (const Json& node : graph.at("nodes"))
      if (node.at("name") == name) found = node;
    return found;
  };
  EXPECT_EQ(find("Hall").at("properties").at("JT_PROP_MEASUREMENT_UNITS"), "Centimeters");
  EXPECT_EQ(find("A").at("properties").at("JT_PROP_MEASUREMENT_UNITS"), "Inches");
  EXPECT_EQ(find("B").at("properties").at("Layer"), "7");
  EXPECT_TRUE(matches(find("B").at("attributes")[0],
                      R"({"matrix": [0,0,-2,9, 0,2,0,8, 2,0,0,7, 0,0,0,1]})"));
  EXPECT_TRUE(matches(find("A").at("attributes")[0],
                      R"({"matrix": [0,-1,0,1, 1,0,0,2, 0,0,1,3, 0,0,0,1]})"));
  EXPECT_TRUE(matches(find("A").at("attributes")[1], R"({"diffuse": {"r": 1, "g": 0, "b": 0}})"));
  EXPECT_EQ(find("A").at("children"), find("B").at("children")) << "one part for both";
}

TEST_F(Export, AssemblesMeshFiles) {
  if (!std::filesystem::exists(std::filesystem::path(JTW_TOOL).replace_filename("jtw-mesh")))
    GTEST_SKIP() << "jtw-mesh was not built";
  std::filesystem::create_directory(work_.path("models"));
  work_.write("models/wedge.obj", "v 0 0 0\nv 4 0 0\nv 0 5 0\nv 0 0 6\nf 1 2 3\nf 1 2 4\n");
  work_.write("models/plan.json", plan(R"({"source": "wedge.obj", "name": "A"},
                {"source": "wedge.obj", "name": "B", "place": {"translate": [10, 20, 30]}})"));
  const Json done = work_.json("assemble models/plan.json out.jt");
  EXPECT_TRUE(matches(done.at("exported"), R"({"parts": 1, "instances": 2, "triangles": 4})"));
  EXPECT_TRUE(matches(bounds("out.jt"), R"({"min": [0, 0, 0], "max": [14, 25, 36]})"));
  EXPECT_NE(work_.run("graph out.jt").out.find("JT_PROP_NAME = wedge"), std::string::npos);
}

TEST_F(Export, NamesTheItemAndTheMemberThatIsWrong) {
  work_.write("part.jt", work_.read("tiny95.jt"));
  const struct {
    std::string text;
    const char* place;
  } mistakes[] = {
      {"[]", "the plan"},
      {R"({"items": []})", "schema"},
      {R"({"schema": "jtw.plan/2", "items": []})", "schema"},
      {R"({"schema": "jtw.plan/1"})", "items"},
      {R"({"schema": "jtw.plan/1", "items": {}})", "items"},
      {plan("", R"("extra": 1, )"), "'extra'"},
      {plan("", R"("name": 1, )"), "name"},
      {plan("", R"("unit": "Ells", )"), "unit"},
      {plan("1"), "items[0]"},
      {plan(R"({"kind": 1})"), "'kind'"},
      {plan("{}", R"("name": "A", "name": "B", )"), "the plan has the member 'name' twice"},
      {plan(R"({"id": "a"}, {"name": "A", "id": "b", "name": "A"})"), "items[1] has the member"},
      {plan(R"({"place": {"rotate": [1, 2, 3], "rotate": [1, 2, 3]}})"),
       "items[0].place has the member"},
      {plan(R"({}, {"id": 7})"), "items[1].id"},
      {plan(R"({"id": "a"}, {"id": "a"})"), "items[1].id"},
      {plan(R"({"parent": "a"}, {"id": "a"})"), "items[0].parent"},
      {plan(R"({"id": "a", "parent": "a"})"), "items[0].parent"},
      {plan(R"({"id": "a", "source": "part.jt"}, {"parent": "a"})"), "items[1].parent"},
      {plan(R"({"parent": 3})"), "items[0].parent"},
      {plan(R"({"source": ""})"), "items[0].source"},
      {plan(R"({"source": ["x"]})"), "items[0].source"},
      {plan(R"({"name": {}})"), "items[0].name"},
      {plan(R"({"place": 1})"), "items[0].place"},
      {plan(R"({"place": [1, 2, 3]})"), "items[0].place"},
      {plan(R"({"place": [1,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,"x",1]})"), "items[0].place[14]"},
      {plan(R"({"place": [1,0,0,0, 0,1,0,0, 0,0,1,0, 1,0,0,1]})"), "items[0].place"},
      {plan(R"({"place": [0,0,0,0, 0,1,0,0, 0,0,1,0, 0,0,0,1]})"), "items[0].place"},
      {plan(R"({"place": {"move": [1, 2, 3]}})"), "items[0].place"},
      {plan(R"({"place": {"translate": [1, 2]}})"), "items[0].place.translate"},
      {plan(R"({"place": {"rotate": [1, 2, null]}})"), "items[0].place.rotate[2]"},
      {plan(R"({"place": {"translate": [1e39, 2, 3]}})"), "items[0].place"},
      {plan(R"({"color": "reddish"})"), "items[0].color"},
      {plan(R"({"color": 5})"), "items[0].color"},
      {plan(R"({"layer": 1.5})"), "items[0].layer"},
      {plan(R"({"layer": 1e10})"), "items[0].layer"},
      {plan(R"({"unit": "mmm"})"), "items[0].unit"},
  };
  for (const auto& [text, place] : mistakes) {
    work_.write("plan.json", text);
    const Json error = work_.json("assemble plan.json out.jt", 5);
    EXPECT_EQ(error.at("code"), "bad_plan") << text;
    EXPECT_NE(error.at("message").get<std::string>().find(place), std::string::npos) << text << '\n'
                                                                                     << error;
  }
  for (const std::string& text : {std::string("{"), std::string(), plan(R"({"source": "no.jt"})"),
                                  plan(R"({"source": "no.stl"})")}) {
    work_.write("plan.json", text);
    EXPECT_EQ(work_.run("assemble plan.json out.jt").exit, 3) << text;
  }
  EXPECT_FALSE(work_.exists("out.jt"));
}

}  // namespace
}  // namespace cli
