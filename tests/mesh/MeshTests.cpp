#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "../Host/TempFolder.h"
#include "Comparison.h"
#include "JtFormatError.h"
#include "JtwManager.h"
#include "MeshComponent.h"
#include "MeshFiles.h"
#include "Scenes.h"

namespace {

class MeshTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { JtwManager::init(); }
  static void TearDownTestSuite() { JtwManager::fini(); }

  /// The code of the error that loading ends with.
  static std::string loadError(const std::string& path) {
    try {
      mesh::loadScene(path);
    } catch (const JtFormatError& error) {
      EXPECT_EQ(error.where().file, path);
      return error.code();
    }
    return "none";
  }
  static std::string outline(const mesh::Scene& scene) {
    std::string text;
    for (const mesh::Node& node : scene.nodes) {
      text += node.name + "(";
      for (const std::size_t child : node.children) text += std::to_string(child) + " ";
      text += ") ";
    }
    return text;
  }
  static const mesh::Node& named(const mesh::Scene& scene, const std::string& name) {
    const auto found = std::find_if(scene.nodes.begin(), scene.nodes.end(),
                                    [&name](const mesh::Node& node) { return node.name == name; });
    if (found == scene.nodes.end()) throw std::runtime_error("no node " + name);
    return *found;
  }

  /// The host adds some of its own.
  static void expectProperties(const mesh::Node& expected, const mesh::Node& actual) {
    for (const auto& property : expected.properties)
      EXPECT_EQ(std::count(actual.properties.begin(), actual.properties.end(), property), 1)
          << property.first;
  }

  TempFolder folder_;
};

TEST_F(MeshTest, JtKeepsTreeInstancesAndGeometry) {
  const mesh::Scene scene = workcell();
  for (const char* version : {"8.2", "9.5", "10.0", "10.2"})
    for (const unsigned bits : {0U, 14U})
      for (const std::size_t levels : {1U, 3U}) {
        Passage passage{.version = version, .encoding = {}, .levels = levels};
        passage.encoding.positionBits = bits;
        const mesh::Scene back = throughJt(scene, folder_.at("cell.jt"), passage);
        EXPECT_EQ(difference(scene, back, {.positionBits = bits}), "")
            << version << ", " << bits << " bits, " << levels << " levels";
        EXPECT_EQ(back.models.size(), scene.models.size()) << "instances share their model";
        expectProperties(scene.nodes[1], named(back, "robot"));
      }
}

TEST_F(MeshTest, GlbKeepsWhatTheSceneHas) {
  const mesh::Scene scene = workcell();
  const std::string path = folder_.at("cell.glb");
  EXPECT_EQ(mesh::writeScene(scene, path), std::vector{path});
  mesh::Scene back = mesh::loadScene(path);
  EXPECT_EQ(back.millimetres, 1000);
  EXPECT_EQ(outline(back), outline(scene));
  EXPECT_EQ(back.models.size(), scene.models.size());
  expectProperties(scene.nodes[1], named(back, "robot"));
  mesh::convertUnit(back, 1);
  // Metres in single precision; the import library takes polylines apart and joins them again.
  EXPECT_EQ(difference(scene, back, {.placement = 1e-5, .positionBits = 20}), "");
}

