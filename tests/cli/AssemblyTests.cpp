// Assemblies of several files, through every command.

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>

#include "AssemblyFiles.h"
#include "Program.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

bool isLong() { return std::getenv("JTW_LONG_TESTS") != nullptr; }

/// A damaged part, a missing one, and one that only a link leads to, from elsewhere.
class Assembly : public testing::TestWithParam<AssemblyFiles> {
 protected:
  void SetUp() override {
    if (files().cells > 3 && !isLong()) GTEST_SKIP() << "JTW_LONG_TESTS is not set";
    for (const char* name : {"out", "out9", "exported", "top"})
      fs::create_directory(work_.path(name));
    files().write(work_.path("in"));
    fs::rename(work_.path("in/" + AssemblyFiles::part(1, 1)), work_.path("elsewhere.jt"));
    fs::create_symlink(work_.path("elsewhere.jt"), work_.path("in/" + AssemblyFiles::part(1, 1)));
    fs::remove(work_.path("in/" + AssemblyFiles::part(1, 2)));
    const std::string damaged = "in/" + AssemblyFiles::part(0, 1);
    work_.write(damaged, work_.read(damaged).substr(0, 200));
  }
  const AssemblyFiles& files() const { return GetParam(); }
  /// The files of a report by state.
  static std::map<std::string, std::size_t> states(const Json& report) {
    std::map<std::string, std::size_t> counts;
    for (const Json& file : report.at("files")) {
      ++counts[file.at("state")];
      EXPECT_EQ(file.at("error").is_null(), file.at("state") == "read") << file;
    }
    return counts;
  }
  std::map<std::string, std::size_t> expectedStates() const {
    return {{"read", files().files() - 3}, {"missing", 1}, {"damaged", 1}, {"outside", 1}};
  }
  /// Every file of a folder, by its path there, with its content.
  std::map<std::string, std::string> contents(const std::string& folder) const {
    std::map<std::string, std::string> all;
    for (const auto& entry : fs::recursive_directory_iterator(work_.path(folder)))
      if (entry.is_regular_file())
        all[fs::relative(entry.path(), work_.path(folder)).string()] =
            work_.read(fs::relative(entry.path(), work_.path("")).string());
    return all;
  }
  Workspace work_;
};

INSTANTIATE_TEST_SUITE_P(Sizes, Assembly,
                         testing::Values(AssemblyFiles{.cells = 3, .partsPerCell = 4},
                                         AssemblyFiles{.cells = 10, .partsPerCell = 29}),
                         [](const auto& test) {
                           return std::to_string(test.param.files()) + "Files";
                         });

/// All objects of a tree, depth first.
std::vector<Json> flat(const Json& root) {
  std::vector<Json> all{root};
  for (const Json& child : root.at("children"))
    for (Json& below : flat(child)) all.push_back(std::move(below));
  return all;
}

TEST_P(Assembly, EveryCommandThatReadsListsItsFiles) {
  for (const std::string command :
       {"info in/hall.jt", "graph in/hall.jt", "tree in/hall.jt", "snapshot in/hall.jt a.png",
        "copy in/hall.jt out/hall.jt", "verify in/hall.jt", "convert in/hall.jt a.obj",
        "export-partition in/hall.jt exported/hall.jt",
        "convert in/hall.jt out9/hall.jt --lossless"})
    EXPECT_EQ(states(work_.json(command, 1)), expectedStates()) << command;
  EXPECT_EQ(states(work_.json("tree in/hall.jt --follow-links", 1)).at("read"),
            files().files() - 2);

  const Json totals = work_.json("info in/hall.jt", 1).at("totals");
  EXPECT_EQ(totals.at("files"), files().files() - 2);
  const std::size_t parts = files().cells * files().partsPerCell - 3;
  EXPECT_EQ(totals.at("shapes"), parts);
  EXPECT_EQ(totals.at("triangles"), 2 * parts);

  const Json verdict = work_.json("verify in/hall.jt", 1);
  std::map<std::string, std::string> findings;
  for (const Json& finding : verdict.at("findings"))
    findings[finding.at("code")] = finding.at("file");
  EXPECT_TRUE(findings.at("part_missing").ends_with(AssemblyFiles::part(1, 2)));
  EXPECT_TRUE(findings.at("part_outside").ends_with(AssemblyFiles::part(1, 1)));
  EXPECT_TRUE(findings.at("truncated").ends_with(AssemblyFiles::part(0, 1)));
}

