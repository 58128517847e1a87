// The commands that edit a component: add, rm, mv, clone, frames, buffer, export-partition.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "DocumentStore.h"
#include "JtInstance.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwManager.h"
#include "Program.h"

namespace cli {
namespace {

const std::string kAt = R"(0, 1, 0, 20, 0, 0, 1, 30, 0, 0, 0, 1])";

/// A workspace with the component cell.kpak, made by the commands themselves: link 2 with block 3
/// (entity 10, frame 11) and sub-device 4; block 5 in metres.
class Edit : public testing::Test {
 protected:
  Edit() {
    for (const char* line :
         {"new cell.kpak", "add cell.kpak link --key 2 --name Base --loc 100,0,0",
          "add cell.kpak block --key 3 --parent 2 --name Arm --loc 0,50,0",
          "add cell.kpak sub-device --parent 2 --name Drive attachment=3",
          "add cell.kpak block unit=Meters",
          "add cell.kpak entity --key 10 --parent 3 --name Cover --loc 10,20,30 color=#ff0000",
          "add cell.kpak frame --parent 3 --name Tip --loc 0,0,7 color=#0000ff attachment=10:2"})
      EXPECT_EQ(work_.run(line).exit, 0) << line;
  }

  std::string bytes() const { return work_.read("cell.kpak/cell.jt"); }
  Json get(int key) const { return work_.json("get cell.kpak " + std::to_string(key)); }
  Json root() const { return work_.json("tree cell.kpak").at("root"); }
  void expectSound() const { EXPECT_EQ(work_.json("verify cell.kpak/cell.jt").at("sound"), true); }
  /// Runs an editing command first with --dry-run, which must tell the same and write nothing.
  Json edit(const std::string& line) const {
    const std::string before = bytes();
    const Json planned = work_.json(line + " --dry-run");
    EXPECT_EQ(bytes(), before) << line;
    Json done = work_.json(line);
    EXPECT_NE(bytes(), before) << line;
    Json expected = planned;
    if (done.contains("node"))  // a new object has no id before it is saved
      expected.at("node").at("nodeId") = done.at("node").at("nodeId");
    EXPECT_EQ(done, expected);
    return done;
  }

