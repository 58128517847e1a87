// The commands on components: new, tree, get, set.

#include <gtest/gtest.h>

#include "DocumentStore.h"
#include "JtPropAtom.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwFrame.h"
#include "JtwManager.h"
#include "JtwTree.h"
#include "Program.h"

namespace cli {
namespace {

namespace fs = std::filesystem;

/// A workspace with the component gear.kpak: block 2 with entity 3 and frame 4, block 5.
class Component : public testing::Test {
 protected:
  Component() {
    fs::create_directory(work_.path("gear.kpak"));
    JtwManager::init();
    const auto document = host::openDocument(work_.path("gear.kpak").string()).document;
    JtwRoot& root = *JtwManager::the().computeNewDocRoot(document);
    const auto key = [](long number) { return ApiProtoKey(number); };
    root.setKey(key(1));
    root.setMeasurementUnitRatio(1.0F);
    root.createBlockNode(key(2), key(1), RTTran3D::fromTranslation({100, 0, 0}))->setName(L"Arm");
    root.createEntityNode(key(3), key(2), RTTran3D::fromTranslation({0, 20, 0}))->setName(L"Cover");
    auto* collection = static_cast<JtwBlock*>(root.createBlockNode(key(5), key(1), RTTran3D()));
    collection->setName(L"Base");
    JtwNode* arm = nullptr;
    root.getNodeByKey(key(2), arm);
    root.createFrameNode(key(4), key(2), RTTran3D::fromTranslation({0, 0, 7}))->setName(L"Tip");
    static_cast<JtwBlock*>(arm)->storeFrames();
    EXPECT_TRUE(root.write(false));
    JtwManager::fini();
  }

  std::string bytes() const { return work_.read("gear.kpak/gear.jt"); }