TEST_P(Assembly, EveryPlaceHasAnAddressOfItsOwnThatAllCommandsTake) {
  const Json root = work_.json("tree in/hall.jt", 1).at("root");
  std::set<std::string> addresses;
  std::size_t entities = 0;
  for (const Json& object : flat(root)) {
    if (object.at("kind") == "entity") ++entities;
    EXPECT_TRUE(addresses.insert(object.at("address")).second) << object;
  }
  // The damaged part is in the cell that is shown twice; the other two are in cell 1.
  EXPECT_EQ(entities, files().entities() - 4);
  if (files().cells > 3) return;
  for (const Json& object : flat(root)) {
    const Json got = work_.json("get in/hall.jt '" + object.at("address").get<std::string>() + "'");
    EXPECT_EQ(got.at("nodeId"), object.at("nodeId"));
    EXPECT_EQ(got.at("address"),
              object.at("sameAs").is_null() ? object.at("address") : object.at("sameAs"));
  }
  EXPECT_EQ(work_.json("get in/hall.jt '#999/1'", 5).at("code"), "unknown_key");
}

TEST_P(Assembly, EveryEditReportsTheFilesThatItChangesAndItsPlaces) {
  const auto addressOf = [&](const std::string& name) {
    for (const Json& object : flat(work_.json("tree in/hall.jt", 1).at("root")))
      if (object.at("name") == name && object.at("sameAs").is_null())
        return object.at("address").get<std::string>();
    return "no object " + name;
  };
  work_.write("frames.json", R"([{"name": "Grip", "relLoc": [4, 5, 6]}])");
  work_.write("kin.bin", "bytes");
  struct Edit {
    std::string command;
    std::string object;  ///< its address takes the place of @
    std::string file;    ///< the part file that it changes
    int places;
  };
  // Part 0-0 is shown twice in cell 0, which is shown twice.
  const std::string part = AssemblyFiles::part(0, 0);
  const std::string cell = AssemblyFiles::cell(0);
  const Edit edits[] = {
      {"set in/hall.jt @ color=#ff0080", "Part 0-0", part, 4},
      {"clone in/hall.jt @ name=Twin", "Part 0-0", cell, 2},
      {"set in/hall.jt @ name=Wheel", "Twin", cell, 2},
      {"rm in/hall.jt @", "Wheel", cell, 2},
      {"add in/hall.jt block --parent @ name=Box loc=1,2,3", "Cell 0", cell, 2},
      {"add in/hall.jt frame --parent @ name=Tip", "Cell 0", cell, 2},
      {"add in/hall.jt annotation --parent @ --type Note --text Weld", "Cell 0", cell, 2},
      {"frames in/hall.jt @ --set frames.json", "Cell 0", cell, 2},
      {"mv in/hall.jt @ --parent root", "Box", cell, 2},
      {"buffer in/hall.jt kin set kin.bin", "Hall", "", 1}};
  for (const Edit& edit : edits) {
    std::string command = edit.command;
    if (const auto at = command.find('@'); at != std::string::npos)
      command.replace(at, 1, "'" + addressOf(edit.object) + "'");
    SCOPED_TRACE(command);
    const auto before = contents("in");
    const Json dry = work_.json(command + " --dry-run");
    EXPECT_EQ(contents("in"), before);
    const Json done = work_.json(command);
    EXPECT_EQ(done.at("places"), edit.places);
    for (const Json& report : {dry, done}) {
      std::set<std::string> reported;
      for (const Json& saved : report.at("alsoSaved"))
        reported.insert(fs::relative(saved.at("file").get<std::string>(), "in").string());
      EXPECT_EQ(reported, edit.file.empty() ? std::set<std::string>() : std::set{edit.file});
    }
    for (const auto& [name, bytes] : contents("in"))
      if (name != "hall.jt") {
        EXPECT_EQ(bytes != before.at(name), name == edit.file) << name;
      }
  }
  EXPECT_EQ(work_.json("frames in/hall.jt").dump().find("Tip"), std::string::npos);
  EXPECT_NE(work_.json("frames in/hall.jt").dump().find("Grip"), std::string::npos);
  EXPECT_NE(work_.json("pmi in/hall.jt", 1).dump().find("Weld"), std::string::npos);
  EXPECT_NE(work_.json("buffer in/hall.jt").dump().find("kin"), std::string::npos);
  EXPECT_EQ(work_.json("verify in/hall.jt", 1).at("findings").size(), 3U);
}

