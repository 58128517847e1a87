// Parts of many files, the report that a batch writes while it runs, going on with it, and putting
// reports together.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <sstream>

#include "Program.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

/// A folder with that many files: copies of a small one, every seventh of them cut short.
void makeFiles(const Workspace& work, const std::string& folder, int count) {
  const std::string whole = work.read("tiny95.jt");
  for (int i = 0; i < count; ++i) {
    const std::string name = folder + "/hall " + std::to_string(i % 3) + "/gear-";
    fs::create_directories(work.path(name).parent_path());
    work.write(name + std::to_string(i) + ".jt", i % 7 == 6 ? whole.substr(0, 700) : whole);
  }
}

/// The files that a run of `info` has results for.
std::vector<std::string> namesIn(const Workspace& work, const std::string& line) {
  std::vector<std::string> names;
  const Json result = work.json("info " + line);
  for (const Json& file : result["files"]) names.push_back(file["file"]);
  return names;
}

std::vector<Json> linesOf(const Workspace& work, const std::string& report) {
  std::vector<Json> lines;
  std::istringstream text(work.read(report));
  for (std::string line; std::getline(text, line);) lines.push_back(Json::parse(line));
  return lines;
}

TEST(Shards, DependOnNamesAlone) {
  const Workspace work;
  const auto copy = [&work](const std::string& to) {
    fs::create_directories(work.path(to).parent_path());
    fs::copy_file(work.path("tiny95.jt"), work.path(to));
  };
  for (int i = 0; i < 60; ++i) copy("in/sub/gear-" + std::to_string(i) + ".jt");
  std::set<std::string> all;
  std::vector<std::vector<std::string>> parts;
  for (int i = 1; i <= 3; ++i) {
    parts.push_back(namesIn(work, "in --shard " + std::to_string(i) + "/3"));
    EXPECT_GT(parts.back().size(), 10U) << i;
    for (const std::string& name : parts.back()) EXPECT_TRUE(all.insert(name).second) << name;
  }
  EXPECT_EQ(all.size(), 60U);
  // Another place of the folder, and other files in it.
  fs::create_directory(work.path("mnt"));
  fs::rename(work.path("in"), work.path("mnt/in"));
  copy("mnt/in/a.jt");
  copy("mnt/in/sub/zz.jt");
  std::vector<std::string> moved = namesIn(work, "./mnt/in/ --shard 2/3");
  std::erase_if(moved, [](const std::string& name) {
    return name.ends_with("/a.jt") || name.ends_with("/zz.jt");
  });
  for (std::string& name : moved) name = name.substr(std::string("./mnt/").size());
  EXPECT_EQ(moved, parts[1]);
  // Files that are named themselves: by their paths, in whatever order, in every version alike.
  EXPECT_EQ(namesIn(work, "zoo105.jt asm95.jt typed81.jt tiny95.jt --shard 2/3"),
            (std::vector<std::string>{"zoo105.jt", "tiny95.jt"}));
  work.write("list", "typed81.jt\n./zoo105.jt\ntiny95.jt\n");
  EXPECT_EQ(namesIn(work, "--files-from list --shard 2/3"),
            (std::vector<std::string>{"./zoo105.jt", "tiny95.jt"}));
  EXPECT_EQ(namesIn(work, "typed81.jt --shard 2/3"), std::vector<std::string>());
}

TEST(Shards, MistakesAreUsage) {
  const Workspace work;
  makeFiles(work, "in", 3);
  fs::create_directory(work.path("sub"));
  fs::copy_file(work.path("zoo95.jt"), work.path("sub/tiny95.jt"));
  work.write("empty.jsonl", "");
  for (const char* line :
       {"info in --shard 0/3", "info in --shard 4/3", "info in --shard 2", "info in --shard /2",
        "info in --shard 1/", "info in --shard -1/2", "info in --shard 1/2/3",
        "info in --shard 1/100001", "info in --shard 1/99999999999",
        "snapshot tiny95.jt a.png --shard 1/2", "copy tiny95.jt a.jt --report r",
        "verify in --resume", "verify in --report r --retry-failed", "verify in --report -",
        "verify in --report in/x.jt", "info - in --report r < tiny95.jt",
        // What two shards would write.
        "copy tiny95.jt sub/tiny95.jt -o out --shard 1/9",
        "copy tiny95.jt sub/tiny95.jt -o out --shard 2/9"})
    EXPECT_EQ(work.json(line, 2).at("code"), "usage") << line;
  EXPECT_FALSE(work.exists("r"));
  EXPECT_FALSE(work.exists("out"));
  EXPECT_EQ(work.json("report empty.jsonl", 3).at("code"), "not_a_report");
}