  Workspace work_;
};

TEST_F(Component, TreeNestsEveryObject) {
  EXPECT_TRUE(
      matches(work_.json("tree gear.kpak"), R"({"schema": "jtw.tree/1", "document": "gear.kpak",
    "root": {"kind": "component", "key": 1, "unit": "Millimeters", "unitRatio": 1, "children": [
      {"kind": "block", "key": 2, "name": "Arm", "attachment": null, "displayed": null,
       "relLoc": [1, 0, 0, 100, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1], "children": [
        {"kind": "entity", "key": 3, "name": "Cover", "displayed": true, "preserved": false,
         "uniqueId": null, "color": {"default": true}, "children": []},
        {"kind": "frame", "key": 4, "name": "Tip", "unit": null, "children": []}]},
      {"kind": "block", "key": 5, "name": "Base", "children": []}]}})"));
  const std::string text = work_.run("tree gear.kpak").out;
  EXPECT_NE(text.find("├─ 2  block  Arm  Millimeters\n│  ├─ 3  entity  Cover"), std::string::npos)
      << text;
}

TEST_F(Component, GetAddsTheAbsolutePlace) {
  EXPECT_TRUE(
      matches(work_.json("get gear.kpak 3"), R"({"schema": "jtw.get/1", "kind": "entity", "key": 3,
      "relLoc": [1, 0, 0, 0, 0, 1, 0, 20, 0, 0, 1, 0, 0, 0, 0, 1],
      "absLoc": [1, 0, 0, 100, 0, 1, 0, 20, 0, 0, 1, 0, 0, 0, 0, 1]})"));
  EXPECT_TRUE(matches(work_.json("get gear.kpak 4"),
                      R"({"absLoc": [1, 0, 0, 100, 0, 1, 0, 0, 0, 0, 1, 7, 0, 0, 0, 1]})"));
}

TEST_F(Component, ItsFolderIsReadAsTheFileInIt) {
  for (const std::string command : {"verify", "graph", "explain", "info"}) {
    Json ofFolder = work_.json(command + " gear.kpak");
    Json ofFile = work_.json(command + " gear.kpak/gear.jt");
    for (Json* answer : {&ofFolder, &ofFile}) answer->erase("file");
    EXPECT_EQ(ofFolder.dump(), ofFile.dump()) << command;
  }
  EXPECT_EQ(work_.json("diff gear.kpak gear.kpak/gear.jt").at("same"), true);
}

struct Setting {
  int key;
  const char* words;
  const char* expected;
};

TEST_F(Component, SetIsWhatGetShowsAfterwards) {
  const Setting settings[] = {
      {3, "name='Grüße, \"x\"'", R"({"name": "Grüße, \"x\""})"},
      {3, "color=#ff800080",
       R"({"color": {"r": 1, "g": 0.50196, "b": 0, "a": 0.50196, "default": false}})"},
      {3, "color=0,0.2,1", R"({"color": {"r": 0, "g": 0.2, "b": 1, "a": 1, "default": false}})"},
      {2, "color=#00ff00", R"({"color": {"g": 1, "default": false}})"},
      {3, "displayed=false preserved=true", R"({"displayed": false, "preserved": true})"},
      {3, "preserved=false", R"({"preserved": false})"},
      {3, "attributes='a=b;c' uniqueId=u1 relStringId=r1",
       R"({"attributes": "a=b;c", "uniqueId": "u1", "relStringId": "r1"})"},
      {3, "attributes=", R"({"attributes": null, "uniqueId": "u1"})"},
      {3, "attachment=5:2", R"({"attachment": {"parent": 5, "type": 2}})"},
      {3, "attachment=none", R"({"attachment": null})"},
      {3, "loc=1,2,3,0,0,90",
       R"({"relLoc": [0.0, -1.0, 0.0, 1, 1.0, 0.0, 0.0, 2, 0.0, 0.0, 1.0, 3, 0, 0, 0, 1]})"},
      {3, "loc=2,0,0,5,0,2,0,6,0,0,2,7,0,0,0,1",
       R"({"relLoc": [2, 0, 0, 5, 0, 2, 0, 6, 0, 0, 2, 7, 0, 0, 0, 1]})"},
      {3, "loc=30,0,0 unit=Meters",
       R"({"unit": "Meters", "unitRatio": 1000, "relLoc": [1, 0, 0, 30.0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]})"},
      {4, "name=Nose loc=1,1,1 color=#0000ff attachment=3 displayed=false attributes=q",
       R"({"name": "Nose", "displayed": false, "attributes": "q", "attachment": {"parent": 3, "type": 0},
           "color": {"b": 1}, "relLoc": [1, 0, 0, 1, 0, 1, 0, 1, 0, 0, 1, 1, 0, 0, 0, 1]})"},
      {1, "name=Robot unit=Inches", R"({"name": "Robot", "unit": "Inches", "unitRatio": 25.4})"}};
  for (const Setting& setting : settings) {
    const std::string target = "gear.kpak " + std::to_string(setting.key) + " ";
    const Json planned = work_.json("set --dry-run " + target + setting.words);
    const Json done = work_.json("set " + target + setting.words);
    EXPECT_TRUE(matches(done.at("node"), setting.expected)) << setting.words;
    EXPECT_EQ(planned.at("saved"), done.at("saved"));
    EXPECT_TRUE(matches(work_.json("get " + target), setting.expected)) << setting.words;
  }
  EXPECT_EQ(work_.json("verify gear.kpak/gear.jt").at("sound"), true);
}

struct Refused {
  const char* words;
  int exit;
};

