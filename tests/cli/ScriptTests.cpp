// Scripts of edits.

#include <gtest/gtest.h>

#include <string>

#include "Program.h"

namespace cli {
namespace {

/// A workspace with cell.kpak, which a script made.
class Script : public testing::Test {
 protected:
  Script() {
    EXPECT_EQ(work_.run("new cell.kpak").exit, 0);
    made_ = edit(R"([
        {"do": "add", "kind": "block", "name": "Robot", "as": "robot", "loc": [100, 0, 0]},
        {"do": "add", "kind": "block", "parent": "@robot", "name": "Arm", "as": "arm"},
        {"do": "add", "kind": "entity", "parent": "@arm", "name": "Bolt", "as": "bolt",
         "color": {"r": 1, "g": 0, "b": 0.2}},
        {"do": "clone", "key": "@bolt", "name": "Bolt 2", "loc": [1, 2, 3, 0, 0, 90]},
        {"do": "add", "kind": "frame", "parent": "@arm", "name": "Tip", "attachment": "@robot:2"},
        {"do": "add", "kind": "annotation", "type": "Note", "key": 20, "name": "Seam",
         "text": ["Weld", "here"], "layer": 3}])");
  }

  std::string bytes() const { return work_.read("cell.kpak/cell.jt"); }
  Json edit(const std::string& steps, int exit = 0, const std::string& options = "") const {
    work_.write("script.json", R"({"schema": "jtw.script/1", "steps": )" + steps + "}");
    return work_.json("edit cell.kpak script.json " + options, exit);
  }
  Json keys(const std::string& expression) const {
    Json list = Json::array();
    for (const Json& match : work_.json("find cell.kpak \"" + expression + "\"").at("matches"))
      list.push_back(match.at("key"));
    return list;
  }

  Workspace work_;
  Json made_;
};

TEST_F(Script, MakesItsStepsInOneSave) {
  EXPECT_TRUE(matches(made_, R"({"steps": 6, "added": [2, 3, 4, 5, 6, 20], "changed": [],
                                 "removed": [], "saved": {"file": "cell.kpak/cell.jt"}})"));
  EXPECT_TRUE(matches(work_.json("tree cell.kpak").at("root"), R"({"children": [
      {"name": "Robot", "relLoc": [1, 0, 0, 100, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1], "children": [
        {"name": "Arm", "children": [
          {"name": "Bolt", "color": {"r": 1, "g": 0, "b": 0.2}},
          {"name": "Bolt 2", "relLoc": [0, -1, 0, 1, 1, 0, 0, 2, 0, 0, 1, 3, 0, 0, 0, 1]},
          {"kind": "frame", "attachment": {"parent": 2, "type": 2}}]}]},
      {"kind": "annotation"}]})"));
  EXPECT_TRUE(matches(work_.json("pmi cell.kpak").at("annotations")[0],
                      R"({"key": 20, "text": ["Weld", "here"], "layer": 3})"));

  const Json changed = edit(R"([
      {"do": "mv", "select": "name=Arm", "parent": "root", "keep-place": true},
      {"do": "set", "select": "name='Bolt*'", "displayed": false, "color": "teal"},
      {"do": "rm", "key": "/cell/Robot"},
      {"do": "rm", "key": 20},
      {"do": "set", "key": "Tip", "name": "End"}])");
  EXPECT_TRUE(matches(changed, R"({"steps": 5, "changed": [3, 4, 5, 6], "added": [],
                                   "removed": [2, 20], "detached": [6]})"));
  EXPECT_TRUE(matches(work_.json("tree cell.kpak").at("root"), R"({"children": [
      {"name": "Arm", "relLoc": [1, 0, 0, 100, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1], "children": [
        {"name": "Bolt", "displayed": false}, {"name": "Bolt 2", "displayed": false},
        {"name": "End", "attachment": null}]}]})"));
  EXPECT_EQ(work_.json("verify cell.kpak/cell.jt").at("sound"), true);
}