/// What happens between a run and the one that goes on with its report.
struct Interruption {
  const char* what;
  std::function<void(const Workspace&)> happens;
  const char* options;
  std::set<std::string> redone;  ///< all but these are left alone
};

void replace(const Workspace& work, const std::string& file, const std::string& from,
             const std::string& to) {
  std::string text = work.read(file);
  const std::size_t at = text.find(from);
  ASSERT_NE(at, std::string::npos) << from;
  work.write(file, text.replace(at, from.size(), to));
}

/// Drops bytes at the end.
void cut(const Workspace& work, const std::string& file, std::size_t count) {
  work.write(file, work.read(file).substr(0, work.read(file).size() - count));
}

TEST(Resume, DoesWhatIsMissingOrChanged) {
  const std::string g = "in/hall 0/gear-";
  const std::set<std::string> everything = {g + "0.jt", "in/hall 1/gear-1.jt",
                                            "in/hall 2/gear-2.jt", g + "6.jt"};
  const Interruption cases[] = {
      {"nothing", [](const Workspace&) {}, "", {}},
      {"the last line is torn",
       [](const Workspace& w) { cut(w, "r", 9); },
       "",
       {"in/hall 2/gear-2.jt"}},
      {"its end alone is missing",
       [](const Workspace& w) { cut(w, "r", 1); },
       "",
       {"in/hall 2/gear-2.jt"}},
      {"the first line is torn",
       [](const Workspace& w) { w.write("r", w.read("r").substr(0, 70)); }, "", everything},
      {"the file is empty", [](const Workspace& w) { w.write("r", ""); }, "", everything},
      {"a file changed",
       [&](const Workspace& w) { w.write(g + "0.jt", w.read("tiny100.jt")); },
       "",
       {g + "0.jt"}},
      {"a file was touched",
       [&](const Workspace& w) { fs::last_write_time(w.path(g + "0.jt"), {}); },
       "",
       {g + "0.jt"}},
      {"a result is gone",
       [](const Workspace& w) { fs::remove(w.path("out/hall 1/gear-1.png")); },
       "",
       {"in/hall 1/gear-1.jt"}},
      {"the disk was full",
       [](const Workspace& w) { replace(w, "r", "\"exit\": 3", "\"exit\": 4"); },
       "",
       {g + "6.jt"}},
      {"a process broke off",
       [](const Workspace& w) { replace(w, "r", "\"lost\": false", "\"lost\": true"); },
       "",
       {g + "0.jt"}},
      {"failures are to be tried again", [](const Workspace&) {}, " --retry-failed", {g + "6.jt"}}};
  for (const auto& [what, happens, options, redone] : cases) {
    SCOPED_TRACE(what);
    const Workspace work;
    makeFiles(work, "in", 7);
    for (const int i : {3, 4, 5})
      fs::remove(
          work.path("in/hall " + std::to_string(i % 3) + "/gear-" + std::to_string(i) + ".jt"));
    const std::string line = "snapshot in -o out --size 9x7 -q -j 1 --report r";
    EXPECT_EQ(work.run(line).exit, 1);
    // A mark on what was done.
    std::string text = work.read("r");
    for (std::size_t at = 0; (at = text.find("\"seconds\": ", at)) != std::string::npos; at += 20)
      text.replace(at, text.find(',', at) - at, "\"seconds\": 86400");
    work.write("r", text);
    happens(work);
    const Json report = work.json(line + " --resume" + options, 1);
    EXPECT_TRUE(
        matches(report["summary"], R"({"files": 4, "done": 4, "failed": 1, "missing": 0})"));
    std::set<std::string> done;
    for (const Json& entry : linesOf(work, "r"))
      if (entry.contains("file") && entry["seconds"] != 86400) done.insert(entry["file"]);
    EXPECT_EQ(done, redone);
    EXPECT_EQ(linesOf(work, "r").size(), 5U);
    EXPECT_TRUE(work.exists("out/hall 1/gear-1.png"));
  }
}