  Workspace work_;
};

TEST_F(Edit, WhatWasAddedIsInTheTree) {
  EXPECT_TRUE(matches(root(), R"({"key": 1, "children": [
      {"kind": "link", "key": 2, "name": "Base", "children": [
        {"kind": "block", "key": 3, "name": "Arm", "children": [
          {"kind": "entity", "key": 10, "name": "Cover", "color": {"r": 1, "default": false},
           "relLoc": [1, 0, 0, 10, )" +
                                  kAt + R"(, "children": []},
          {"kind": "frame", "key": 11, "name": "Tip", "attachment": {"parent": 10, "type": 2}}]},
        {"kind": "sub-device", "key": 4, "name": "Drive", "attachment": {"parent": 3, "type": 0}}]},
      {"kind": "block", "key": 5, "unit": "Meters"}]})"));
  const std::string text = work_.run("tree cell.kpak").out;
  EXPECT_NE(text.find("11  frame  Tip  #0000ff  -> 10:2\n"), std::string::npos) << text;
  const Json added = edit("add cell.kpak entity --parent 5 --loc 20,0,0");
  EXPECT_TRUE(matches(added, R"({"schema": "jtw.add/1", "key": 12, "parent": 5,
                          "node": {"kind": "entity", "unit": "Meters"}, "saved": {}})"));
  EXPECT_TRUE(added.at("node").at("nodeId").is_number());
  EXPECT_EQ(added.at("node").at("nodeId"), get(12).at("nodeId"));
  EXPECT_TRUE(holds(get(12).at("relLoc").at(3), 20.0)) << "millimetres, whatever the unit";
  expectSound();
}

struct Refused {
  const char* line;
  int exit;
  const char* code;
};

TEST_F(Edit, WhatTheModelRefusesChangesNothing) {
  work_.write("twice.json", R"([{"key": 20}, {"key": 20}])");
  work_.write("taken.json", R"([{"key": 10}])");
  work_.write("lost.json", R"([{"key": 20, "attachment": {"parent": 11}}])");
  work_.write("itself.json", R"({"frames": [{"key": 11, "attachment": {"parent": 11}}]})");
  work_.write("circle.json", R"([{"key": 11, "attachment": {"parent": 21}},
                                  {"key": 21, "attachment": {"parent": 11}}])");
  work_.write("empty", "");
  const Refused refused[] = {
      {"add cell.kpak block --key 3", 5, "key_in_use"},
      {"add cell.kpak frame --key 11", 5, "key_in_use"},
      {"add cell.kpak block --parent 99", 5, "unknown_key"},
      {"add cell.kpak block --parent 10", 5, "not_a_collection"},
      {"add cell.kpak frame --parent 11", 5, "not_a_collection"},
      {"add cell.kpak annotation --parent 3", 2, "usage"},
      {"add cell.kpak annotation --type Not", 2, "usage"},
      {"add cell.kpak annotation --type 'Model View Label'", 5, "not_supported"},
      {"set cell.kpak 10 text=x", 5, "not_supported"},
      {"add cell.kpak frame --parent 3 unit=Meters", 5, "not_supported"},
      {"add cell.kpak block --key 0", 2, "usage"},
      {"add cell.kpak block --key x", 2, "usage"},
      {"add cell.kpak wheel", 2, "usage"},
      {"add cell.kpak block name=a --name b", 2, "usage"},
      {"add cell.kpak block --loc 1,2", 2, "usage"},
      {"set cell.kpak 3 loc=1e39,0,0", 2, "usage"},
      {"frames cell.kpak 3 --set circle.json", 5, "cycle"},
      {"export-partition cell.kpak stream:out", 2, "usage"},
      {"export-partition cell.kpak other.kpak", 2, "usage"},
      {"add none.kpak block", 3, "not_found"},
      {"rm cell.kpak 99", 5, "unknown_key"},
      {"rm cell.kpak 1", 5, "not_supported"},
      {"mv cell.kpak 2 --parent 3", 5, "cycle"},
      {"mv cell.kpak 3 --parent 3", 5, "cycle"},
      {"mv cell.kpak 4 --parent 10", 5, "not_a_collection"},
      {"mv cell.kpak 11 --parent 10", 5, "not_a_collection"},
      {"mv cell.kpak 99 --parent 2", 5, "unknown_key"},
      {"mv cell.kpak 3 --parent 99", 5, "unknown_key"},
      {"mv cell.kpak root --parent 2", 5, "not_supported"},
      {"mv cell.kpak 3", 2, "usage"},
      {"clone cell.kpak 3", 5, "not_supported"},
      {"clone cell.kpak 10 --key 4", 5, "key_in_use"},
      {"clone cell.kpak 99", 5, "unknown_key"},
      {"frames cell.kpak 10", 5, "not_a_collection"},
      {"frames cell.kpak 3 --set twice.json", 5, "key_in_use"},
      {"frames cell.kpak 3 --set taken.json", 5, "key_in_use"},
      {"frames cell.kpak 3 --set lost.json", 5, "unknown_key"},
      {"frames cell.kpak 3 --set itself.json", 5, "cycle"},
      {"frames cell.kpak 3 --set none.json", 3, "not_found"},
      {"frames cell.kpak 3 --binary", 2, "usage"},
      {"frames cell.kpak --set twice.json", 2, "usage"},
      {"buffer cell.kpak kin get out", 5, "no_buffer"},
      {"buffer cell.kpak kin rm", 5, "no_buffer"},
      {"buffer cell.kpak kin set empty", 5, "empty_buffer"},
      {"buffer cell.kpak kin set none", 3, "not_found"},
      {"buffer cell.kpak wheel get", 2, "usage"},
      {"buffer cell.kpak kin", 2, "usage"},
      {"export-partition cell.kpak none/out.jt", 4, "unwritable"},
      {"export-partition cell.kpak out.jt --version 7", 2, "usage"},
      {"new other.kpak --unit Parsecs", 2, "usage"}};
  const std::string before = bytes();
  for (const Refused& bad : refused)
    EXPECT_EQ(work_.json(bad.line, bad.exit).at("code"), bad.code) << bad.line;
  EXPECT_EQ(bytes(), before);
  EXPECT_FALSE(work_.exists("out"));
  EXPECT_FALSE(work_.exists("other.kpak"));
}

TEST_F(Edit, RmTakesWhatIsBelowAndEndsAttachments) {
  EXPECT_TRUE(matches(edit("rm cell.kpak 10"), R"({"removed": [10], "detached": [11]})"));
  EXPECT_TRUE(get(11).at("attachment").is_null());
  EXPECT_TRUE(matches(edit("rm cell.kpak 3"), R"({"removed": [3, 11], "detached": [4]})"));
  EXPECT_TRUE(matches(root(), R"({"children": [{"key": 2, "children": [
      {"key": 4, "attachment": null, "children": []}]}, {"key": 5}]})"));
  work_.json("add cell.kpak frame --key 11 --parent 5");
  edit("rm cell.kpak 11");
  EXPECT_EQ(work_.json("frames cell.kpak").at("lists").size(), 0U) << "no empty list stays";
  expectSound();
}