TEST_F(MeshTest, FlatFormatsKeepEveryTriangleInItsPlace) {
  const mesh::Scene scene = workcell();
  const mesh::Extent expected = mesh::extentOf(scene);
  struct Case {
    const char* name;
    std::size_t files;
    std::size_t triangles;
  };
  // Three grippers of 12 + 48 triangles, one base of 48.
  for (const Case& one : {Case{"cell.obj", 2, 228}, {"cell.stl", 1, 228}, {"cell.ply", 1, 228}}) {
    const std::string path = folder_.at(one.name);
    EXPECT_EQ(mesh::writeScene(scene, path).size(), one.files) << one.name;
    const mesh::Scene back = mesh::loadScene(path);
    std::size_t triangles = 0;
    for (const auto& mesh : back.meshes)
      if (mesh->kind == jt::Mesh::Kind::triangles) triangles += mesh->primitiveCount();
    EXPECT_EQ(triangles, one.triangles) << one.name;
    const mesh::Extent extent = mesh::extentOf(back);
    for (std::size_t axis = 0; axis < 3 && std::strcmp(one.name, "cell.obj") == 0; ++axis) {
      EXPECT_NEAR(extent.min[axis], expected.min[axis], 1e-4) << one.name;
      EXPECT_NEAR(extent.max[axis], expected.max[axis], 1e-4) << one.name;
    }
  }
}

/// Six times the volume inside closed surfaces; negative when they are inside out.
double volumeOf(const mesh::Scene& scene) {
  double volume = 0;
  for (const auto& mesh : scene.meshes)
    for (std::size_t i = 0; i + 2 < mesh->corners.size(); i += 3) {
      const auto& a = mesh->positions[mesh->corners[i]];
      const auto& b = mesh->positions[mesh->corners[i + 1]];
      const auto& c = mesh->positions[mesh->corners[i + 2]];
      volume += static_cast<double>(a[0] * (b[1] * c[2] - b[2] * c[1]) +
                                    a[1] * (b[2] * c[0] - b[0] * c[2]) +
                                    a[2] * (b[0] * c[1] - b[1] * c[0]));
    }
  return volume;
}

TEST_F(MeshTest, MirroredInstancesAreNotTurnedInsideOut) {
  mesh::Scene scene;
  scene.meshes = {cube()};
  scene.models = {{"cube", {{0, std::nullopt}}}};
  scene.nodes = {{"mirrored", placed(0, 0, 0, -1), 0, {}, {}}};
  for (const char* name : {"m.obj", "m.stl", "m.ply"}) {
    mesh::writeScene(scene, folder_.at(name));
    EXPECT_NEAR(volumeOf(mesh::loadScene(folder_.at(name))), 48, 1e-3) << name;
  }
}

TEST_F(MeshTest, LevelsGetCoarserAndKeepTheShape) {
  const std::shared_ptr<const jt::Mesh> finest = ball(32);
  const auto levels = mesh::makeLevels(finest, 4);
  ASSERT_GE(levels.size(), 3U);
  EXPECT_EQ(levels[0], finest);
  for (std::size_t i = 1; i < levels.size(); ++i) {
    EXPECT_EQ(levels[i]->flaw(), "");
    EXPECT_LT(levels[i]->primitiveCount(), levels[i - 1]->primitiveCount() * 6 / 10);
    for (const jt::Vec3f& p : levels[i]->positions)
      EXPECT_NEAR(std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]), 1, 1e-4);
  }
  // Faces with normals of their own are nothing but seams.
  EXPECT_EQ(mesh::makeLevels(cube(), 3).back()->flaw(), "");
  EXPECT_EQ(mesh::makeLevels(strokes(jt::Mesh::Kind::points), 3).size(), 1U);
}

TEST_F(MeshTest, UnitsThatTheHostCannotNameBecomeMillimetres) {
  struct Case {
    double unit;
    double stored;
  };
  for (const Case& one : {Case{1, 1}, {25.4, 25.4}, {1000, 1000}, {0.1, 1}, {0.001, 1}, {3, 1}}) {
    mesh::Scene scene = workcell();
    scene.millimetres = one.unit;
    const mesh::Scene back = throughJt(scene, folder_.at("unit.jt"), {});
    EXPECT_NEAR(back.millimetres, one.stored, 1e-5) << one.unit;
    mesh::convertUnit(scene, back.millimetres);
    EXPECT_EQ(difference(scene, back), "") << one.unit;
  }
}

