// Folders and lists of files, results in a folder, the rules and reports of verify; and '-'.

#include <gtest/gtest.h>

#include <map>
#include <regex>
#include <set>
#include <sstream>

#include "Program.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

/// A folder with files at several levels, one of them damaged and one with a warning, and a
/// component in it.
void makeDelivery(const Workspace& work) {
  fs::create_directories(work.path("in/sub"));
  fs::create_directories(work.path("none/sub"));
  fs::create_directory_symlink("..", work.path("in/sub/loop"));
  fs::rename(work.path("tiny81.jt"), work.path("in/b.jt"));
  fs::copy_file(work.path("zoo95.jt"), work.path("in/sub/warned.JT"));
  work.write("in/a.jt", work.read("tiny95.jt").substr(0, 700));
  work.write("in/readme.txt", "none");
  EXPECT_EQ(work.run("new in/cell.kpak").exit, 0);
}

std::vector<std::string> filesIn(const Json& result) {
  std::vector<std::string> names;
  for (const Json& file : result.at("files")) names.push_back(file.at("file"));
  return names;
}

/// All paths below the workspace but those of its own.
std::set<std::string> allPaths(const Workspace& work) {
  std::set<std::string> paths;
  for (const auto& entry : fs::recursive_directory_iterator(work.path("")))
    if (entry.path().parent_path().filename() != "io") paths.insert(entry.path().string());
  return paths;
}

TEST(ManyFiles, ComeFromFoldersAndLists) {
  const Workspace work;
  makeDelivery(work);
  work.write("lines", "tiny95.jt\r\n\nin\n");
  work.write("zeros", std::string("in\0a\nb.jt\0", 10));
  fs::copy_file(work.path("tiny95.jt"), work.path("a\nb.jt"));
  const std::vector<std::string> folder = {"in/a.jt", "in/b.jt", "in/cell.kpak/cell.jt",
                                           "in/sub/warned.JT"};
  const auto with = [&folder](std::vector<std::string> before, const char* after = nullptr) {
    before.insert(before.end(), folder.begin(), folder.end());
    if (after) before.emplace_back(after);
    return before;
  };
  const struct {
    const char* line;
    std::vector<std::string> files;
    std::size_t failed;
  } cases[] = {{"in", folder, 1},
               {"in/", folder, 1},
               {"tiny95.jt in", with({"tiny95.jt"}), 1},
               {"--files-from lines", with({"tiny95.jt"}), 1},
               {"zoo95.jt --files-from - < lines", with({"zoo95.jt", "tiny95.jt"}), 1},
               {"--files-from zeros -0", with({}, "a\nb.jt"), 1},
               {"in/sub", {"in/sub/warned.JT"}, 0}};
  for (const auto& [line, files, failed] : cases) {
    const Json info = work.json(std::string("info ") + line, failed == 0 ? 0 : 1);
    ASSERT_EQ(info.at("files").size(), files.size()) << line;
    std::size_t errors = 0;
    for (std::size_t i = 0; i < files.size(); ++i) {
      EXPECT_EQ(info["files"][i]["file"], files[i]) << line;
      errors += info["files"][i]["schema"] == "jtw.error/1" ? 1U : 0U;
    }
    EXPECT_EQ(errors, failed) << line;
    EXPECT_TRUE(matches(info["summary"], Json{{"files", files.size()}, {"failed", failed}}.dump()));
    EXPECT_EQ(filesIn(work.json(std::string("verify ") + line, failed == 0 ? 0 : 1)), files);
  }
  const Json updated = work.json("update-materials in -j 2", 1);
  EXPECT_TRUE(matches(updated, R"({"documents": [{"document": "in/a.jt", "result": "failed"},
      {"document": "in/b.jt", "result": "native"}, {"document": "in/cell.kpak"},
      {"document": "in/sub/warned.JT"}], "summary": {"documents": 4, "failed": 1}})"));
}

