// Files that ask for much end in one error, soon, which names the limit and its option.

#include <array>

#include "Program.h"

namespace cli {
namespace {

/// Writes a file of a kind that the generator of hostile files knows.
void makeHostile(const std::string& kind, int count, const std::filesystem::path& path) {
  const std::string command = "'" JTW_HOSTILE_FILES "' " + kind + " 9.5 " + std::to_string(count) +
                              " '" + path.string() + "'";
  ASSERT_EQ(std::system(command.c_str()), 0) << command;
}

TEST(Limits, OfMemoryAndPlacesEndACommand) {
  const Workspace work;
  for (const auto& [kind, count] : {std::pair{"nodes", 3000}, {"metadata", 3000}, {"doubled", 12}})
    makeHostile(kind, count, work.path(std::string(kind) + ".jt"));
#if JTW_HAS_MESH
  work.write("cube.obj",
             "v 0 0 0\nv 1 0 0\nv 1 2 0\nv 0 2 0\nv 0 0 3\nv 1 0 3\nv 1 2 3\nv 0 2 3\n"
             "f 4 3 2 1\nf 5 6 7 8\nf 1 2 6 5\nf 2 3 7 6\nf 3 4 8 7\nf 4 1 5 8\n");
  work.json("import cube.obj cube.jt");
#endif
  struct Case {
    const char* line;
    const char* code;
    const char* option;
  };
  const Case cases[] = {
    {"info nodes.jt --max-document 500K", "too_large", "--max-document"},
    {"tree nodes.jt --max-document 500K", "too_large", "--max-document"},
    {"snapshot nodes.jt x.png --max-document 500K", "too_large", "--max-document"},
    {"info - --max-input 1000 < nodes.jt", "too_large", "--max-input"},
    {"snapshot doubled.jt x.png --max-places 300", "too_many_places", "--max-places"},
#if JTW_HAS_MESH
    {"convert doubled.jt x.glb --max-places 3000", "too_many_places", "--max-places"},
    {"convert cube.jt x.stl --max-triangles 11", "too_many_triangles", "--max-triangles"},
#endif
  };
  for (const Case& c : cases) {
    const Json error = work.json(c.line, 3);
    EXPECT_EQ(error.value("code", ""), c.code) << c.line;
    EXPECT_NE(error.value("message", "").find(c.option), std::string::npos) << error;
  }
  const Json finding = work.json("verify metadata.jt --max-document 300K", 1)["findings"][0];
  EXPECT_EQ(finding["code"], "too_large");
  EXPECT_NE(finding.value("message", "").find("--max-document"), std::string::npos) << finding;
  work.json("info nodes.jt --max-document 5M");
  work.json("info - --max-input 1M < nodes.jt");
  work.json("snapshot doubled.jt x.png --max-places 10K", 2);
  work.json("snapshot doubled.jt x.png --max-places 10000");
  EXPECT_EQ(work.json("verify metadata.jt")["sound"], true);
}

TEST(Limits, ADeepTreeIsNotMadeOfBlanks) {
  const Workspace work;
  constexpr int kLevels = 400;
  makeHostile("deep", kLevels, work.path("deep.jt"));
  const Json tree = work.json("tree deep.jt");
  const Json* node = &tree["root"];
  int levels = 0;
  for (; !(*node)["children"].empty(); node = &(*node)["children"][0]) ++levels;
  EXPECT_EQ(levels, kLevels - 1);
  const std::string text = work.run("tree deep.jt").out;
  EXPECT_NE(text.find("[399] └─ #401"), std::string::npos) << text.substr(text.size() / 2, 500);
  EXPECT_LT(text.size(), 160U * kLevels);
  EXPECT_LT(work.run("tree deep.jt --json").out.size(), 3000U * kLevels);
}

#if JTW_HAS_MESH
TEST(Limits, OfReadingAMeshFile) {
  const Workspace work;
  work.write("pipe.gltf",
             R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
        "nodes": [{"mesh": 0}], "meshes": [{"primitives": [{"attributes": {"POSITION": 0}}]}],
        "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3"}],
        "bufferViews": [{"buffer": 0, "byteLength": 36}],
        "buffers": [{"uri": "data.bin", "byteLength": 36}]})");
  // A face of so many corners is taken apart for minutes.
  std::string slow;
  constexpr int kCorners = 30'000;
  for (int i = 0; i < kCorners; ++i)
    slow += "v " + std::to_string(i) + " " + std::to_string(i * 7919 % kCorners) + " 0\n";
  slow += "f";
  for (int i = 1; i <= kCorners; ++i) slow += " " + std::to_string(i);
  work.write("slow.obj", slow + "\n");
  ASSERT_EQ(std::system(("mkfifo '" + work.path("data.bin").string() + "'").c_str()), 0);
  EXPECT_EQ(work.json("import pipe.gltf x.jt --max-seconds 30", 3)["code"], "damaged");
  for (const auto& [line, code, option] : {
         std::array{"import slow.obj x.jt --max-seconds 1", "too_slow", "--max-seconds"},
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
             std::array {
           "import slow.obj x.jt --max-memory 1M", "too_large", "--max-memory"
         }
#endif
       }) {
    const Json error = work.json(line, 3);
    EXPECT_EQ(error.value("code", ""), code) << line;
    EXPECT_NE(error.value("message", "").find(option), std::string::npos) << error;
  }
}
#endif

}  // namespace
}  // namespace cli