TEST_F(MeshTest, BadFilesEndInOneClearError) {
  const std::string triangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
  struct Case {
    const char* name;
    std::string content;
    const char* code;
  };
  const Case cases[] = {
      {"empty.obj", "", "damaged"},
      {"text.glb", "this is no GLB", "damaged"},
      {"short.stl", std::string(84, ' '), "damaged"},
      {"comment.obj", "# nothing\n", "damaged"},
      {"degenerate.obj", triangle + "f 1 2 2\n", "no_geometry"},
      {"nan.obj", "v nan 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n", "bad_positions"},
      {"inf.ply",
       "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
       "property float z\nelement face 1\nproperty list uchar int vertex_indices\nend_header\n"
       "1e99 0 0\n1 0 0\n0 1 0\n3 0 1 2\n",
       "bad_positions"},
      {"gear.xyzzy", triangle, "unknown_format"},
      {"gear", triangle, "unknown_format"},
      {"good.obj", triangle + "f 1 2 3\n", "none"},
  };
  for (const Case& one : cases)
    EXPECT_EQ(loadError(folder_.file(one.name, one.content)), one.code) << one.name;
  EXPECT_EQ(loadError(folder_.at("missing.obj")), "not_found");
  EXPECT_EQ(loadError(folder_.folder("folder.obj")), "not_a_file");
}

/// A glTF file of one mesh without indices, and its buffer beside it.
/// @param mode 4: triangles, 1: lines @param vertices position, normal and texture coordinates each
std::string gltfFile(TempFolder& folder, int mode,
                     const std::vector<std::array<float, 8>>& vertices) {
  const std::string bytes(reinterpret_cast<const char*>(vertices.data()),
                          vertices.size() * sizeof vertices[0]);
  folder.file("mesh.bin", bytes);
  const std::string count = std::to_string(vertices.size());
  const auto accessor = [&count](int offset, const char* type) {
    return R"({"bufferView":0,"componentType":5126,"byteOffset":)" + std::to_string(offset) +
           R"(,"count":)" + count + R"(,"type":")" + type + "\"}";
  };
  return folder.file(
      "mesh.gltf",
      R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
      "meshes":[{"primitives":[{"mode":)" +
          std::to_string(mode) +
          R"(,"attributes":{"POSITION":0,"NORMAL":1,"TEXCOORD_0":2}}]}],"accessors":[)" +
          accessor(0, "VEC3") + "," + accessor(12, "VEC3") + "," + accessor(24, "VEC2") +
          R"(],"bufferViews":[{"buffer":0,"byteStride":32,"byteLength":)" +
          std::to_string(bytes.size()) + R"(}],"buffers":[{"uri":"mesh.bin","byteLength":)" +
          std::to_string(bytes.size()) + "}]}");
}

TEST_F(MeshTest, ImportKeepsNumbersToTheBit) {
  // Unit vectors but for the last digits; corners at one place that differ a little.
  const jt::Vec3f given[] = {{0.26726124F, 0.53452248F, 0.80178374F},
                             {0.57735F, 0.57735F, 0.57735F},
                             {0.57735F, 0.577355F, 0.57735F},
                             {0.48F, 0.6F, 0.64F},
                             {0.4799F, 0.6F, 0.64F},
                             {0, 0.28F, -0.96F}};
  std::vector<std::array<float, 8>> vertices;
  const float corners[6][2] = {{0, 0}, {3, 0}, {0, 2}, {3, 0}, {5, 4}, {0, 2}};
  for (std::size_t i = 0; i < 6; ++i)
    vertices.push_back({corners[i][0], corners[i][1], 0.1F, given[i][0], given[i][1], given[i][2],
                        i == 3 ? 0.250004F : 0.25F, 0});
  for (const int mode : {4, 1}) {
    const mesh::Scene scene = mesh::loadScene(gltfFile(folder_, mode, vertices));
    EXPECT_EQ(scene.notes, std::vector<std::string>());
    std::vector<jt::Vec3f> expected;
    for (const auto& [x, y, z] : given) expected.push_back({x, -z, y});  // +z is up in JT
    std::ranges::sort(expected);
    for (const char* version : {"8.2", "9.5", "10.0"}) {
      const mesh::Scene back =
          throughJt(scene, folder_.at("exact.jt"), {.version = version, .encoding = {}});
      ASSERT_EQ(back.meshes.size(), 1U);
      std::vector<jt::Vec3f> found;
      for (const std::uint32_t record : back.meshes[0]->records)
        found.push_back(back.meshes[0]->normals.at(record));
      std::ranges::sort(found);
      EXPECT_EQ(found, expected) << mode << ' ' << version;
    }
    // Two corners have other texture coordinates beside equal normals.
    vertices[4][3] = vertices[3][3];
    EXPECT_EQ(mesh::loadScene(gltfFile(folder_, mode, vertices)).meshes[0]->recordCount(), 6U);
    vertices[4][3] = given[4][0];
  }
}

std::string collada(const std::string& up) {
  return R"(<?xml version="1.0"?><COLLADA xmlns="http://www.collada.org/2005/11/COLLADASchema"
    version="1.4.1"><asset><unit meter="1"/><up_axis>)" +
         up + R"(</up_axis></asset><library_geometries><geometry id="g"><mesh><source id="p">
    <float_array id="a" count="9">0 0 0 1 2 3 5 0 0</float_array><technique_common>
    <accessor source="#a" count="3" stride="3"><param name="X" type="float"/>
    <param name="Y" type="float"/><param name="Z" type="float"/></accessor></technique_common>
    </source><vertices id="v"><input semantic="POSITION" source="#p"/></vertices>
    <triangles count="1"><input semantic="VERTEX" source="#v" offset="0"/><p>0 1 2</p></triangles>
    </mesh></geometry></library_geometries><library_visual_scenes><visual_scene id="s"><node id="n">
    <instance_geometry url="#g"/></node></visual_scene></library_visual_scenes>
    <scene><instance_visual_scene url="#s"/></scene></COLLADA>)";
}