TEST(Resume, FollowsTheListAndRefusesWhatIsAnotherRun) {
  const Workspace work;
  makeFiles(work, "in", 5);
  const std::string line = "verify in --strict --ignore cycle --report r --shard 1/1";
  EXPECT_EQ(work.run(line).exit, 0);
  const std::string before = work.read("r");
  work.write("other", "{\"a\": 1}\n");
  std::string damaged = before;
  damaged.replace(damaged.find("\"outcome\"", damaged.size() / 2), 9, "\"outgo\"  ");
  work.write("damaged", damaged);
  work.write("deep", before.substr(0, before.find('\n') + 1) + "{\"result\": " +
                         std::string(500'000, '[') + std::string(500'000, ']') + "}\n");
  const struct {
    const char* line;
    int exit;
    const char* code;
  } refused[] = {
      {"verify in --strict --ignore cycle --report r --shard 1/1", 4, "exists"},
      {"verify in --strict --report r --shard 1/1 --resume", 2, "other_run"},
      {"verify in --strict --ignore cycle --report r --shard 1/2 --resume", 2, "other_run"},
      {"verify in --strict --ignore cycle --report r --resume", 2, "other_run"},
      {"info in --report r --shard 1/1 --resume", 2, "other_run"},
      {"verify in --report other --resume", 3, "not_a_report"},
      {"verify in --report damaged --resume", 3, "damaged"},
      {"verify in --report deep --resume", 3, "damaged"},
      {"verify in --report no/folder --resume", 4, "unwritable"}};
  for (const auto& [wrong, exit, code] : refused)
    EXPECT_EQ(work.json(wrong, exit).at("code"), code) << wrong;
  EXPECT_EQ(work.read("r"), before);
  EXPECT_EQ(work.read("other"), "{\"a\": 1}\n");
  EXPECT_EQ(work.read("damaged"), damaged);
  // Options that the results do not depend on may change, files may come and go.
  fs::remove(work.path("in/hall 1/gear-4.jt"));
  fs::copy_file(work.path("zoo95.jt"), work.path("in/zoo.jt"));
  const Json report =
      work.json("verify in --ignore cycle --strict -j 1 -q --report r --shard 1/1 --resume", 1);
  EXPECT_TRUE(matches(report, R"({"schema": "jtw.report/1", "command": "verify",
      "options": ["--ignore=cycle", "--strict"], "complete": true,
      "outcomes": {"sound": 4, "sound with warnings": 1},
      "failed": [{"file": "in/zoo.jt", "exit": 1, "code": "dangling_segment"}]})"));
  EXPECT_EQ(linesOf(work, "r")[0]["run"], 2);
  EXPECT_EQ(work.run("verify in --ignore cycle --strict -q --report r --shard 1/1 --resume").out,
            work.run("report r -q").out);
}

TEST(Resume, EveryFileOnceAfterKills) {
  const Workspace work;
  constexpr int kFiles = 240;
  makeFiles(work, "in", kFiles);
  for (const char* command : {"verify in", "convert in -o out --to jt --top-only"}) {
    fs::remove(work.path("r"));
    const std::string line = std::string(command) + " -q -j 2 --report r --resume";
    // Each time the program is killed some lines further on, without a chance to end in order.
    work.run("--version > io/v; for n in 20 90 91 170; do '" JTW_TOOL "' " + line +
             " > io/part & p=$!; while kill -0 $p 2> io/e && "
             "[ $(wc -l < r 2> io/e || echo 0) -lt $n ]; do sleep 0.005; done; kill -KILL $p; "
             "wait $p; cp r io/killed-$n; done");
    const Json report = work.json(line, 1);
    EXPECT_TRUE(matches(report["summary"], R"({"files": 240, "failed": 34, "missing": 0})"));
    std::set<std::string> names;
    std::map<std::string, std::string> lines;
    for (const Json& entry : linesOf(work, "r")) {
      if (!entry.contains("file")) continue;
      EXPECT_TRUE(names.insert(entry["file"]).second) << entry["file"];
      lines[entry["file"]] = entry.dump();
    }
    EXPECT_EQ(names.size(), std::size_t{kFiles});
    EXPECT_GE(linesOf(work, "r")[0]["run"].get<int>(), 4);
    // What a killed run had done was not done again.
    std::istringstream killed(work.read("io/killed-170"));
    std::size_t kept = 0;
    for (std::string text; std::getline(killed, text);) {
      const Json entry = Json::parse(text, nullptr, false);
      if (!entry.is_object() || !entry.contains("file")) continue;
      EXPECT_EQ(entry.dump(), lines[entry["file"]]);
      ++kept;
    }
    EXPECT_GE(kept, 169U);
  }
  std::size_t made = 0;
  for (const auto& entry : fs::recursive_directory_iterator(work.path("out")))
    if (!entry.is_directory()) made += entry.path().extension() == ".jt" ? 1 : 1000;
  EXPECT_EQ(made, 206U) << "one for each sound file, and nothing half done beside them";
}

TEST(Report, IsThatOfOneRunOnAllFiles) {
  const Workspace work;
  makeFiles(work, "in", 30);
  fs::copy_file(work.path("zoo95.jt"), work.path("in/warned.jt"));
  work.write("in/none.jt", "no JT file");
  EXPECT_EQ(work.run("verify in --strict --sarif one.sarif --junit one.xml -q").exit, 1);
  const Json one = work.json("verify in --strict", 1);
  for (int i = 1; i <= 4; ++i) {
    const std::string n = std::to_string(i);
    work.run("verify in --strict -q --shard " + n + "/4 --report r" + n);
  }
  const Json merged = work.json("report r3 r1 r4 r2 --all --sarif four.sarif --junit four.xml", 1);
  EXPECT_TRUE(matches(merged, R"({"command": "verify", "options": ["--strict"], "complete": true,
      "summary": {"files": 32, "done": 32, "failed": 6, "missing": 0, "duplicates": 0},
      "outcomes": {"not sound": 4, "sound": 26, "sound with warnings": 1, "unreadable": 1},
      "missingShards": [], "listsDiffer": false, "duplicates": [],
      "runs": [{"shard": 1, "reports": ["r1"]}, {"shard": 2}, {"shard": 3}, {"shard": 4}]})"));
  for (std::size_t i = 0; i < 32; ++i) EXPECT_EQ(merged["files"][i]["result"], one["files"][i]);
  EXPECT_EQ(work.read("four.sarif"), work.read("one.sarif"));
  EXPECT_EQ(work.read("four.xml"), work.read("one.xml"));
  EXPECT_EQ(work.run("report r3 r1 r4 r2 -q").out, work.run("report r1 r2 r3 r4 -q").out);
}

TEST(Report, NamesWhatIsMissingTwiceOrDifferent) {
  const Workspace work;
  makeFiles(work, "in", 20);
  work.write("bad/a.jt", "x");
  const auto runs = [&work](const std::string& line) { work.run(line + " -q"); };
  runs("verify in --shard 1/3 --report r1");
  runs("verify in --shard 2/3 --report r2");
  runs("verify in --shard 3/3 --report r3");
  runs("verify in --shard 3/3 --report again");
  runs("verify in --shard 1/2 --report half");
  runs("verify in --strict --shard 3/3 --report strict");
  runs("info in --shard 3/3 --report info");
  runs("verify 'in/hall 0' --report hall");
  fs::copy_file(work.path("r2"), work.path("torn"));
  cut(work, "torn", 30);
  work.write("none", "");
  fs::copy_file(work.path("tiny95.jt"), work.path("in/new.jt"));
  runs("verify in --shard 2/3 --report later");
  fs::create_directory(work.path("bad"));
  work.write("bad/a.jt", "x");
  work.write("bad/b.jt", "y");
  runs("verify bad --shard 1/2 --report bad1");
  runs("verify bad --shard 2/2 --report bad2");
  const struct {
    const char* reports;
    int exit;
    const char* holds;
    const char* text;
  } cases[] = {
      {"r1 r2 r3", 1, R"({"complete": true, "summary": {"files": 20, "failed": 2}})", "20 files: "},
      {"r1 r3", 1, R"({"complete": false, "missingShards": [2]})",
       "missing: shard 2 has no report\n"},
      {"r1 none r3", 1, R"({"complete": false, "missingShards": [2]})", "; not complete\n"},
      {"r1 torn r3", 1,
       R"({"complete": false, "summary": {"files": 20, "done": 19, "missing": 1}})",
       "missing: 1 of "},
      {"r1 later r3", 1, R"({"complete": false, "listsDiffer": true})", "different lists of files"},
      {"r1 r2 r3 again", 1, R"({"complete": true, "summary": {"files": 20, "done": 20}})",
       "done 2 times: in/hall "},
      {"r1 r2 r3 hall", 1, R"({"complete": true, "summary": {"files": 20, "duplicates": 7}})",
       "done 2 times: in/hall 0/gear-0.jt, the last one counts\n"},
      {"bad1 bad2", 3, R"({"complete": true, "outcomes": {"unreadable": 2}})",
       "bad/a.jt: unreadable: not_jt: "},
      {"r1 r2 half", 3, R"({"code": "not_one_run", "file": "half"})", ""},
      {"r1 strict", 3, R"({"code": "not_one_run"})", ""},
      {"r1 info", 3, R"({"code": "not_one_run"})", ""},
      {"r1 tiny95.jt", 3, R"({"code": "not_a_report", "file": "tiny95.jt"})", ""},
      {"info --junit x", 2, R"({"code": "usage"})", ""},
      {"r1 missing", 3, R"({"code": "not_found"})", ""}};
  for (const auto& [reports, exit, holds, text] : cases) {
    const std::string line = std::string("report ") + reports;
    EXPECT_TRUE(matches(work.run(line + " --json").json(), holds)) << line;
    const Outcome shown = work.run(line);
    EXPECT_EQ(shown.exit, exit) << line;
    EXPECT_NE(shown.out.find(text), std::string::npos) << line << "\n" << shown.out;
  }
}

}  // namespace
}  // namespace cli