TEST_F(Script, ThatIsWrongChangesNothing) {
  const std::string before = bytes();
  const struct {
    const char* step;
    int exit;
    const char* text;
  } wrong[] = {
      {R"({"do": "st"})", 5, "steps[1].do is 'st'; did you mean 'set'"},
      {R"({"key": 2})", 5, R"(steps[1] has no "do")"},
      {R"(7)", 5, "steps[1] is not an object"},
      {R"({"do": "set", "key": 2, "name": null})", 5, "steps[1].name is null"},
      {R"({"do": "set", "key": 2, "loc": [1, "x", 2]})", 5, "steps[1].loc is neither"},
      {R"({"do": "set", "key": 2, "color": {"r": 1}})", 5, "steps[1].color is an object that"},
      {R"({"do": "set", "key": 2, "name": "a", "name": "b"})", 5,
       "steps[1] has the member 'name' twice"},
      {R"({"do": "set", "key": 2})", 2, "steps[1] (set): there is nothing to set"},
      {R"({"do": "set", "key": 2, "nmae": "x"})", 2, "steps[1] (set): there is no value 'nmae'"},
      {R"({"do": "set", "name": "x"})", 2, "steps[1] (set): the object is named by either"},
      {R"({"do": "set", "key": 2, "select": "key", "name": "x"})", 2, "steps[1] (set)"},
      {R"({"do": "set", "key": "@none", "name": "x"})", 2, "no object has the label @none"},
      {R"({"do": "set", "key": 9, "name": "x"})", 5,
       "steps[1] (set): the component has no object 9"},
      {R"({"do": "set", "select": "kind=blok", "name": "x"})", 2, "at character 6"},
      {R"({"do": "set", "select": "kind=link", "name": "x"})", 5, "no object is selected"},
      {R"({"do": "add"})", 2, R"(steps[1] (add): "kind" is missing)"},
      {R"({"do": "add", "kind": "block", "key": 2})", 5, "steps[1] (add): the key 2 is in use"},
      {R"({"do": "add", "kind": "block", "as": "x", "parent": 4})", 5, "cannot hold others"},
      {R"({"do": "mv", "key": 2, "parent": 3})", 5, "would be moved below itself"},
      {R"({"do": "mv", "key": 2})", 2, R"("parent" is missing)"},
      {R"({"do": "rm", "key": "root"})", 5, "the component itself cannot be removed"},
      {R"({"do": "rm", "key": 2, "deep": true})", 2, "there is no argument 'deep'"},
      {R"({"do": "clone", "key": 2})", 5, "only an entity can be copied"}};
  for (const auto& [step, exit, text] : wrong) {
    const Json error = edit(R"([{"do": "rm", "key": 6}, )" + std::string(step) + "]", exit);
    EXPECT_NE(error.at("message").get<std::string>().find(text), std::string::npos) << error;
    EXPECT_EQ(bytes(), before) << step;
  }
  const struct {
    const char* text;
    int exit;
    const char* code;
  } documents[] = {
      {"{", 3, "not_json"},
      {"[]", 5, "bad_script"},
      {R"({"steps": []})", 5, "bad_script"},
      {R"({"schema": "jtw.script/1", "steps": {}})", 5, "bad_script"},
      {R"({"schema": "jtw.script/1", "steps": [], "more": 1})", 5, "bad_script"},
      {R"({"schema": "jtw.script/1", "steps": [{"a": [[[[[[[1]]]]]]]}]})", 5, "bad_script"}};
  for (const auto& [text, exit, code] : documents) {
    work_.write("script.json", text);
    EXPECT_EQ(work_.json("edit cell.kpak - < script.json", exit).at("code"), code) << text;
  }
  EXPECT_EQ(work_.json("edit cell.kpak missing.json", 3).at("code"), "not_found");
  edit(R"([{"do": "rm", "key": 2}])", 0, "--dry-run");
  edit("[]");
  EXPECT_EQ(bytes(), before);
}

}  // namespace
}  // namespace cli