/// @param axes numbers of the axes that point up and to the right, each with its sign
std::string fbx(const std::array<int, 4>& axes) {
  std::string settings;
  const char* const names[] = {"UpAxis", "UpAxisSign", "CoordAxis", "CoordAxisSign"};
  for (std::size_t i = 0; i < axes.size(); ++i)
    settings += "P: \"" + std::string(names[i]) + R"(", "int", "Integer", "",)" +
                std::to_string(axes[i]) + "\n";
  return "; FBX 7.3.0 project file\nFBXHeaderExtension: {\nFBXVersion: 7300\n}\nGlobalSettings: {\n"
         "Version: 1000\nProperties70: {\n" +
         settings + R"(}
}
Objects: {
Geometry: 10, "Geometry::g", "Mesh" {
Vertices: *9 {
a: 0,0,0,1,2,3,5,0,0
}
PolygonVertexIndex: *3 {
a: 0,1,-3
}
}
Model: 20, "Model::n", "Mesh" {
Version: 232
}
}
Connections: {
C: "OO",20,0
C: "OO",10,20
}
)";
}

TEST_F(MeshTest, ZIsUpWhateverAxisTheFileHas) {
  const std::string obj = "v 0 0 0\nv 1 2 3\nv 5 0 0\nf 1 2 3\n";
  const std::vector<std::array<float, 8>> corners{{0, 0, 0}, {1, 2, 3}, {5, 0, 0}};
  const struct {
    std::string path;
    std::optional<mesh::UpAxis> up;
    std::array<double, 3> min, max;
  } rows[] = {
      {folder_.file("a.obj", obj), {}, {0, 0, 0}, {5, 2, 3}},
      {folder_.file("a.obj", obj), mesh::UpAxis::y, {0, -3, 0}, {5, 0, 2}},
      {folder_.file("a.obj", obj), mesh::UpAxis::x, {-2, -3, 0}, {0, 0, 5}},
      {folder_.file("x.dae", collada("X_UP")), {}, {-2, -3, 0}, {0, 0, 5}},
      {folder_.file("y.dae", collada("Y_UP")), {}, {0, -3, 0}, {5, 0, 2}},
      {folder_.file("z.dae", collada("Z_UP")), {}, {0, 0, 0}, {5, 2, 3}},
      {folder_.file("z.dae", collada("Z_UP")), mesh::UpAxis::y, {0, -3, 0}, {5, 0, 2}},
      {folder_.file("y.fbx", fbx({1, 1, 0, 1})), {}, {0, -3, 0}, {5, 0, 2}},
      {folder_.file("z.fbx", fbx({2, 1, 0, 1})), {}, {0, 0, 0}, {5, 2, 3}},
      {folder_.file("x.fbx", fbx({0, 1, 1, -1})), {}, {-2, -3, 0}, {0, 0, 5}},
      {folder_.file("down.fbx", fbx({1, -1, 2, 1})), {}, {0, -5, -2}, {3, 0, 0}},
      {gltfFile(folder_, 4, corners), {}, {0, -3, 0}, {5, 0, 2}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.path + (row.up ? " " + std::to_string(static_cast<int>(*row.up)) : ""));
    const mesh::Scene scene = mesh::loadScene(row.path, 1, row.up);
    const mesh::Extent extent = mesh::extentOf(scene);
    EXPECT_EQ(extent.min, row.min);
    EXPECT_EQ(extent.max, row.max);
    EXPECT_EQ(scene.nodes[0].transform, jt::kIdentity) << "nothing is left to be turned";
    // Written with the same axis up, and read as it is written.
    for (const mesh::UpAxis up : {mesh::UpAxis::x, mesh::UpAxis::y, mesh::UpAxis::z}) {
      mesh::writeScene(scene, folder_.at("out.ply"), up);
      EXPECT_EQ(mesh::extentOf(mesh::loadScene(folder_.at("out.ply"), 1, up)).max, row.max);
    }
  }
}