TEST(ManyFiles, MistakesAreOneErrorAndWriteNothing) {
  const Workspace work;
  makeDelivery(work);
  work.write("nothing", "\n\r\n");
  work.write("zeros", std::string("in\0", 3));
  fs::copy_file(work.path("tiny95.jt"), work.path("in/sub/b.jt"));
  fs::create_directory(work.path("sub"));
  fs::copy_file(work.path("zoo95.jt"), work.path("sub/tiny95.jt"));
  const struct {
    int exit;
    const char* code;
    std::vector<const char*> lines;
  } mistakes[] = {
      {3,
       "not_found",
       {"info none", "verify in none", "verify --files-from nothing", "info --files-from missing"}},
      {3, "bad_list", {"verify --files-from zeros"}},
      {2,
       "usage",
       {"verify",
        "verify in -0",
        "verify - --files-from - < zeros",
        "verify in --ignore unusual_from",
        "verify in --ignore not_jt",
        "verify in --ignore ''",
        "verify --sarif in/b.jt tiny95.jt",
        "verify in --sarif - --junit -",
        "snapshot in/b.jt in/sub/b.jt -o out",
        "snapshot - -o out < tiny95.jt",
        "snapshot in -o out --size 9",
        "snapshot tiny95.jt a.png --files-from zeros",
        "snapshot tiny95.jt",
        "convert in/b.jt in/sub/b.jt -o out --to glb",
        "convert in -o out",
        "convert asm95.jt sub/tiny95.jt -o out --to jt",
        "convert in -o out --to png",
        "convert in -o in --to jt",
        "convert in/b.jt -o in --to jt",
        "copy asm95.jt sub/tiny95.jt -o out",
        "copy in -o in",
        "set - 1 name=x < tiny95.jt",
        "export tiny95.jt - --per-part"}}};
  const std::set<std::string> before = allPaths(work);
  for (const auto& [exit, code, lines] : mistakes)
    for (const char* line : lines) EXPECT_EQ(work.json(line, exit).at("code"), code) << line;
  EXPECT_EQ(allPaths(work), before);
}

TEST(ManyFiles, BecomeFilesInAFolder) {
  const Workspace work;
  makeDelivery(work);
  const Json pictures = work.json("snapshot in typed95.jt -o made/pics --size 9x7 -j 3", 1);
  EXPECT_TRUE(matches(pictures, R"({"files": [{"code": "truncated", "file": "in/a.jt"},
      {"picture": "made/pics/b.png", "width": 9}, {"picture": "made/pics/cell.png"},
      {"picture": "made/pics/sub/warned.png"}, {"picture": "made/pics/typed95.png"}]})"));
  for (const char* file : {"b.png", "cell.png", "sub/warned.png", "typed95.png"})
    EXPECT_TRUE(work.exists(std::string("made/pics/") + file)) << file;
  if (!JTW_HAS_MESH) GTEST_SKIP() << "no jtw-mesh";
  work.write("one.obj", "v 0 0 0\nv 7 0 0\nv 0 3 0\nf 1 2 3\n");
  // The part file of an assembly is another one of the files.
  EXPECT_EQ(work.run("convert asm95.jt tiny95.jt -o made/as --to jt -q").exit, 0);
  EXPECT_EQ(work.json("diff asm95.jt made/as/asm95.jt")["same"], true);
  EXPECT_EQ(work.run("convert in/cell.kpak tiny95.jt one.obj -o made/jt --to jt -q").exit, 0);
  const Json copied = work.json("copy in/cell.kpak asm95.jt -o made/copy --version 10.0");
  EXPECT_TRUE(matches(copied, R"({"schema": "jtw.copy/1", "summary": {"files": 2, "failed": 0},
      "files": [{"saved": {"file": "made/copy/cell.jt"}},
                {"saved": {"version": "10.0"}, "alsoSaved": [{"file": "made/copy/tiny95.jt"}]}]})"));
  EXPECT_EQ(filesIn(work.json("verify made/jt")),
            (std::vector<std::string>{"made/jt/cell.jt", "made/jt/one.jt", "made/jt/tiny95.jt"}));
  // Options of the command itself hold for each file.
  const std::string view = " --size 40x30 --from 9,-12,7 --to 5,1,0 -q";
  EXPECT_EQ(work.run("snapshot made/jt/one.jt tiny95.jt -o made/views" + view).exit, 0);
  EXPECT_EQ(work.run("snapshot made/jt/one.jt one.png" + view).exit, 0);
  EXPECT_EQ(work.read("made/views/one.png"), work.read("one.png"));
  EXPECT_EQ(work.json("convert one.obj -o dry --to glb --dry-run")["summary"]["failed"], 0);
  EXPECT_FALSE(work.exists("dry"));
}

TEST(Verify, CountsByTheRulesThatAreAsked) {
  const Workspace work;
  makeDelivery(work);
  const struct {
    const char* options;
    int exit;
    std::size_t findings;
    std::size_t ignored;
  } cases[] = {{"in/sub", 0, 1, 0},
               {"in/sub --strict", 1, 1, 0},
               {"in/sub --strict --ignore dangling_segment", 0, 0, 1},
               {"in/a.jt in/sub --ignore bad_value,truncated --ignore cycle --strict", 1, 1, 1},
               {"in/a.jt --ignore truncated", 0, 0, 1}};
  for (const auto& [options, exit, findings, ignored] : cases) {
    const Json result = work.json(std::string("verify ") + options, exit);
    std::size_t found = 0;
    std::size_t left = 0;
    for (const Json& file : result.contains("summary") ? result["files"] : Json::array({result})) {
      found += file["findings"].size();
      left += file["ignored"].get<std::size_t>();
    }
    EXPECT_EQ(found, findings) << options;
    EXPECT_EQ(left, ignored) << options;
  }
  EXPECT_EQ(work.run("verify tiny95.jt in/sub -q").out, "");
  EXPECT_EQ(work.run("verify tiny95.jt in/sub -q --strict").out.find("in/sub/warned.JT: sound\n"),
            0U);
}

