// Addresses and selections: what names an object, `find`, and --select of other commands.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Program.h"

namespace cli {
namespace {

/// A workspace with cell.kpak: block Robot (2) with the blocks Arm (3) and Arm (4), in 4 the entity
/// Bolt (M5) (10) in red and the block a/b[1] (5), and in Robot the frames F1 (6) and F2 (7).
class Select : public testing::Test {
 protected:
  Select() {
    for (const char* line :
         {"new cell.kpak", "add cell.kpak block --name Robot --loc 100,0,0",
          "add cell.kpak block --parent Robot --name Arm --loc 0,50,0 unit=cm",
          "add cell.kpak block --parent Robot --name Arm",
          "add cell.kpak block --parent 4 --name 'a/b[1]'",
          "add cell.kpak frame --parent /cell/Robot --name F1 --loc 5,6,7 attachment=Robot:2",
          "add cell.kpak frame --parent 2 --name F2 --loc 5,60,7",
          "add cell.kpak entity --parent '/cell/Robot/Arm[2]' --key 10 --name 'Bolt (M5)' "
          "color=Red",
          "add cell.kpak annotation --key 11 --type Note --layer 3 --text Weld --name Seam"})
      EXPECT_EQ(work_.run(line).exit, 0) << line;
  }

  std::string keysOf(const Json& list) const {
    std::string keys;
    for (const Json& object : list)
      keys += (keys.empty() ? "" : " ") + (object.at("key").is_null() ? "-" : object["key"].dump());
    return keys;
  }

