// Patches: made, applied, refused.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "Program.h"

namespace cli {
namespace {

/// A workspace with a.kpak, and b.kpak, which began as the same.
class Patch : public testing::Test {
 protected:
  Patch() {
    EXPECT_EQ(work_.run("new a.kpak").exit, 0);
    edit("a.kpak", R"(
        {"do": "add", "kind": "block", "key": 2, "name": "Robot", "loc": [100, 0, 0]},
        {"do": "add", "kind": "block", "key": 3, "parent": 2, "name": "Arm"},
        {"do": "add", "kind": "entity", "key": 4, "parent": 3, "name": "Bolt", "color": "red"},
        {"do": "add", "kind": "frame", "key": 5, "parent": 3, "name": "Tip"},
        {"do": "add", "kind": "annotation", "key": 6, "type": "Note", "text": "Weld", "layer": 3})");
    EXPECT_EQ(work_.run("copy a.kpak/a.jt b.jt").exit, 0);
  }

  void edit(const std::string& document, const std::string& steps) const {
    work_.write("script.json", R"({"schema": "jtw.script/1", "steps": [)" + steps + "]}");
    const Outcome outcome = work_.run("edit " + document + " script.json");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
  }
  Json patch(const std::string& a, const std::string& b) const {
    const Outcome outcome = work_.run("diff --patch " + a + " " + b + " | tee patch.json");
    EXPECT_EQ(outcome.exit, 0) << outcome.err;
    return Json::parse(outcome.out);
  }
  void writePatch(const std::string& changes) const {
    work_.write("patch.json", R"({"schema": "jtw.patch/1", "changes": [)" + changes + "]}");
  }