TEST_F(Component, SetWithOneBadValueChangesNothing) {
  ASSERT_EQ(work_.run("set gear.kpak 5 attachment=3").exit, 0);
  const std::string before = bytes();
  const Refused refused[] = {{"3 name=a color=reddish", 2},
                             {"3 name=a color=#ff80", 2},
                             {"3 name=a color=1,2,3", 2},
                             {"3 name=a unit=Parsecs", 2},
                             {"3 name=a loc=1,2", 2},
                             {"3 name=a loc=1,2,nan", 2},
                             {"3 name=a loc=1,0,0,0,0,1,0,0,0,0,0,0,0,0,0,1", 2},
                             {"3 name=a loc=1,0,0,0,0,1,0,0,0,0,1,0,0,0,1,1", 2},
                             {"3 name=a name=b", 2},
                             {"3 name=a displayed=yes", 2},
                             {"3 name=a nothing=b", 2},
                             {"3 name=a b", 2},
                             {"3 name=a uniqueId=", 2},
                             {"3 name=a attachment=x", 5},
                             {"3 name=a attachment=5:y", 2},
                             {"3 name=$(printf '\\377')", 2},
                             {"9 name=a", 5},
                             {"3 name=a attachment=9", 5},
                             {"3 name=a attachment=3", 5},
                             {"3 name=a attachment=5", 5},
                             {"2 name=a displayed=false", 5},
                             {"1 name=a preserved=true", 5},
                             {"1 name=a loc=1,2,3", 5},
                             {"4 name=a unit=Meters", 5},
                             {"4 name=a preserved=true", 5}};
  for (const Refused& bad : refused)
    EXPECT_EQ(work_.run(std::string("set gear.kpak ") + bad.words).exit, bad.exit) << bad.words;
  EXPECT_EQ(work_.run("set gear.kpak 3 name=a --dry-run").exit, 0);
  EXPECT_EQ(bytes(), before);
}

TEST_F(Component, AFrameListThatCannotBeReadIsKept) {
  EXPECT_EQ(work_.run("mv gear.kpak 4 --parent 5").exit, 0);
  JtwManager::init();
  auto error = JtwRoot::JT_INITIALIZE_FAILED;
  JtwRoot& root = *JtwManager::the().computeExistingDocRoot(
      host::openDocument(work_.path("gear.kpak").string()).document, JtwRoot::JT_LOAD_PLAIN, error);
  jtw::loadWrappers(root);
  JtwNode* arm = nullptr;
  root.getNodeByKey(ApiProtoKey(2), arm);
  arm->jtNode()->addProperty(jt::make<JtStringPropAtom>(JtString("KrWmFrames")).get(),
                             jt::make<JtStringPropAtom>(JtString("2 cut")).get(), true);
  EXPECT_TRUE(root.write(false));
  JtwManager::fini();

  const std::string before = bytes();
  for (const char* line : {"frames gear.kpak", "frames gear.kpak 2", "mv gear.kpak 4 --parent 2",
                           "add gear.kpak frame --parent 2"}) {
    EXPECT_EQ(work_.json(line, 3).at("code"), "bad_frames") << line;
    EXPECT_EQ(bytes(), before) << line;
  }
  EXPECT_TRUE(
      matches(work_.json("verify gear.kpak", 1),
              R"({"sound": false, "findings": [{"severity": "error", "code": "bad_frames"}]})"));
  work_.write("list.json", R"([{"name": "new", "uniqueId": "u-1"}])");
  const Outcome replaced = work_.run("frames gear.kpak 2 --set list.json");
  EXPECT_EQ(replaced.exit, 0);
  EXPECT_NE(replaced.err.find("is replaced"), std::string::npos) << replaced.err;
  EXPECT_TRUE(matches(work_.json("frames gear.kpak 2"),
                      R"({"frames": [{"name": "new", "uniqueId": "u-1"}]})"));
  EXPECT_EQ(work_.run("set gear.kpak 4 uniqueId=u-4").exit, 0);
  EXPECT_EQ(work_.json("get gear.kpak 4").at("uniqueId"), "u-4");
  EXPECT_EQ(work_.json("verify gear.kpak").at("sound"), true);
}

TEST_F(Component, NamesCannotDriveTheTerminal) {
  work_.json("set gear.kpak 3 name=\"$(printf 'a\\033[31mb\\nc')\"");
  const Outcome run = work_.run("tree gear.kpak");
  EXPECT_EQ(run.out.find('\x1b'), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("a\\x1b[31mb\\x0ac"), std::string::npos) << run.out;
}