TEST_P(Assembly, ACopyBringsItsPartsAlong) {
  const Json report = work_.json("copy in/hall.jt out/hall.jt", 1);
  EXPECT_EQ(report.at("alsoSaved").size(), files().files() - 3);
  EXPECT_TRUE(work_.exists("out/" + AssemblyFiles::part(0, 0)));
  // Nothing differs in what can be read; the missing part may.
  EXPECT_EQ(work_.run("diff in/hall.jt out/hall.jt").out.find("same"), std::string::npos);
  EXPECT_TRUE(
      matches(work_.json("diff in/hall.jt out/hall.jt", 1), R"({"same": false, "count": 0})"));
  EXPECT_EQ(work_.json("copy in/hall.jt top/hall.jt --top-only").at("alsoSaved").size(), 0U);
  EXPECT_FALSE(work_.exists("top/cell0"));

  // In another version, beside the original: the parts of that stay what they are.
  const auto before = contents("in");
  const Json other = work_.json("copy in/hall.jt in/hall9.jt --version 9.5", 1);
  EXPECT_EQ(work_.json("copy in/hall.jt in/hall9.jt --version 9.5 --dry-run", 1).at("alsoSaved"),
            other.at("alsoSaved"));
  auto after = contents("in");
  for (const auto& [name, bytes] : before) EXPECT_EQ(after.at(name), bytes) << name;
  EXPECT_EQ(work_.json("info in/hall9/" + AssemblyFiles::part(0, 0)).at("version"), "9.5");
  EXPECT_EQ(states(work_.json("info in/hall9.jt", 1)).at("read"), files().files() - 3);
  EXPECT_EQ(work_.json("tree in/hall9.jt", 1).at("root").at("children").size(), files().cells + 1);
}

TEST_P(Assembly, SelectedObjectsAloneAreConvertedAndExported) {
  files().write(work_.path("whole"));
  const std::string chosen = " --select 'name=\"Part 2-3\" or name=\"Part 1-0\"'";
  const auto parts = [&](const std::string& file) {
    std::set<std::string> paths;
    const Json report = work_.json("inspect " + file);
    for (const Json& part : report.at("parts")) paths.insert(part.at("path"));
    return paths;
  };
  // Part 1-0 is one node in its cell, shown twice.
  work_.json("convert whole/hall.jt out/hall.jt" + chosen);
  EXPECT_EQ(parts("out/hall.jt"),
            (std::set<std::string>{"/Hall/Cell 2/Part 2-3", "/Hall/Cell 1/Part 1-0"}));
  EXPECT_EQ(work_.json("info out/hall.jt").at("files").size(), 4U);
  EXPECT_EQ(work_.json("export whole/hall.jt exported/hall.jt" + chosen).at("exported").at("parts"),
            2);
  EXPECT_TRUE(matches(work_.json("convert whole/hall.jt out/hall.obj" + chosen),
                      R"({"scene": {"instances": 3, "triangles": 4}})"));
  EXPECT_EQ(work_.json("convert whole/hall.jt out/none.obj --select name=None", 5).at("code"),
            "unknown_key");
  EXPECT_FALSE(work_.exists("out/none.obj"));
}

TEST_P(Assembly, DifferencesInPartFilesAreFound) {
  files().write(work_.path("whole"));
  files().write(work_.path("other"));
  EXPECT_EQ(work_.json("diff whole/hall.jt other/hall.jt").at("same"), true);
  const std::string part = AssemblyFiles::part(2, 3);
  work_.json("set other/" + part + " root name=Renamed");
  const Json answer = work_.json("diff whole/hall.jt other/hall.jt", 1);
  EXPECT_GE(answer.at("count"), 1);
  for (const Json& difference : answer.at("differences"))
    EXPECT_NE(difference.at("path").get<std::string>().find("/Hall/Cell 2/"), std::string::npos)
        << difference;
  fs::remove(work_.path("other/" + AssemblyFiles::part(1, 1)));
  bool isTold = false;
  const Json more = work_.json("diff whole/hall.jt other/hall.jt", 1);
  for (const Json& difference : more.at("differences"))
    isTold |= difference.at("name") == "partFile" && difference.at("a") == "read";
  EXPECT_TRUE(isTold);
}

TEST(LargeAssembly, HasMorePartFilesThanThereAreDescriptors) {
  const Workspace work;
  const AssemblyFiles one{.cells = 1, .partsPerCell = isLong() ? 10'000U : 200U};
  one.write(work.path("in"));
  fs::create_directory(work.path("out"));
  const auto run = [&work](const std::string& line) {
    const std::string limit = isLong() ? "256" : "100";
    return work.run("--version > io/version; ulimit -n " + limit + "; '" JTW_TOOL "' " + line);
  };
  EXPECT_EQ(run("verify in/hall.jt").exit, 0);
  EXPECT_EQ(run("copy in/hall.jt out/hall.jt").exit, 0);
  EXPECT_EQ(run("diff in/hall.jt out/hall.jt").exit, 0);
  EXPECT_EQ(run("set in/hall.jt root name=Large").exit, 0);
  EXPECT_EQ(run("export in/hall.jt parts.jt --per-part").exit, 0);
  EXPECT_EQ(run("export parts.jt whole.jt").exit, 0);
  EXPECT_EQ(run("set parts.jt root name=Larger").exit, 0);
  EXPECT_EQ(work.json("info parts.jt").at("files").size(), one.partsPerCell);
  EXPECT_TRUE(
      holds(work.json("info whole.jt").at("bounds"), work.json("info parts.jt").at("bounds")));
}

}  // namespace
}  // namespace cli