TEST(Verify, ReportsInFormsOfOtherPrograms) {
  const Workspace work;
  makeDelivery(work);
  work.write("no & <jt>.jt", "none");
  const std::string line = "verify in 'no & <jt>.jt' --sarif log --junit report.xml -q";
  EXPECT_EQ(work.run(line).exit, 1);
  const Json log = Json::parse(work.read("log"));
  const Json& run = log["runs"][0];
  EXPECT_EQ(log["version"], "2.1.0");
  EXPECT_TRUE(matches(run["results"], R"([
    {"ruleId": "truncated", "level": "error", "locations": [{"physicalLocation":
      {"artifactLocation": {"uri": "in/a.jt"}, "region": {"byteOffset": 137}}}]},
    {"ruleId": "dangling_segment", "level": "warning", "locations": [{"physicalLocation":
      {"artifactLocation": {"uri": "in/sub/warned.JT"}}, "logicalLocations": [{}]}]},
    {"ruleId": "not_jt", "locations": [{"physicalLocation": {"artifactLocation":
      {"uri": "no%20%26%20%3Cjt%3E.jt"}}}]}])"));
  const std::string report = work.read("report.xml");
  for (const char* part :
       {"<testsuites tests=\"5\" failures=\"1\" errors=\"1\"",
        "name=\"in/b.jt\" time=\"0\">\n    </testcase>", "<failure type=\"truncated\"",
        "<system-out>warning dangling_segment: in/sub/warned.JT",
        "name=\"no &amp; &lt;jt&gt;.jt\" time=\"0\">\n      <error type=\"not_jt\""})
    EXPECT_NE(report.find(part), std::string::npos) << part << "\n" << report;
  EXPECT_EQ(work.run("verify in/sub --strict --sarif -").out.find("{\n  \"$schema\""), 0U);
  EXPECT_EQ(work.run("verify missing.jt --junit - 2> io/v | grep -c '<error type=.not_found'").out,
            "1\n");

  // The rules are the codes that the document lists.
  std::map<std::string, std::string> rules;
  for (const Json& rule : run["tool"]["driver"]["rules"])
    rules[rule["id"]] = rule["defaultConfiguration"]["level"];
  std::map<std::string, std::string> documented;
  std::istringstream text(contentOf(fs::path(JTW_TEST_DATA) / "../../docs/cli.md"));
  const std::regex row("\\| (`.*`) \\| (error|warning) \\| .*");
  const std::regex code("`(\\w+)`");
  std::smatch match;
  for (std::string next; std::getline(text, next);)
    if (std::regex_match(next, match, row)) {
      const std::string codes = match[1];
      for (std::sregex_iterator i(codes.begin(), codes.end(), code), end; i != end; ++i)
        documented[(*i)[1]] = match[2];
    }
  EXPECT_EQ(rules, documented);
}

TEST(Dash, IsStandardInputAndOutput) {
  const Workspace work;
  EXPECT_EQ(work.run("new gear.jt").exit, 0);
  EXPECT_EQ(work.run("add gear.jt block --name Arm").exit, 0);
  for (const char* command : {"tree", "get", "find", "inspect", "pmi", "wires", "frames"}) {
    const std::string rest = std::string(command) == "get"    ? " 2"
                             : std::string(command) == "find" ? " key=2"
                                                              : "";
    const Outcome named = work.run(std::string(command) + " gear.jt" + rest);
    const Outcome piped = work.run(std::string(command) + " -" + rest + " < gear.jt");
    EXPECT_EQ(named.exit, 0) << command;
    EXPECT_EQ(piped.exit, 0) << command << piped.err;
    EXPECT_EQ(piped.out, named.out) << command;
  }
  EXPECT_EQ(work.run("export - - < gear.jt > out.jt").exit, 0);
  EXPECT_EQ(work.run("verify out.jt").exit, 0);
  if (!JTW_HAS_MESH) GTEST_SKIP() << "no jtw-mesh";
  work.write("one.obj", "v 0 0 0\nv 7 0 0\nv 0 3 0\nf 1 2 3\n");
  EXPECT_EQ(work.run("convert - - --from obj --to jt < one.obj > one.jt").exit, 0);
  EXPECT_EQ(work.run("convert - - --to stl < one.jt > one.stl").exit, 0);
  EXPECT_EQ(work.run("import - one.kpak --from stl < one.stl").exit, 0);
  EXPECT_EQ(work.json("info one.kpak")["shapes"]["triangles"], 1);
  EXPECT_EQ(work.run("import - two.kpak < one.stl").exit, 2) << "of what format?";
  const Json wrong = work.json("convert - b.jt --from stl < /dev/null", 3);
  EXPECT_EQ(wrong["file"], "-");
}

}  // namespace
}  // namespace cli