TEST_F(Edit, MvKeepsOneOfTheTwoPlaces) {
  const auto place = [this](int key, const char* which) { return get(key).at(which); };
  const Json relative = place(10, "relLoc");
  const Json absolute = place(3, "absLoc");
  EXPECT_TRUE(matches(edit("mv cell.kpak 10 --parent 4"), R"({"parent": 4, "node": {"key": 10}})"));
  EXPECT_TRUE(holds(place(10, "relLoc"), relative));
  edit("mv cell.kpak 3 --parent root --keep-place");
  EXPECT_TRUE(holds(place(3, "absLoc"), absolute));
  const Json tip = place(11, "absLoc");
  edit("mv cell.kpak 11 --parent 4 --keep-place");
  EXPECT_TRUE(holds(place(11, "absLoc"), tip));
  const Outcome intoMetres = work_.run("mv cell.kpak 10 --parent 5");
  EXPECT_NE(intoMetres.err.find("no unit of its own"), std::string::npos);
  EXPECT_TRUE(holds(place(10, "relLoc"), relative));
  EXPECT_TRUE(matches(root(), R"({"children": [
      {"key": 2, "children": [{"key": 4, "children": [{"kind": "frame", "key": 11, "name": "Tip"}]}]},
      {"key": 5, "children": [{"key": 10, "unit": "Meters"}]},
      {"key": 3, "children": []}]})"));
  expectSound();
}

TEST_F(Edit, ACloneIsASiblingOfItsOriginal) {
  EXPECT_TRUE(matches(edit("clone cell.kpak 10"), R"({"key": 12, "node": {"name": "Cover"}})"));
  edit("clone cell.kpak 10 --key 30 name=Lid loc=1,20,30");
  EXPECT_TRUE(matches(get(30),
                      R"({"name": "Lid", "color": {"r": 1}, "relLoc": [1, 0, 0, 1, )" + kAt + "}"));
  EXPECT_TRUE(
      matches(get(3), R"({"children": [{"key": 10}, {"key": 12}, {"key": 30}, {"key": 11}]})"));

  // With late-loaded data, from a file without keys: the original gets one too.
  EXPECT_TRUE(matches(work_.json("clone tiny95.jt '#6' --key 1"), R"({"key": 1})"));
  EXPECT_TRUE(matches(work_.json("tree tiny95.jt").at("root"),
                      R"({"children": [{"key": 2, "name": "Cube"}, {"key": 1, "name": "Cube"}]})"));
  EXPECT_EQ(work_.json("verify tiny95.jt").at("sound"), true);
}

