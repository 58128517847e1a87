// `import` and `convert`, through the program.

#include "Program.h"

namespace {

using cli::Json;
using cli::Workspace;

constexpr const char* kCube =
    "o block\nv 0 0 0\nv 10 0 0\nv 10 20 0\nv 0 20 0\nv 0 0 30\nv 10 0 30\nv 10 20 30\nv 0 20 30\n"
    "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n";

std::size_t entriesIn(const Workspace& workspace) {
  const std::filesystem::directory_iterator entries(workspace.path("."));
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

/// A quarter of the extent is a step of two bits less one: x = 4.1 is stored as 3.
TEST(MeshCommands, RoundingIsReportedInMillimetres) {
  const Workspace workspace;
  workspace.write("part.obj", "v 0 0 0\nv 9 0 0\nv 4.1 8 0\nv 99 99 99\nf 1 2 3\n");
  const auto rounding = [&](const std::string& line) {
    const Json told = workspace.json(line).at("rounding");
    return told.is_null() ? -1 : told.get<double>();
  };
  EXPECT_NEAR(rounding("import part.obj a.jt --unit in --bits 2"), 1.1 * 25.4, 1e-4);
  EXPECT_EQ(rounding("import part.obj b.jt --unit in"), -1);
  EXPECT_NEAR(rounding("convert b.jt c.jt --bits 2,5 --dry-run"), 1.1 * 25.4, 1e-4);
  EXPECT_EQ(rounding("convert b.jt c.jt --version 9.5"), -1);
  EXPECT_NE(workspace.run("convert b.jt c.jt --bits 2").out.find("moved by up to 27.9"),
            std::string::npos);
  const std::string hint = workspace.run("copy b.jt c.jt --bits 12").err;
  EXPECT_NE(hint.find("import, convert"), std::string::npos) << hint;
}

TEST(MeshCommands, StoredExtentsAreThoseOfTheContent) {
  const Workspace workspace;
  workspace.write("part.obj", kCube);
  workspace.json("import part.obj a.jt");
  const Json bounds = workspace.json("info a.jt").at("bounds");
  workspace.json("add a.jt block name=Turned loc=0,0,0,0,0,30");
  workspace.json("mv a.jt 2 --parent Turned --keep-place");
  EXPECT_EQ(workspace.json("info a.jt").at("bounds"), bounds);
  workspace.json("clone a.jt 2 name=Copy loc=500,0,0");
  EXPECT_NE(workspace.json("info a.jt").at("bounds"), bounds);
  workspace.json("convert a.jt b.jt --select key=2");
  EXPECT_EQ(workspace.json("info b.jt").at("bounds"), bounds);
}

TEST(MeshCommands, MeshFilesAreComparedAndShown) {
  const Workspace workspace;
  workspace.write("a.obj", "v 0 0 0\nv 9 0 0\nv 4 8 0\nf 1 2 3\n");
  workspace.write("b.obj", "v 0 0 0\nv 9 0 0\nv 4 8 0\nv 1 2 7\nf 1 2 3\nf 2 3 4\n");
  const Json told = workspace.json("diff a.obj b.obj --ignore field,name", 1);
  EXPECT_TRUE(cli::matches(told, R"({"count": 1, "differences": [{"what": "geometry",
      "counts": {"triangles": {"a": 1, "b": 2}}}]})"));
  EXPECT_EQ(workspace.json("diff a.obj a.obj").at("same"), true);
  EXPECT_EQ(workspace.json("snapshot b.obj b.png --size 40x30").at("triangles"), 2);
  workspace.write("a-002.png/x", "");
  EXPECT_EQ(workspace.json("snapshot a.obj a.png --size 40x30 --turntable 3", 4).at("code"),
            "not_a_file");
  EXPECT_FALSE(workspace.exists("a-001.png"));
}

TEST(MeshCommands, ImportMakesAComponentThatConvertsBack) {
  const Workspace workspace;
  workspace.write("block.obj", kCube);
  const Json made = workspace.json("import block.obj block.kpak --unit in --lods 2 --bits 16,8");
  EXPECT_TRUE(cli::matches(made, R"({"schema": "jtw.import/1", "document": "block.kpak", "key": 1,
      "scene": {"instances": 1, "meshes": 1, "triangles": 12},
      "saved": {"file": "block.kpak/block.jt", "version": "10.0"}})"));
  EXPECT_TRUE(cli::matches(workspace.json("tree block.kpak"),
                           R"({"root": {"kind": "component", "key": 1, "unit": "Inches",
                   "children": [{"kind": "entity", "key": 2, "name": "block"}]}})"));
  EXPECT_EQ(workspace.run("verify block.kpak/block.jt").exit, 0);
  EXPECT_EQ(workspace.json("info block.kpak")["native"], false);
  EXPECT_EQ(workspace.json("update-materials block.kpak")["result"], "already-updated");
  for (const char* name : {"out.glb", "out.obj", "out.stl", "out.ply", "again.jt"}) {
    const Json out = workspace.json(std::string("convert block.kpak ") + name);
    EXPECT_EQ(out["saved"]["file"], name);
    workspace.json(std::string("import --force ") +
                       (std::string(name) == "again.jt" ? "out.glb" : name) + " again.kpak",
                   0);
  }
  workspace.json("convert block.kpak up.obj --up Y");
  EXPECT_NE(workspace.read("up.obj").find("v 254 762 -508\n"), std::string::npos);
  EXPECT_TRUE(cli::matches(workspace.json("convert again.jt old.jt --version 9.5 --lod 0"),
                           R"({"saved": {"version": "9.5"}})"));
}