  Workspace work_;
};

TEST_F(Patch, HoldsWhatChanged) {
  edit("b.jt", R"(
      {"do": "mv", "key": 4, "parent": "root"}, {"do": "rm", "key": 5},
      {"do": "set", "key": 3, "name": "Arm 2", "loc": [1, 2, 3], "unit": "cm"},
      {"do": "set", "key": 4, "displayed": false, "color": "#00ff0080", "attachment": "2:1"},
      {"do": "set", "key": 6, "text": ["Weld", "here"], "uniqueId": "x"},
      {"do": "add", "kind": "link", "key": 7, "parent": 3, "attributes": "new\\ntext"},
      {"do": "add", "kind": "frame", "key": 8, "parent": 7, "loc": [4, 5, 6]})");
  work_.write("kin.bin", std::string("\x00\x01\xff", 3));
  ASSERT_EQ(work_.run("buffer b.jt kin set kin.bin").exit, 0);
  const Json made = patch("a.kpak", "b.jt");
  EXPECT_EQ(made.at("schema"), "jtw.patch/1");
  EXPECT_EQ(made.at("base"), "a.kpak");
  for (const char* expected :
       {R"({"at": 4, "what": "parent", "name": null, "old": 3, "new": "root"})",
        R"({"at": 3, "what": "value", "name": "name", "old": "Arm", "new": "Arm 2"})",
        R"({"at": 4, "what": "value", "name": "displayed", "old": null, "new": false})",
        R"({"at": 5, "what": "object", "name": null, "old": "frame", "new": null})",
        R"({"at": 7, "what": "object", "name": null, "old": null, "new": "link"})"}) {
    const auto& changes = made.at("changes");
    EXPECT_NE(std::find(changes.begin(), changes.end(), Json::parse(expected)), changes.end())
        << expected << made;
  }
  const std::string before = work_.read("a.kpak/a.jt");
  EXPECT_EQ(work_.json("apply a.kpak patch.json --dry-run").at("leftOut"), Json::array());
  EXPECT_EQ(work_.read("a.kpak/a.jt"), before);
  EXPECT_EQ(work_.json("apply a.kpak - < patch.json").at("applied"), made.at("changes").size());
  EXPECT_EQ(work_.json("diff a.kpak b.jt").at("same"), true);
  EXPECT_EQ(work_.json("verify a.kpak/a.jt").at("sound"), true);
  EXPECT_EQ(patch("a.kpak", "b.jt").at("changes"), Json::array());
  EXPECT_EQ(work_.json("diff --patch b.jt b.jt -o out.json").at("changes"), 0);
  EXPECT_EQ(Json::parse(work_.read("out.json")).at("base"), "b.jt");
}

TEST_F(Patch, ThatDoesNotFitChangesNothing) {
  edit("b.jt", R"({"do": "set", "key": 4, "name": "Screw"}, {"do": "set", "key": 3, "name": "B"},
                  {"do": "add", "kind": "block", "key": 9, "parent": 3, "name": "New"})");
  patch("a.kpak", "b.jt");
  edit("a.kpak", R"({"do": "set", "key": 4, "name": "Nail"},
                    {"do": "add", "kind": "link", "key": 9, "name": "Mine"})");
  const std::string before = work_.read("a.kpak/a.jt");
  const Json error = work_.json("apply a.kpak patch.json", 5);
  EXPECT_EQ(error.at("code"), "patch_does_not_fit");
  for (const char* text : {"(4, value name): it is 'Nail', not 'Bolt'",
                           "(9, object): the key is that of another object"})
    EXPECT_NE(error.at("message").get<std::string>().find(text), std::string::npos) << error;
  EXPECT_EQ(work_.read("a.kpak/a.jt"), before);
  const Json forced = work_.json("apply a.kpak patch.json --force-matching");
  EXPECT_EQ(forced.at("applied"), 1);
  EXPECT_EQ(forced.at("leftOut").size(), 4U) << forced;
  EXPECT_TRUE(matches(work_.json("tree a.kpak").at("root"), R"({"children": [
      {"name": "Robot", "children": [
        {"name": "B", "children": [{"name": "Nail"}, {"name": "Tip"}]}]},
      {"name": "Mine", "children": []}, {"kind": "annotation"}]})"));
}

TEST_F(Patch, ThatIsWrongIsRefusedWithItsPlace) {
  const std::string before = work_.read("a.kpak/a.jt");
  const struct {
    const char* change;
    const char* text;
  } wrong[] = {
      {R"(7)", "changes[0] is not an object"},
      {R"({"at": 4, "what": "value", "new": 1})", R"(changes[0] has no "old")"},
      {R"({"at": 4, "what": "valeu", "name": "name", "old": 1, "new": 2})", "did you mean 'value'"},
      {R"({"at": [4], "what": "value", "name": "name", "old": 1, "new": 2})", "changes[0].at is"},
      {R"({"at": "4/x", "what": "value", "name": "name", "old": "Bolt", "new": "x"})",
       "changes[0] has a place that names no object"},
      {R"({"at": 4, "what": "value", "name": "name", "old": "Bolt", "new": 5})",
       "changes[0] (name) is no text"},
      {R"({"at": 4, "what": "value", "name": "place", "old": null, "new": [1, 2]})",
       "changes[0] (place) is no list of 16 numbers"},
      {R"({"at": 4, "what": "value", "name": "color", "old": null, "new": {"r": 1}})",
       "changes[0].new is neither"},
      {R"({"at": 4, "what": "property", "name": "KrGmProtoKey", "old": 4, "new": 5})",
       "is no property that a patch changes"},
      {R"({"at": "root", "what": "parent", "old": null, "new": 2})", "about the component itself"},
      {R"({"at": 9, "what": "object", "old": null, "new": "wheel"})", "has a kind"},
      {R"({"at": 6, "what": "value", "name": "lines", "old": null, "new": [2, 1, 1, 1]})",
       "is no list of polylines"},
      {R"({"at": 4, "what": "value", "name": "name", "old": "Bolt", "new": "a"},
          {"at": 4, "what": "value", "name": "name", "old": "Bolt", "new": "b"})",
       "changes[1] is about what another one changes"},
      // These are right, and do not fit.
      {R"({"at": 8, "what": "value", "name": "name", "old": null, "new": "x"})", "no such object"},
      {R"({"at": "4/7", "what": "value", "name": "name", "old": null, "new": "x"})",
       "no such object"},
      {R"({"at": 3, "what": "object", "old": "block", "new": null})", "it holds object"},
      {R"({"at": 3, "what": "object", "old": "link", "new": null})", "of the kind 'block'"},
      {R"({"at": 4, "what": "parent", "old": 3, "new": 5})", "object 5 cannot hold it"},
      {R"({"at": 4, "what": "parent", "old": 3, "new": 77})", "there is no object 77"},
      {R"({"at": 2, "what": "parent", "old": "root", "new": 3})", "below itself"},
      {R"({"at": 9, "what": "object", "old": null, "new": "block"})", "nothing says"}};
  for (const auto& [change, text] : wrong) {
    writePatch(change);
    const Json error = work_.json("apply a.kpak patch.json", 5);
    EXPECT_NE(error.at("message").get<std::string>().find(text), std::string::npos) << error;
    EXPECT_EQ(work_.read("a.kpak/a.jt"), before) << change;
  }
  for (const auto& [text, exit] :
       {std::pair("{", 3), {R"({"schema": "jtw.patch/2"})", 5}, {"[]", 5}}) {
    work_.write("patch.json", text);
    work_.json("apply a.kpak patch.json", exit);
  }
}