TEST_F(MeshTest, MaterialsThatNobodyCouldSeeAreOpaque) {
  for (const auto& [opacity, expected] : {std::pair("0", 1.0F), {"0.25", 0.25F}, {"1", 1.0F}}) {
    folder_.file("m.mtl", "newmtl red\nKd 1 0.5 0\nd " + std::string(opacity) + "\n");
    const mesh::Scene scene = mesh::loadScene(
        folder_.file("m.obj", "mtllib m.mtl\nv 0 0 0\nv 1 2 3\nv 5 0 0\nusemtl red\nf 1 2 3\n"));
    ASSERT_TRUE(scene.models.at(0).surfaces.at(0).material);
    EXPECT_EQ(scene.materials.at(*scene.models[0].surfaces[0].material).diffuse[3], expected);
  }
}

TEST_F(MeshTest, GlbThroughJtKeepsItsOwnNumbers) {
  mesh::Scene scene = workcell();
  mesh::convertUnit(scene, 1000);
  scene.nodes[2].transform = {0, 0.6, 0.8, 0, 1, 0, 0, 0, 0, 0.8, -0.6, 0, 0.25, 0.5, 0.75, 1};
  mesh::writeScene(scene, folder_.at("a.glb"));
  const mesh::Scene a = mesh::loadScene(folder_.at("a.glb"));
  mesh::writeScene(throughJt(a, folder_.at("a.jt"), {.version = "10.0", .encoding = {}}),
                   folder_.at("b.glb"));
  const auto asStored = [this](const char* name) {
    return mesh::loadScene(folder_.at(name), 0, mesh::UpAxis::z);
  };
  const mesh::Scene before = asStored("a.glb");
  EXPECT_EQ(difference(before, asStored("b.glb"), {.placement = 1e-6}), "");
  EXPECT_EQ(named(before, "left").transform[13], 0.75) << "y is up in glTF";
}

