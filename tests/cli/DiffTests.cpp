// jtw diff: what it prints and how it ends.

#include <gtest/gtest.h>

#include "Program.h"

namespace cli {
namespace {

TEST(Diff, AFileIsTheSameAsItselfAndAsItsConversions) {
  const Workspace work;
  for (const std::string& file : dataFiles()) {
    EXPECT_TRUE(matches(work.json("diff - - < " + file),
                        R"({"schema": "jtw.diff/1", "same": true, "count": 0, "differences": []})"))
        << file;
    for (const char* version : {"9.5", "10.0"}) {
      work.json("copy " + file + " b.jt --version " + version);
      EXPECT_EQ(work.json("diff " + file + " b.jt").at("same"), true) << file << version;
      EXPECT_EQ(work.json("diff b.jt " + file).at("same"), true) << file << version;
    }
  }
}

TEST(Diff, FindsWhatTheHostChanged) {
  const Workspace work;
  work.json("new a.kpak");
  ASSERT_EQ(work.run("new b.kpak").exit, 0);
  work.write("b.kpak/b.jt", work.read("a.kpak/a.jt"));
  ASSERT_EQ(work.run("set b.kpak root name=Gear color=#ff0000").exit, 0);
  const std::string files = "a.kpak/a.jt b.kpak/b.jt";
  const Json told = work.json("diff --segments " + files, 1);
  EXPECT_EQ(told.at("same"), false);
  EXPECT_EQ(told.at("count"), told.at("differences").size());
  bool named = false;
  for (const Json& difference : told.at("differences")) {
    EXPECT_EQ(difference.at("path"), told.at("differences").at(0).at("path"));
    named = named || (difference.at("what") == "name" && difference.at("b") == "Gear");
  }
  EXPECT_TRUE(named) << told.dump();
  EXPECT_TRUE(matches(told, R"({"segments": [{"type": 1, "state": "changed"}]})"));

  const Outcome text = work.run("diff --limit 1 " + files);
  EXPECT_EQ(text.exit, 1);
  EXPECT_NE(text.out.find("more\n"), std::string::npos) << text.out;
  EXPECT_EQ(work.run("diff -q a.kpak/a.jt a.kpak/a.jt").out, "same\n");
}

TEST(Diff, MatricesAreForColumnVectors) {
  const Workspace work;
  work.write("a.jt", work.read("tiny95.jt"));
  ASSERT_EQ(work.run("set a.jt '#6' loc=1,2,3").exit, 0);
  work.write("b.jt", work.read("a.jt"));
  ASSERT_EQ(work.run("set b.jt '#6' loc=1,2,4").exit, 0);
  EXPECT_TRUE(matches(work.json("diff a.jt b.jt --limit 2", 1), R"({"count": 1, "differences": [
      {"what": "attribute", "name": "Geometric Transform Attribute.matrix",
       "a": [1, 0, 0, -9, 0, 1, 0, -18, 0, 0, 1, -27, 0, 0, 0, 1],
       "b": [1, 0, 0, -9, 0, 1, 0, -18, 0, 0, 1, -26, 0, 0, 0, 1]}]})"));
  EXPECT_TRUE(matches(work.json("diff a.jt b.jt -t 1"), R"({"same": true, "count": 0})"));
  EXPECT_EQ(work.json("diff tiny95.jt zoo95.jt -t inf", 1).at("same"), false);
}

TEST(Diff, SaysInALineHowAnObjectMovedAndWhatColorItGot) {
  const Workspace work;
  const auto becomes = [&](const std::string& edit, const std::string& line) {
    const std::string before = work.read("b.jt");
    work.write("a.jt", before);
    ASSERT_EQ(work.run("set b.jt '#6' " + edit).exit, 0) << edit;
    const Outcome text = work.run("diff a.jt b.jt");
    EXPECT_NE(text.out.find("  " + line + "\n"), std::string::npos) << edit << '\n' << text.out;
  };
  work.write("b.jt", work.read("tiny95.jt"));
  ASSERT_EQ(work.run("set b.jt '#6' loc=1,2,3").exit, 0);
  becomes("loc=1.5,2,3", "moved by (0.5, 0, 0) mm");
  becomes("loc=1.5,2,7,0,0,40", "moved by (0, 0, 4) mm, turned by 40 degrees");
  becomes("loc=1.5,2,7,0,0,75", "turned by 35 degrees");
  becomes("color=#ff8000", "color #cc6633 -> #ff8000 (ambient, diffuse)");
  becomes("color=#0080ff", "color #ff8000 -> #0080ff");
  EXPECT_TRUE(matches(work.json("diff a.jt b.jt", 1), R"({"count": 1, "differences": [
      {"name": "Material Attribute.diffuse", "counts": null, "moved": null}]})"));
}

TEST(Diff, PathsAreAddresses) {
  const Workspace work;
  work.json("new a.jt");
  for (const char* name : {"a[1]", "b/c", "d\\e", "#f]", "[key 3]", "twin", "twin"}) {
    const std::string named = " 'name=" + std::string(name) + "'";
    const Json block = work.json("add a.jt block" + named);
    work.json("add a.jt entity --parent " + block.at("key").dump() + named);
  }
  work.write("b.jt", work.read("a.jt"));
  work.json("set b.jt --select 'kind!=component' uniqueId=x");
  const Json differences = work.json("diff a.jt b.jt", 1).at("differences");
  ASSERT_EQ(differences.size(), 14U);
  const std::string text = work.run("diff a.jt b.jt").out;
  for (const Json& difference : differences) {
    const std::string path = difference.at("path");
    EXPECT_NE(text.find("~ " + path + "  "), std::string::npos) << path << text;
    EXPECT_EQ(work.json("get b.jt '" + path + "'").at("key"), difference.at("key")) << path;
  }
  // Nodes that are no objects; partitions and instances need no step.
  const std::string cube = "/Meta Data Node/Cube.part;0;0:/Cube.part;0;0:";
  EXPECT_EQ(work.json("get tiny95.jt '" + cube + "'").at("address"), "#6");
  EXPECT_EQ(work.json("get asm95.jt '/Meta Data Node/Tiny.asm;0;0:" + cube + "'").at("address"),
            "#7/6");
  const std::string below =
      work.json("get tiny95.jt '" + cube + "/Range LOD Node'", 5).at("message");
  EXPECT_NE(below.find("below the object /Tiny/Cube"), std::string::npos) << below;
  EXPECT_EQ(work.run("get tiny95.jt '/Typo/Cube.part;0;0:/Cube.part;0;0:'").exit, 5);
  for (const char* wrong : {"/x[key]", "/x[key y]", "/x[#]", "/x[#0]", "/x[2", "/x[#3]y"})
    EXPECT_EQ(work.run("get a.jt '" + std::string(wrong) + "'").exit, 2) << wrong;
}

TEST(Diff, DamageIsAnErrorWhereItMustBeLookedAt) {
  const Workspace work;
  const Json info = work.json("info --segments tiny95.jt");
  std::string damaged = work.read("tiny95.jt");
  const std::size_t last = info.at("segmentList").at(1).at("offset").get<std::size_t>() + 40;
  damaged[last] = static_cast<char>(damaged[last] ^ 0x55);
  work.write("damaged.jt", damaged);
  EXPECT_EQ(work.run("diff damaged.jt damaged.jt").exit, 0);  // the same bytes
  const Json error = work.json("diff tiny95.jt damaged.jt", 3);
  EXPECT_EQ(error.at("schema"), "jtw.error/1");
  EXPECT_EQ(error.at("file"), "damaged.jt");
}

}  // namespace
}  // namespace cli