  Workspace work_;
};

TEST_F(Select, NamesAndPathsAreAddresses) {
  const struct {
    const char* address;
    int key;
  } named[] = {{"Robot", 2},
               {"root", 1},
               {"/cell", 1},
               {"'/cell/Robot/Arm[1]'", 3},
               {"'/cell/Robot/Arm[2]'", 4},
               {"'/cell/Robot/Arm/Bolt (M5)'", 10},
               {R"('/cell/Robot/Arm/a\/b\[1]')", 5},
               {"'a/b[1]'", 5},
               {"F2", 7},
               {"Seam", 11}};
  for (const auto& [address, key] : named)
    EXPECT_EQ(work_.json(std::string("get cell.kpak ") + address).at("key"), key) << address;
  const Json list = work_.json("find cell.kpak 'key'").at("matches");
  ASSERT_EQ(keysOf(list), "1 2 3 4 5 10 6 7 11");
  for (const Json& object : list)
    EXPECT_EQ(work_.json("get cell.kpak '" + object.at("path").get<std::string>() + "'").at("key"),
              object.at("key"));
  const struct {
    const char* address;
    int exit;
    const char* code;
    const char* text;
  } refused[] = {{"Arm", 5, "ambiguous", "/cell/Robot/Arm[1] (3), /cell/Robot/Arm[2] (4)"},
                 {"/cell/Robot/Arm", 5, "ambiguous", "Arm[2]"},
                 {"'/cell/Robot/Arm[3]'", 5, "unknown_key", "Arm[3]"},
                 {"/Robot", 5, "unknown_key", "/Robot"},
                 {"arm", 5, "unknown_key", "arm"},
                 {"/cell//Robot", 2, "usage", "character 7"},
                 {"'/cell/Arm[0]'", 2, "usage", "character 10"},
                 {"'/cell/Arm[2]x'", 2, "usage", "character 13"},
                 {"''", 2, "usage", "empty"}};
  for (const auto& [address, exit, code, text] : refused) {
    const Json error = work_.json(std::string("get cell.kpak ") + address, exit);
    EXPECT_EQ(error.at("code"), code) << address;
    EXPECT_NE(error.at("message").get<std::string>().find(text), std::string::npos) << error;
  }
}

TEST_F(Select, FindsWhatAnExpressionHoldsFor) {
  const struct {
    const char* expression;
    const char* keys;
  } found[] = {{"kind=block", "2 3 4 5"},
               {"kind!=block", "1 10 6 7 11"},
               {"kind=block and not name=Arm", "2 5"},
               {"name='Bolt (*' or kind=frame", "10 6 7"},
               {"kind=frame or kind=block and name=Arm", "3 4 6 7"},
               {"(kind=frame or kind=block) and (name=F? or name=Ro*)", "2 6 7"},
               {"not not (kind=entity)", "10"},
               {R"(name="a/b[1]")", "5"},
               {"key=4..10", "4 5 10 6 7"},
               {"key=..2", "1 2"},
               {"key>7", "10 11"},
               {"key>=7 and key<11", "10 7"},
               {"key<=2", "1 2"},
               {"layer", "11"},
               {"layer=3", "11"},
               {"layer<3", ""},
               {"unit=cm", "3"},
               {"unit=Centimeters", "3"},
               {"color=#ff0000", "10"},
               {"displayed=true and key<11", "10 6 7"},
               {"preserved=false and kind=entity", "10"},
               {"property.JT_PROP_NAME=Arm", "3 4"},
               {"property.'JT_PROP_NAME'='*M5*'", "10"},
               {"property.PROTO_KEY=3 or property.nothing", ""},
               {"below=Robot", "3 4 5 10 6 7"},
               {"below='/cell/Robot/Arm[2]'", "5 10"},
               {"attached", "6"},
               {"attached=Robot", "6"},
               {"attached=F1", ""},
               {"within=100,0,0,110,10,10", "6"},
               {"within=110,70,10,100,0,0 and kind=frame", "6 7"},
               {"within=Robot and kind=frame", "6 7"}};
  for (const auto& [expression, keys] : found) {
    work_.write("expression", expression);
    const Json result = work_.json("find cell.kpak \"$(cat expression)\"");
    EXPECT_EQ(keysOf(result.at("matches")), keys) << expression;
    EXPECT_EQ(result.at("count"), result.at("matches").size());
  }
}

TEST_F(Select, AnExpressionThatIsWrongNamesTheCharacter) {
  const struct {
    const char* expression;
    int character;
    const char* text;
  } wrong[] = {{"", 1, "a field is expected"},
               {"kind=blok", 6, "did you mean 'block'"},
               {"knd=block", 1, "did you mean 'kind'"},
               {"colour=red", 1, "did you mean 'color'"},
               {"kind=", 6, "a value is expected"},
               {"kind", 1, "needs a value"},
               {"kind<block", 6, "compared by ="},
               {"kind!block", 5, "'!' needs a '='"},
               {"name=a and", 11, "a field is expected"},
               {"name=a name=b", 8, "'and', 'or' or the end"},
               {"(name=a or name=b", 1, "'(' is not closed"},
               {"name=a)", 7, "')' closes nothing"},
               {"name='a", 6, "quotation mark"},
               {"name.x=a", 5, "'.' is for properties"},
               {"key=1..x", 5, "whole number"},
               {"key<1..2", 5, "compared by = or !="},
               {"within=1,2,3", 8, "two corners"},
               {"color=bluish", 7, "not a color"},
               {"unit=ell", 6, "the units are"},
               {"below=/cell//x", 7, "a name is missing"}};
  for (const auto& [expression, character, text] : wrong) {
    work_.write("expression", expression);
    const Json error = work_.json("find cell.kpak \"$(cat expression)\"", 2);
    const std::string message = error.at("message");
    EXPECT_EQ(error.at("code"), "bad_expression") << expression;
    EXPECT_TRUE(message.ends_with("at character " + std::to_string(character))) << message;
    EXPECT_NE(message.find(text), std::string::npos) << message;
  }
  std::string deep(1000, '(');
  work_.write("expression", deep + "kind=block" + std::string(1000, ')'));
  work_.json("find cell.kpak \"$(cat expression)\"", 2);
  work_.json("find cell.kpak below=Nothing", 5);
}

TEST_F(Select, CommandsTakeASelectionInThePlaceOfAKey) {
  const Json set = work_.json("set cell.kpak --select 'name=Arm' color=teal name=Limb");
  EXPECT_EQ(keysOf(set.at("nodes")), "3 4");
  EXPECT_EQ(keysOf(work_.json("find cell.kpak 'color=#008080'").at("matches")), "3 4 5 10");
  EXPECT_EQ(keysOf(work_.json("get cell.kpak --select name=Limb").at("nodes")), "3 4");

  const std::string before = work_.read("cell.kpak/cell.jt");
  EXPECT_EQ(work_.run("set cell.kpak --select 'key=3..6' displayed=false").exit, 5);
  EXPECT_EQ(work_.run("set cell.kpak --select name=Nothing color=red").exit, 5);
  EXPECT_EQ(work_.run("set cell.kpak --select key=3").exit, 2);
  EXPECT_EQ(work_.run("rm cell.kpak").exit, 2);
  EXPECT_EQ(work_.run("rm cell.kpak 3 --select key=4").exit, 2);
  EXPECT_EQ(work_.run("rm cell.kpak --select kind=component").exit, 5);
  EXPECT_EQ(work_.read("cell.kpak/cell.jt"), before);

  const Json removed = work_.json("rm cell.kpak --select 'key=4..5 or kind=frame'");
  EXPECT_EQ(removed.at("removed"), Json({4, 5, 10, 6, 7}));
  EXPECT_EQ(keysOf(work_.json("find cell.kpak 'key'").at("matches")), "1 2 3 11");
  EXPECT_TRUE(work_.json("frames cell.kpak 2").at("frames").empty());
}

/// Arm (4) takes its entity along; a move that one of them cannot make moves none.
TEST_F(Select, SelectedObjectsMoveTogether) {
  Json result =
      work_.json("mv cell.kpak --select 'name=Arm or key=6 or key=10' --parent root --keep-place");
  EXPECT_EQ(result.at("moved"), Json({3, 4, 6}));
  EXPECT_EQ(result.at("parent"), 1);
  EXPECT_EQ(keysOf(work_.json("find cell.kpak below=Robot").at("matches")), "7");
  EXPECT_EQ(keysOf(work_.json("find cell.kpak 'below=4'").at("matches")), "5 10");
  EXPECT_EQ(work_.json("mv cell.kpak --select kind=block --parent 3", 5).at("code"), "cycle");
  EXPECT_EQ(keysOf(work_.json("find cell.kpak 'below=3'").at("matches")), "");
  EXPECT_EQ(work_.json("mv cell.kpak --select name=x --parent 3", 5).at("code"), "unknown_key");
  EXPECT_EQ(work_.json("mv cell.kpak 2 --select name=x --parent 3", 2).at("code"), "usage");
}

/// What is not selected may differ; what only one file has is a difference.
TEST_F(Select, SeveralKeysAreAsGoodAsASelection) {
  EXPECT_EQ(work_.json("mv cell.kpak 6 4 6 --parent 3").at("moved"), Json({4, 6}));
  EXPECT_EQ(keysOf(work_.json("find cell.kpak 'below=3'").at("matches")), "4 5 10 6");
  EXPECT_EQ(work_.run("rm cell.kpak 6 99").exit, 5);
  const std::string hint = work_.json("rm cell.kpak 6 Robt", 5).at("message");
  EXPECT_NE(hint.find("did you mean 'Robot'"), std::string::npos) << hint;
  EXPECT_EQ(work_.json("rm cell.kpak 4 6").at("removed"), Json({4, 5, 10, 6}));
}

TEST_F(Select, DifferencesAreThoseOfSelectedObjects) {
  work_.write("new.jt", work_.read("cell.kpak/cell.jt"));
  work_.json("set new.jt 3 unit=in");
  work_.json("set new.jt 10 color=blue");
  work_.json("rm new.jt 5");
  const struct {
    const char* expression;
    int exit;
    int count;
  } rows[] = {{"key=10", 1, 1}, {"key=3", 1, 1}, {"key=5", 1, 1}, {"key=3 or kind=frame", 1, 1}};
  for (const auto& [expression, exit, count] : rows)
    EXPECT_EQ(work_.json("diff cell.kpak new.jt --select '" + std::string(expression) + "'", exit)
                  .at("count"),
              count)
        << expression;
  EXPECT_EQ(work_.run("diff cell.kpak new.jt --select name=Nothing").exit, 5);
  for (const char* other : {"--segments", "--patch"})
    EXPECT_EQ(work_.run(std::string("diff cell.kpak new.jt --select key=3 ") + other).exit, 2);
}

TEST_F(Select, TreesShowAPart) {
  const auto shape = [&](const std::string& options) {
    std::string text;
    const auto add = [&text](const auto& self, const Json& node) -> void {
      text += (text.empty() ? "" : " ") + node.at("key").dump();
      if (node.at("children").empty()) return;
      text += "(";
      for (const Json& child : node.at("children")) self(self, child);
      text += ")";
    };
    add(add, work_.json("tree cell.kpak " + options).at("root"));
    return text;
  };
  EXPECT_EQ(shape("--depth 1"), "1( 2 11)");
  EXPECT_EQ(shape("--depth 2"), "1( 2( 3 4 6 7) 11)");
  EXPECT_EQ(shape("--under Robot --depth 1"), "2( 3 4 6 7)");
  EXPECT_EQ(shape("--kind entity"), "1( 2( 4( 10)))");
  EXPECT_EQ(shape("--select 'name=Arm or name=F2'"), "1( 2( 3 4 7))");
  EXPECT_EQ(shape("--kind block --select 'name=Arm or name=F2' --under 2"), "2( 3 4)");
  EXPECT_EQ(shape("--kind link"), "1");
}

}  // namespace
}  // namespace cli