TEST_F(Patch, SaysWhatItCannotHold) {
  const Json error = work_.json("diff --patch tiny95.jt zoo95.jt -o out.json", 1);
  EXPECT_EQ(error.at("code"), "not_in_patch");
  EXPECT_FALSE(work_.exists("out.json"));
  EXPECT_EQ(work_.run("diff tiny95.jt tiny95.jt -o out.json").exit, 2);
}

TEST_F(Patch, IsReadInADifferenceToo) {
  edit("b.jt", R"({"do": "mv", "key": 4, "parent": "root"}, {"do": "set", "key": 4, "name": "Nut"},
                  {"do": "rm", "key": 5}, {"do": "set", "key": 3, "color": "teal"})");
  const Json all = work_.json("diff a.kpak b.jt --summary", 1);
  EXPECT_TRUE(matches(all.at("summary"), R"({"parent": 1, "name": 1, "node": 0, "attribute": 1})"));
  const auto& list = all.at("differences");
  const auto moved =
      std::ranges::find_if(list, [](const Json& d) { return d["what"] == "parent"; });
  ASSERT_NE(moved, list.end());
  EXPECT_TRUE(matches(*moved, R"({"key": 4, "path": "/a/Robot/Arm/Bolt", "a": "/a/Robot/Arm",
                                  "b": "/a"})"));
  EXPECT_NE(work_.run("diff a.kpak b.jt").out.find("moved from /a/Robot/Arm to /a"),
            std::string::npos);
  const Json some = work_.json("diff a.kpak b.jt --ignore parent,name --ignore property", 1);
  EXPECT_EQ(some.at("count"), 1);
  EXPECT_EQ(work_.json("diff a.kpak b.jt --ignore parent,name,property,attribute").at("same"),
            true);
  const Json error = work_.json("diff a.kpak b.jt --ignore nam", 2);
  EXPECT_NE(error.at("message").get<std::string>().find("did you mean 'name'"), std::string::npos);
}

// --- Merging

/// a.kpak is the base, ours.jt and theirs.jt began as the same.
class Merge : public Patch {
 protected:
  Merge() {
    for (const char* copy : {"ours.jt", "theirs.jt"})
      EXPECT_EQ(work_.run(std::string("copy a.kpak/a.jt ") + copy).exit, 0);
  }
  Json merge(int exit = 0, const std::string& options = "") const {
    return work_.json("merge a.kpak ours.jt theirs.jt out.jt " + options, exit);
  }
};

TEST_F(Merge, TakesTheChangesOfBothSides) {
  edit("ours.jt", R"({"do": "mv", "key": 4, "parent": 2}, {"do": "rm", "key": 5},
                     {"do": "set", "key": 3, "name": "Arm 2"},
                     {"do": "add", "kind": "block", "key": 8, "parent": 3, "name": "Ours"})");
  edit("theirs.jt", R"({"do": "set", "key": 4, "name": "Screw", "color": "blue"},
                       {"do": "set", "key": 3, "name": "Arm 2", "loc": [1, 2, 3]},
                       {"do": "set", "key": 6, "text": "Glue"},
                       {"do": "add", "kind": "frame", "key": 9, "parent": 2, "name": "Theirs"})");
  const Json merged = merge();
  EXPECT_EQ(merged.at("conflicts"), Json::array());
  std::string taken;
  for (const Json& one : merged.at("taken"))
    taken += one.at("from").get<std::string>() + " " + one.at("at").dump() + " " +
             (one.at("name").is_null() ? one.at("what") : one.at("name")).get<std::string>() + ", ";
  for (const char* one : {"ours 4 parent, ", "ours 5 object, ", "both 3 name, ", "theirs 4 name, ",
                          "theirs 3 place, ", "theirs 6 text, ", "ours 8 object, "})
    EXPECT_NE(taken.find(one), std::string::npos) << one << taken;
  EXPECT_EQ(taken.find("ours 3 name"), std::string::npos) << taken;
  EXPECT_TRUE(matches(work_.json("tree out.jt").at("root"), R"({"children": [
      {"key": 2, "children": [
        {"key": 3, "name": "Arm 2", "relLoc": [1, 0, 0, 1, 0, 1, 0, 2, 0, 0, 1, 3, 0, 0, 0, 1],
         "children": [{"key": 8, "name": "Ours"}]},
        {"key": 4, "name": "Screw", "color": {"r": 0, "g": 0, "b": 1}},
        {"key": 9, "name": "Theirs"}]},
      {"key": 6}]})"));
  EXPECT_EQ(work_.json("pmi out.jt").at("annotations")[0].at("text")[0], "Glue");
  EXPECT_EQ(work_.json("verify out.jt").at("sound"), true);
  // The other way round it is the same, and a side merged with itself is that side.
  EXPECT_EQ(work_.run("merge a.kpak theirs.jt ours.jt other.jt").exit, 0);
  EXPECT_TRUE(work_.json("diff --patch out.jt other.jt -o p").at("changes") <= 1);
  EXPECT_EQ(work_.run("merge a.kpak ours.jt ours.jt same.jt").exit, 0);
  EXPECT_EQ(work_.run("diff ours.jt same.jt").exit, 0);
  EXPECT_EQ(work_.run("merge a.kpak a.kpak theirs.jt same.jt").exit, 0);
  EXPECT_EQ(work_.run("diff theirs.jt same.jt").exit, 0);
}