TEST(MeshCommands, AnnotationsGoIntoGlbAsLines) {
  const Workspace workspace;
  workspace.json("convert typed95.jt out.glb");
  const std::string glb = workspace.read("out.glb");
  constexpr std::size_t kChunk = 20;  // header, and length and type of the first chunk
  ASSERT_GT(glb.size(), kChunk);
  const Json gltf = Json::parse(glb.substr(
      kChunk, static_cast<unsigned char>(glb[12]) + 256U * static_cast<unsigned char>(glb[13])));
  std::size_t ends = 0;
  for (const Json& mesh : gltf.at("meshes"))
    for (const Json& primitive : mesh.at("primitives")) {
      EXPECT_EQ(primitive.at("mode"), 1);
      const auto indices = primitive.at("indices").get<std::size_t>();
      ends += gltf.at("accessors").at(indices).at("count").get<std::size_t>();
    }
  // Nine lines of one segment and nine of two, three of solid kinds and two of generic entities.
  EXPECT_EQ(ends, 2U * (9 + 18 + 3 + 2));
}

TEST(MeshCommands, ImportWarnsOfEveryNumberThatItChanges) {
  const Workspace workspace;
  const std::string corners = "v 0 0 0\nv 10 0 0\nv 10 20 0\nvn 0 0 1\nvn 0 0 3\n";
  workspace.write("good.obj", corners + "f 1//1 2//1 3//1\n");
  workspace.write("bad.obj", corners + "f 1//1 2//2 3//1\nf 1//1 2//1 2//1\n");
  struct Case {
    const char* line;
    const char* warning;  // empty: none
  };
  for (const Case& one :
       {Case{"good.obj a.jt --lossless", ""},
        {"good.obj a.jt --version 8.2 --bits 14,8", ""},
        {"good.obj a.jt --version 8.2 --bits 14,0", "all numbers of a shape or none"},
        {"good.obj a.jt --version 8.2 --bits 0,8", "all numbers of a shape or none"},
        {"good.obj a.jt --unit um", "converted to millimetres"},
        {"bad.obj a.jt", "no unit vectors and are scaled to length 1: 1"},
        {"bad.obj a.jt", "triangles without extent that are left out: 1"}}) {
    const cli::Outcome outcome = workspace.run(std::string("import --force ") + one.line);
    EXPECT_EQ(outcome.exit, 0) << one.line;
    const Json warnings = workspace.json(std::string("import --force ") + one.line)["warnings"];
    EXPECT_EQ(warnings.empty(), !*one.warning) << warnings;
    EXPECT_NE(warnings.dump().find(one.warning), std::string::npos) << warnings;
    if (*one.warning)
      EXPECT_NE(outcome.err.find(one.warning), std::string::npos) << one.line << outcome.err;
    else
      EXPECT_EQ(outcome.err, "") << one.line;
  }
}

TEST(MeshCommands, ObjectsThatAreNotDisplayedAreNotShownNorConverted) {
  const Workspace workspace;
  workspace.write("two.obj",
                  std::string(kCube) + "o plate\nv 0 0 9\nv 1 0 9\nv 1 1 9\nf 9 10 11\n");
  workspace.json("import two.obj two.kpak");
  for (const auto& [edit, triangles] : {std::pair("set two.kpak 2 displayed=false", 1),
                                        std::pair("set two.kpak 2 displayed=true", 13)}) {
    workspace.json(edit);
    EXPECT_EQ(workspace.json("snapshot two.kpak out.png")["triangles"], triangles);
    EXPECT_EQ(workspace.json("convert two.kpak out.obj")["scene"]["triangles"], triangles);
  }
}

TEST(MeshCommands, WhatCannotBeDoneHasItsExitCodeAndLeavesNothing) {
  const Workspace workspace;
  workspace.write("block.obj", kCube);
  workspace.write("broken.glb", "no GLB");
  workspace.write("taken.jt", "not to be lost");
  const std::size_t before = entriesIn(workspace);
  struct Case {
    const char* line;
    int exit;
    const char* code;
  };
  const Case cases[] = {
      {"import missing.obj a.kpak", 3, "not_found"},
      {"import block.xyzzy a.kpak", 3, "unknown_format"},
      {"import broken.glb a.kpak", 3, "damaged"},
      {"import block.obj taken.jt", 4, "exists"},
      {"import block.obj no/such/folder.jt", 4, "unwritable"},
      {"import block.obj a.kpak --unit furlong", 2, "usage"},
      {"import block.obj a.kpak --up -Z", 2, "usage"},
      {"convert tiny95.jt a.glb --up Z", 2, "usage"},
      {"import block.obj a.kpak --bits 99,8", 2, "usage"},
      {"import block.obj a.kpak --bits 12,8,0", 2, "usage"},
      {"import block.obj a.kpak --bits 12,8 --lossless", 2, "usage"},
      {"import block.obj a.kpak --lods 0", 2, "usage"},
      {"import block.obj", 2, "usage"},
      {"convert taken.jt a.glb", 3, "not_jt"},
      {"convert block.obj a.xyzzy", 2, "usage"},
      {"convert block.obj no/such/folder.glb", 4, "unwritable"},
      {"convert block.obj -", 2, "usage"},
      {"convert tiny95.jt a.kpak", 2, "usage"},
      {"convert tiny95.jt a.jt --unit m", 2, "usage"},
      {"convert block.obj a.glb --bits 4,4", 2, "usage"},
  };
  for (const Case& one : cases) {
    const Json failure = workspace.json(one.line, one.exit);
    EXPECT_EQ(failure["code"], one.code) << one.line;
  }
  workspace.json("import block.obj a.kpak --dry-run");
  workspace.json("convert block.obj a.glb --dry-run");
  EXPECT_EQ(entriesIn(workspace), before);
  EXPECT_EQ(workspace.read("taken.jt"), "not to be lost");
}

}  // namespace