TEST_F(MeshTest, NormalsWithoutDirectionAreReplacedOrLeftOutWithAWarning) {
  const std::vector<std::array<float, 8>> good{
      {0, 0, 0, 0, 0.6F, 0.8F}, {4, 0, 0, 0, 0.6F, 0.8F}, {0, 0, -3, 0, 0.6F, 0.8F}, {0, 7, 0, 1}};
  struct Case {
    int mode;
    std::size_t vertices;
    std::size_t bad;
    std::size_t normals;  // that are left
    std::size_t notes;
  };
  for (const float value : {NAN, 0.0F})
    for (const Case& one :
         {Case{4, 3, 1, 2, 1}, {4, 3, 3, 0, 1}, {1, 4, 1, 0, 1}, {1, 4, 4, 0, 0}}) {
      std::vector<std::array<float, 8>> vertices(good.begin(),
                                                 good.begin() + static_cast<long>(one.vertices));
      for (std::size_t i = 0; i < one.bad; ++i)
        vertices[i][3] = vertices[i][4] = vertices[i][5] = value;
      const mesh::Scene scene = mesh::loadScene(gltfFile(folder_, one.mode, vertices));
      const std::vector<jt::Vec3f>& normals = scene.meshes[0]->normals;
      EXPECT_EQ(normals.size(), one.normals) << one.mode << ' ' << one.bad;
      EXPECT_EQ(scene.notes.size(), one.notes) << one.mode << ' ' << one.bad;
      EXPECT_EQ(std::ranges::count(normals, jt::Vec3f{0, 0, 1}), one.normals > 0 ? 1 : 0)
          << "the normal of the triangle";
    }
}

TEST_F(MeshTest, FilesOutsideTheFolderAreNotRead) {
  const auto gltf = [](const std::string& uri) {
    return R"({"asset":{"version":"2.0"},"scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],
      "meshes":[{"primitives":[{"attributes":{"POSITION":0}}]}],
      "accessors":[{"bufferView":0,"componentType":5126,"count":3,"type":"VEC3"}],
      "bufferViews":[{"buffer":0,"byteOffset":0,"byteLength":36}],
      "buffers":[{"byteLength":36,"uri":")" +
           uri + R"("}]})";
  };
  const float points[9] = {0, 0, 0, 1, 0, 0, 0, 1, 0};
  const std::string bytes(reinterpret_cast<const char*>(points), sizeof points);
  folder_.folder("in");
  folder_.file("secret.bin", bytes);
  folder_.file("in/own.bin", bytes);
  EXPECT_EQ(loadError(folder_.file("in/good.gltf", gltf("own.bin"))), "none");
  EXPECT_NE(loadError(folder_.file("in/bad.gltf", gltf("../secret.bin"))), "none");
}

TEST_F(MeshTest, NothingIsLeftBehindWhenAnOutputCannotBeWritten) {
  mesh::Scene broken = workcell();
  auto mesh = std::make_shared<jt::Mesh>(*broken.meshes[0]);
  mesh->positions[3][1] = NAN;
  broken.meshes[0] = mesh;
  for (const char* name : {"out.glb", "out.obj", "out.stl", "out.ply"}) {
    EXPECT_THROW(mesh::writeScene(workcell(), folder_.at("no/such/") + name), JtFormatError);
    EXPECT_THROW(mesh::writeScene(broken, folder_.at(name)), JtFormatError);
  }
  folder_.folder("taken.obj");
  EXPECT_THROW(mesh::writeScene(workcell(), folder_.at("taken.obj")), JtFormatError);
  EXPECT_THROW(mesh::writeScene(workcell(), folder_.at("out.xyz")), JtFormatError);
  const std::filesystem::directory_iterator entries(folder_.path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1) << "only the folder that was there";
}

}  // namespace