TEST_F(Merge, ListsConflictsAndTakesASide) {
  const struct {
    const char* ours;
    const char* theirs;
    const char* conflict;
    const char* ifOurs;  ///< expressions and how many objects they hold for
    const char* ifTheirs;
  } cases[] = {
      {R"({"do": "set", "key": 4, "name": "O"})", R"({"do": "set", "key": 4, "name": "T"})",
       R"({"at": 4, "what": "value", "name": "name", "base": "Bolt", "ours": "O", "theirs": "T"})",
       "name=O", "name=T"},
      {R"({"do": "rm", "key": 3})", R"({"do": "set", "key": 4, "name": "T"})",
       R"({"at": 4, "what": "object", "base": "entity", "ours": null, "theirs": "entity"})",
       "kind=block and not name=Arm", "name=T and below=2"},
      {R"({"do": "add", "kind": "link", "key": 8, "parent": 3, "name": "O"})",
       R"({"do": "rm", "key": 3})",
       R"({"at": 3, "what": "object", "base": "block", "ours": "block", "theirs": null})",
       "name=O and below=2", "name=Robot"},
      {R"({"do": "mv", "key": 4, "parent": 2})", R"({"do": "mv", "key": 4, "parent": "root"})",
       R"({"at": 4, "what": "parent", "base": "3", "ours": "2", "theirs": "root"})",
       "key=4 and below=2", "key=4 and not below=2"},
      {R"({"do": "add", "kind": "block", "key": 8, "name": "O"})",
       R"({"do": "add", "kind": "link", "key": 8, "parent": 2, "name": "T"})",
       R"({"at": 8, "what": "object", "base": null, "ours": "block", "theirs": "link"})",
       "kind=block and name=O", "kind=link and name=T and below=2"}};
  for (const auto& each : cases) {
    for (const char* copy : {"ours.jt", "theirs.jt"})
      ASSERT_EQ(work_.run(std::string("copy a.kpak/a.jt ") + copy).exit, 0);
    edit("ours.jt", each.ours);
    edit("theirs.jt", each.theirs);
    std::filesystem::remove(work_.path("out.jt"));
    const Json refused = merge(1);
    EXPECT_TRUE(matches(refused.at("conflicts")[0], each.conflict));
    EXPECT_EQ(refused.at("conflicts").size(), 1U) << refused;
    EXPECT_FALSE(work_.exists("out.jt"));
    for (const auto& [option, expression] :
         {std::pair("--ours", each.ifOurs), {"--theirs", each.ifTheirs}}) {
      EXPECT_EQ(merge(0, option).at("conflicts"), refused.at("conflicts"));
      EXPECT_EQ(work_.json("find out.jt \"" + std::string(expression) + "\"").at("count"), 1)
          << each.ours << option << work_.run("tree out.jt").out;
      EXPECT_EQ(work_.json("verify out.jt").at("sound"), true);
    }
  }
}

TEST_F(Merge, RefusesCirclesOfMoves) {
  edit("a.kpak", R"({"do": "add", "kind": "block", "key": 7, "name": "Other"})");
  for (const char* copy : {"ours.jt", "theirs.jt"})
    ASSERT_EQ(work_.run(std::string("copy a.kpak/a.jt ") + copy).exit, 0);
  edit("ours.jt", R"({"do": "mv", "key": 7, "parent": 3})");
  edit("theirs.jt", R"({"do": "mv", "key": 2, "parent": 7})");
  EXPECT_EQ(merge(1).at("conflicts").size(), 1U);
  merge(0, "--ours");
  EXPECT_EQ(work_.json("find out.jt \"key=7 and below=3\"").at("count"), 1);
  merge(0, "--theirs");
  EXPECT_EQ(work_.json("find out.jt \"key=2 and below=7\"").at("count"), 1);
}