TEST_F(Edit, FrameListsRoundTrip) {
  work_.write("list.json", R"([{"key": 11, "name": "Spitze \u00fc", "displayed": false,
      "relLoc": [1, 2, 3, 0, 90, 0], "color": {"r": 0.2, "g": 0.4, "b": 1, "a": 0.5},
      "attributes": "a=b", "attachment": {"parent": 3, "type": 7}},
      {"attachment": {"parent": 11}}, {}, {"key": 40, "relLoc": [0.1, 0, 0]}])");
  Json shown;
  for (const char* form : {"text", "binary"}) {
    const bool isBinary = form == std::string("binary");
    const Json done = work_.json("frames cell.kpak 3 --set " +
                                 std::string(isBinary ? "shown.json --binary" : "list.json"));
    EXPECT_TRUE(matches(done, R"({"key": 3, "detached": [], "frames": [
        {"key": 11, "name": "Spitze ü", "displayed": false, "color": {"r": 0.2, "a": 0.5},
         "attributes": "a=b", "attachment": {"parent": 3, "type": 7}},
        {"key": 41, "name": null, "displayed": true, "attachment": {"parent": 11, "type": 0}},
        {"key": 42}, {"key": 40, "relLoc": [1, 0, 0, 0.1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1]}]})"));
    const Json again = work_.json("frames cell.kpak 3");
    EXPECT_EQ(again.at("form"), form);
    EXPECT_EQ(again.at("frames"), done.at("frames"));
    EXPECT_TRUE(!isBinary || again.at("frames") == shown.at("frames"));
    EXPECT_EQ(get(3).at("children").size(), 5U) << form;
    work_.write("shown.json", again.dump());
    shown = again;
    // A change of one frame keeps the form of the list.
    EXPECT_EQ(work_.run("set cell.kpak 42 name=one").exit, 0);
    EXPECT_EQ(work_.json("frames cell.kpak 3").at("form"), form);
    EXPECT_EQ(work_.run("set cell.kpak 42 name=").exit, 0);
    expectSound();
  }
  EXPECT_EQ(work_.run("copy cell.kpak/cell.jt old.jt --version 9.5").exit, 0);
  EXPECT_EQ(work_.json("frames old.jt").at("lists"), work_.json("frames cell.kpak").at("lists"));
  // Into another component, and out again: what is attached to a frame that goes is reported.
  work_.json("new other.kpak");
  shown.at("frames").at(0).at("attachment").at("parent") = 1;
  work_.write("shown.json", shown.dump());
  EXPECT_EQ(work_.run("frames other.kpak 1 --set - < shown.json").exit, 0);
  work_.json("set cell.kpak 10 attachment=42");
  EXPECT_EQ(work_.json("frames other.kpak").at("lists").at(0).at("frames").size(), 4U);
  work_.write("none.json", "[]");
  EXPECT_TRUE(matches(work_.json("frames cell.kpak 3 --set none.json"),
                      R"({"form": null, "frames": [], "detached": [10]})"));
}

TEST_F(Edit, BadFramesAreReportedWithTheirPlace) {
  const std::pair<const char*, const char*> lists[] = {
      {"[{]", "byte 3"},
      {"7", "neither a list"},
      {"{\"frames\": {}}", "neither a list"},
      {"[{}, 3]", "frame 2 is not an object"},
      {"[{\"key\": 1.5}]", "frame 1: key"},
      {"[{\"key\": 99999999999999999999}]", "frame 1: key"},
      {"[{\"key\": 4294967296}]", "frame 1: key"},
      {"[{\"name\": 1}]", "frame 1: name"},
      {"[{\"relLoc\": [1, 2]}]", "frame 1: relLoc"},
      {"[{\"relLoc\": [1, 2, 1e999]}]", "too large"},
      {"[{\"color\": {\"r\": 2}}]", "frame 1: color.r"},
      {"[{\"color\": {\"rg\": 1}}]", "frame 1: color"},
      {"[{\"attachment\": {\"kind\": 1}}]", "frame 1: attachment"},
      {"[{\"displayed\": 1}]", "frame 1: displayed"},
      {"[{\"uniqueId\": 1}]", "frame 1: uniqueId"},
      {"[{\"id\": \"u\"}]", "frame 1: id"},
      {"[[[[[[[[[[[[]]]]]]]]]]]]", "nested"}};
  for (const auto& [text, place] : lists) {
    work_.write("bad.json", text);
    const Json error = work_.json("frames cell.kpak 3 --set bad.json", 3);
    EXPECT_EQ(error.at("code"), "bad_frames") << text;
    EXPECT_NE(error.at("message").get<std::string>().find(place), std::string::npos) << error;
  }
}

TEST_F(Edit, BuffersRoundTripByteForByte) {
  std::string blob = "a,\\@,\\\\";
  for (int byte = 0; byte < 256; ++byte) blob += static_cast<char>(byte);
  const std::vector<std::string> kinds{"kin",       "kin-modeling",     "kin-techno",
                                       "mop",       "dot-kin",          "gm-kin",
                                       "plc-logic", "kin-techno-double"};
  for (const std::string& kind : kinds) {
    work_.write("in", kind + blob);
    EXPECT_TRUE(matches(edit("buffer cell.kpak " + kind + " set in"), R"({"version": 2})")) << kind;
  }
  for (const std::string& kind : kinds) {
    EXPECT_EQ(work_.json("buffer cell.kpak " + kind + " get out").at("size"),
              kind.size() + blob.size());
    EXPECT_EQ(work_.read("out"), kind + blob);
    EXPECT_EQ(work_.run("buffer cell.kpak " + kind + " get").out, kind + blob);
  }
  EXPECT_EQ(work_.run("buffer cell.kpak kin get > /dev/full").exit, 4);
  edit("buffer cell.kpak mop rm");
  EXPECT_EQ(work_.json("buffer cell.kpak").at("buffers").size(), 7U);
  EXPECT_EQ(work_.run("buffer stream:cell.kpak/cell.jt mop set - < in").exit, 0);
  EXPECT_EQ(work_.run("buffer stream:cell.kpak/cell.jt mop get -").out, work_.read("in"));
  EXPECT_EQ(work_.json("tree cell.kpak").at("structure"), 0);
  expectSound();
}