TEST_F(Component, AStreamIsReadAndWrittenInPlace) {
  work_.write("part.jt", bytes());
  EXPECT_TRUE(matches(work_.json("set stream:part.jt 3 name=Lid"), R"({"node": {"name": "Lid"}})"));
  EXPECT_EQ(work_.json("get part.jt 3").at("name"), "Lid");
  EXPECT_EQ(work_.json("tree stream:part.jt").at("root"), work_.json("tree part.jt").at("root"));
  fs::permissions(work_.path("part.jt"), fs::perms::owner_read);
  const std::string before = work_.read("part.jt");
  EXPECT_EQ(work_.json("set stream:part.jt 3 name=Hub", 4).at("code"), "read_only");
  EXPECT_EQ(work_.read("part.jt"), before);
}

TEST(New, MakesAComponentOfEveryKind) {
  const Workspace work;
  for (const char* name : {"a.kpak", "b.co", "c.cor", "d.jt", "stream:e.jt", "f.kpak/"}) {
    const std::string document = name;
    EXPECT_TRUE(matches(work.json("new --dry-run " + document), R"({"key": 1})")) << name;
    EXPECT_EQ(work.run("get " + document + " 1").exit, 3) << name;
    const Json made = work.json("new " + document);
    EXPECT_TRUE(matches(work.json("info " + made.at("saved").at("file").get<std::string>()),
                        R"({"component": true, "native": false})"));
    EXPECT_TRUE(
        matches(work.json("get " + document + " 1"),
                R"({"kind": "component", "key": 1, "unit": "Millimeters", "children": []})"));
    work.json("set " + document + " 1 name=Kept");
    EXPECT_EQ(work.json("new " + document, 4).at("code"), "exists");
    EXPECT_EQ(work.json("get " + document + " 1").at("name"), "Kept");
    work.json("new --force " + document);
    EXPECT_NE(work.json("get " + document + " 1").at("name"), "Kept");
  }
  EXPECT_TRUE(work.exists("a.kpak/a.jt"));
}

TEST(New, LeavesNothingWhenItFails) {
  const Workspace work;
  work.write("taken.kpak", "a file");
  EXPECT_EQ(work.json("new taken.kpak", 4).at("code"), "not_a_folder");
  fs::create_directories(work.path("full.kpak/full.jt"));
  work.json("new full.kpak --force", 4);
  EXPECT_EQ(work.read("taken.kpak"), "a file");
  EXPECT_TRUE(fs::is_empty(work.path("full.kpak/full.jt")));
}

TEST(Native, AForeignFileIsShownAsAComponent) {
  const Workspace work;
  EXPECT_TRUE(matches(work.json("tree tiny95.jt"), R"({"root": {"kind": "component", "key": null,
      "name": "Tiny", "children": [{"kind": "entity", "name": "Cube", "color": {"r": 0.8},
      "relLoc": [1, 0, 0, 10, 0, 1, 0, 20, 0, 0, 1, 30, 0, 0, 0, 1]}]}})"));
  EXPECT_EQ(work.json("tree asm95.jt").at("root").at("kind"), "component");
}

TEST(Native, AnObjectWithoutKeyIsNamedByItsNodeAndGetsAKey) {
  const Workspace work;
  const Json cube = work.json("tree tiny95.jt").at("root").at("children").at(0);
  const std::string name = "'#" + cube.at("nodeId").dump() + "'";
  EXPECT_NE(work.run("tree tiny95.jt").out.find("#" + cube.at("nodeId").dump()), std::string::npos);
  EXPECT_TRUE(holds(work.json("get tiny95.jt " + name), cube));
  EXPECT_TRUE(matches(work.json("get tiny95.jt root"), R"({"kind": "component", "key": null})"));

  work.json("set tiny95.jt " + name + " name=Box color=#0000ff");
  EXPECT_TRUE(matches(work.json("get tiny95.jt 1"),
                      R"({"kind": "entity", "key": 1, "name": "Box", "color": {"b": 1}})"));
  EXPECT_TRUE(matches(work.json("set tiny95.jt root name=Top"), R"({"node": {"key": 2}})"));
  // Everything but the scene graph is as it was.
  EXPECT_EQ(work.json("set tiny95.jt 1 name=Box").at("saved").at("segments").at("kept"), 1);
}

}  // namespace
}  // namespace cli