/// Part files come with the side that changed them, and those of the sides stay as they are.
TEST_F(Merge, WritesPartFilesBesideItsResult) {
  work_.json("set asm95.jt '#7/6' name=Cube");
  for (const char* side : {"ours", "theirs", "out"})
    std::filesystem::create_directory(work_.path(side));
  work_.json("copy asm95.jt ours/asm95.jt");
  work_.json("copy asm95.jt theirs/asm95.jt");
  work_.json("set ours/asm95.jt root name=Hall");
  work_.json("set theirs/asm95.jt '#7/6' name=Screw");
  const std::string part = work_.read("theirs/tiny95.jt");
  const Json merged = work_.json("merge asm95.jt ours/asm95.jt theirs/asm95.jt out/asm95.jt");
  EXPECT_TRUE(matches(
      merged,
      R"({"conflicts": [], "taken": [{"name": "key"}, {"from": "ours", "at": "root", "name": "name"}],
      "saved": {"file": "out/asm95.jt"}, "alsoSaved": [{"file": "out/tiny95.jt"}]})"));
  EXPECT_EQ(work_.json("get out/asm95.jt root").at("name"), "Hall");
  EXPECT_EQ(work_.json("get out/asm95.jt '#7/6'").at("name"), "Screw");
  EXPECT_EQ(work_.read("theirs/tiny95.jt"), part);
}

TEST_F(Merge, TakesWhatNoPatchHoldsFromTheSideThatHasIt) {
  // Theirs has a part with geometry, which ours moves nothing of.
  ASSERT_EQ(work_.run("copy tiny95.jt base.jt").exit, 0);
  ASSERT_EQ(work_.run("set base.jt '#6' name=Cube").exit, 0);
  ASSERT_EQ(work_.run("copy base.jt mine.jt").exit, 0);
  ASSERT_EQ(work_.run("set mine.jt Cube color=teal").exit, 0);
  ASSERT_EQ(work_.run("copy base.jt yours.jt").exit, 0);
  ASSERT_EQ(work_.run("clone yours.jt Cube name=Copy").exit, 0);
  EXPECT_EQ(work_.json("merge base.jt mine.jt yours.jt mine.jt").at("conflicts"), Json::array());
  EXPECT_EQ(work_.json("find mine.jt color=teal").at("count"), 1);
  EXPECT_EQ(work_.json("find mine.jt name=Copy").at("count"), 1);
  EXPECT_EQ(work_.json("inspect mine.jt").at("parts").size(), 2U);
}

TEST_F(Merge, MergesBranchesOfARepository) {
  const auto git = [this](const std::string& line) {
    return work_.run("help > git.txt; git " + line).exit;
  };
  if (git("--version") != 0) GTEST_SKIP() << "git is missing";
  ASSERT_EQ(git("init -q . && git config user.name x && git config user.email x@localhost"), 0);
  ASSERT_EQ(work_.run("git-setup").exit, 0);
  EXPECT_EQ(work_.json("git-setup").at("written"), Json::array());
  EXPECT_EQ(work_.read(".gitattributes"), "*.jt diff=jtw merge=jtw\n");
  ASSERT_EQ(git("add ours.jt && git commit -qm base && git branch other"), 0);
  edit("ours.jt", R"({"do": "set", "key": 4, "name": "Mine"})");
  ASSERT_EQ(git("commit -qam mine && git checkout -q other"), 0);
  edit("ours.jt", R"({"do": "set", "key": 4, "color": "blue"})");
  ASSERT_EQ(git("commit -qam color && git merge -q -m merged -"), 0);
  EXPECT_EQ(work_.json("find ours.jt \"name=Mine and color=blue\"").at("count"), 1);
  EXPECT_NE(work_.run("help > git.txt; git show -m HEAD -- ours.jt").out.find("+  name"),
            std::string::npos);
  edit("ours.jt", R"({"do": "set", "key": 4, "name": "Other"})");
  ASSERT_EQ(git("commit -qam name && git checkout -q -"), 0);
  edit("ours.jt", R"({"do": "set", "key": 4, "name": "Third"})");
  ASSERT_EQ(git("commit -qam third"), 0);
  EXPECT_EQ(git("merge -q other"), 1);
  EXPECT_EQ(work_.json("find ours.jt name=Third").at("count"), 1);
}

}  // namespace
}  // namespace cli