TEST_F(Edit, TheExportedPartitionIsTheSameComponent) {
  work_.write("in", "data");
  work_.json("buffer cell.kpak kin set in");
  work_.json("clone tiny95.jt '#6'");
  for (const std::string document : {"cell.kpak", "tiny95.jt"}) {
    work_.json("export-partition --dry-run " + document + " out.jt");
    EXPECT_FALSE(work_.exists("out.jt"));
    EXPECT_TRUE(matches(work_.json("export-partition " + document + " out.jt"),
                        R"({"schema": "jtw.export-partition/1", "saved": {"file": "out.jt"}})"));
    EXPECT_EQ(work_.json("verify out.jt").at("sound"), true);
    EXPECT_EQ(work_.run("tree out.jt").out, work_.run("tree " + document).out);
    EXPECT_EQ(work_.json("buffer out.jt").at("buffers"),
              work_.json("buffer " + document).at("buffers"));
    EXPECT_EQ(work_.json("info out.jt").at("component"), true);
    EXPECT_EQ(work_.json("info out.jt").at("native"), false);
    std::filesystem::remove(work_.path("out.jt"));
  }
  EXPECT_EQ(work_.run("export-partition cell.kpak - > piped.jt").exit, 0);
  EXPECT_EQ(work_.json("get piped.jt 11").at("name"), "Tip");
}

TEST_F(Edit, RmTakesASharedObjectFromAllItsPlaces) {
  JtwManager::init();
  const auto document = host::openDocument(work_.path("part.jt").string()).document;
  JtwRoot& root = *JtwManager::the().computeNewDocRoot(document);
  root.setKey(ApiProtoKey(1));
  JtwEntity* part = root.createEntityNode(ApiProtoKey(2), ApiProtoKey(1), RTTran3D());
  for (int i = 0; i < 2; ++i) {
    const auto instance = jt::make<JtInstance>();
    instance->setChild(part->jtNode());
    static_cast<JtGroup*>(root.jtNode())->addChild(instance.get());
  }
  EXPECT_TRUE(root.write(false)) << jt::lastError();
  JtwManager::fini();
  EXPECT_TRUE(matches(work_.json("rm part.jt 2"), R"({"removed": [2]})"));
  EXPECT_TRUE(matches(work_.json("tree part.jt").at("root"), R"({"key": 1, "children": []})"));
  EXPECT_EQ(work_.json("verify part.jt").at("findings").size(), 0U);
}

TEST_F(Edit, AnnotationsAreMadeListedChangedAndRemovedInEveryVersion) {
  edit(
      "add cell.kpak annotation --key 20 --parent 3 --type Note --name N --text 'a \\' --text b "
      "--loc 1,2,3 --layer 4 --size 7 --leader 10,0,0 --plane 0,1,0,0,0,1 color=#102030");
  edit("add cell.kpak annotation --key 21 --type 'Spot Weld' --text W");
  const std::string note = R"({"key": 20, "type": 1, "typeName": "Note", "name": "N", "owner": 3,
      "text": ["a \\", "b"], "textHeight": 50, "frame": {"origin": [11, 2, 3], "x": [0, 1, 0],
      "y": [0, 0, 1]}, "layer": 4, "colors": {"text": "#102030", "background": null},
      "foreign": false})";
  const Json listed = work_.json("pmi cell.kpak").at("annotations");
  ASSERT_EQ(listed.size(), 2U);
  EXPECT_TRUE(matches(listed[0].at("key") == 20 ? listed[0] : listed[1], note));
  const Json one = work_.json("pmi cell.kpak 20");
  EXPECT_TRUE(matches(one.at("annotations")[0], note));
  EXPECT_EQ(work_.json("pmi cell.kpak 2").at("annotations").size(), 1U);

  // What is not named stays.
  const auto lines = one.at("annotations")[0].at("polylines").get<int>();
  EXPECT_GT(lines, 4);
  edit("set cell.kpak 20 text=longer backgroundColor=#ff000080 loc=5,0,0");
  const Json changed = work_.json("pmi cell.kpak 20").at("annotations")[0];
  EXPECT_TRUE(matches(changed, R"({"id": 0, "text": ["longer"], "layer": 4, "colors":
      {"text": "#102030", "background": "#ff000080"}, "frame": {"origin": [5, 0, 0]}})"));
  EXPECT_EQ(work_.run("set cell.kpak 20 name=N").exit, 0);
  EXPECT_EQ(work_.json("pmi cell.kpak 20").at("annotations")[0], changed);
  for (const char* version : {"8.2", "9.5", "10.0", "10.2"}) {
    const std::string copy = std::string("copy-") + version + ".jt";
    ASSERT_EQ(work_.run("copy cell.kpak/cell.jt " + copy + " --version " + version).exit, 0);
    EXPECT_EQ(work_.json("pmi " + copy + " 20").at("annotations")[0], changed) << version;
  }
  // A difference names the annotation; a picture shows it unless --pmi is off.
  EXPECT_EQ(work_.run("set copy-10.0.jt 20 layer=5").exit, 0);
  EXPECT_TRUE(matches(work_.json("diff cell.kpak/cell.jt copy-10.0.jt", 1), R"({"differences":
      [{"what": "property", "name": "JT_LLPROP_PMI[20].Layer", "a": "4", "b": "5"}]})"));
  const auto drawn = [this](const char* options) {
    return work_.json(std::string("snapshot cell.kpak/cell.jt a.png --size 40x30 ") + options)
        .at("annotationLines")
        .get<int>();
  };
  EXPECT_GT(drawn(""), 5);
  EXPECT_EQ(drawn("--pmi off"), 0);
  edit("rm cell.kpak 20");
  edit("rm cell.kpak 21");
  EXPECT_EQ(work_.json("pmi cell.kpak --all").at("annotations").size(), 0U);
  expectSound();
}

// What others made comes through in every version, and the same command gives the same bytes.
TEST_F(Edit, AnnotationsAreAddedBesidePMIOfOtherPrograms) {
  for (const char* version : {"8.1", "8.2", "9.5", "10.0", "10.2"}) {
    SCOPED_TRACE(version);
    const std::string source = version == std::string("8.1") ? "typed81.jt" : "typed95.jt";
    const auto run = [this](const std::string& line) {
      EXPECT_EQ(work_.run(line).exit, 0) << line;
    };
    run("copy " + source + " before.jt --version " + version);
    run("set before.jt '#2' name=host");  // a component from here on
    const Json before = work_.json("pmi before.jt --all");
    EXPECT_EQ(before.at("annotations").size(), 12U);
    EXPECT_TRUE(matches(before.at("coordinateSystems"),
                        R"([{"key": null, "name": "their axes", "foreign": true}])"));
    EXPECT_EQ(before.at("others").size(), 2U);
    EXPECT_EQ(work_.json("snapshot before.jt a.png --size 40x30").at("annotationLines"), 23);
    const std::string add = " annotation --parent '#2' --key 20 --type Dimension --text T --name N";
    for (const char* copy : {"once.jt", "twice.jt"}) {
      run(std::string("copy before.jt ") + copy + "");
      run(std::string("add ") + copy + add);
    }
    EXPECT_TRUE(work_.read("once.jt") == work_.read("twice.jt"));
    const auto changes = [this] {
      std::string names;
      const Json all = work_.json("diff before.jt once.jt", 1).at("differences");
      for (const Json& change : all)
        if (const std::string name = change.at("name"); name.starts_with("JT_")) names += name;
      return names;
    };
    EXPECT_EQ(changes(), "JT_LLPROP_PMI[20]");
    run("set once.jt 20 text=longer");
    run("rm once.jt 20");
    EXPECT_EQ(changes(), "");
    for (const char* list : {"annotations", "coordinateSystems", "others", "views"})
      EXPECT_EQ(work_.json("pmi once.jt --all").at(list), before.at(list));
  }
}

}  // namespace
}  // namespace cli
