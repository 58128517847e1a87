// Images on surfaces: which color lies where must survive every way through the formats.

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <cmath>
#include <filesystem>
#include <functional>
#include <map>

#include "../Host/TempFolder.h"
#include "Comparison.h"
#include "ImageDecoder.h"
#include "ImageEncoder.h"
#include "JtFormatError.h"
#include "JtPartition.h"
#include "JtStackNodeIter.h"
#include "JtwManager.h"
#include "MeshComponent.h"
#include "MeshFiles.h"

namespace {

using Bytes = std::vector<std::byte>;
using namespace std::string_literals;

/// From the top: red and green, blue and yellow.
const std::string kPng =
    "\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\2\0\0\0\2\b\2\0\0\0\xfd\xd4\x9a\x73"
    "\0\0\0\x14IDAT\x78\xda\x63\xf8\xcf\xc0\xc0\0\xc2\x0c\xff\xff\xff\x67\0\0\x1e\xef\4\xfc"
    "\x73\x1c\x53\xcc\0\0\0\0IEND\xae\x42\x60\x82"s;
const char* const kPngUri =
    "data:image/png;base64,iVBORw0KGgoAAAANSUhEUgAAAAIAAAACCAIAAAD91JpzAAAAFElEQVR42mP4z8DAAMIM////"
    "ZwAAHu8E/HMcU8wAAAAASUVORK5CYII=";

/// Which pixel each corner of the scene shows, by position.
std::map<jt::Vec3f, Bytes> colorsOf(const mesh::Scene& scene) {
  std::map<jt::Vec3f, Bytes> result;
  for (const mesh::Model& model : scene.models)
    for (const mesh::Surface& surface : model.surfaces) {
      const mesh::Material& material = scene.materials.at(surface.material.value());
      if (!material.texture) continue;
      const jt::TexturePixels& image = *scene.images.at(material.texture->image);
      const jt::Mesh& mesh = *scene.meshes[surface.mesh];
      for (const auto& channel : mesh.textures) {
        if (channel.channel != material.texture->channel) continue;
        for (std::size_t i = 0; i < mesh.corners.size(); ++i) {
          const float* uv =
              &channel.values[mesh.records[i] * static_cast<std::size_t>(channel.components)];
          const auto x = static_cast<int>(uv[0] * static_cast<float>(image.width));
          const auto y = static_cast<int>(uv[1] * static_cast<float>(image.height));
          const auto pixel = image.bytes.begin() + (y * image.width + x) * image.components;
          result[mesh.positions[mesh.corners[i]]] = Bytes(pixel, pixel + image.components);
        }
      }
    }
  return result;
}

Bytes rgb(unsigned r, unsigned g, unsigned b) {
  return {static_cast<std::byte>(r), static_cast<std::byte>(g), static_cast<std::byte>(b)};
}

/// What a viewer shows at the corners of the square of makeGltf.
const std::map<jt::Vec3f, Bytes> kColors{{{0, 0, 0}, rgb(0, 0, 255)},
                                         {{1, 0, 0}, rgb(255, 255, 0)},
                                         {{1, 0, 1}, rgb(0, 255, 0)},
                                         {{0, 0, 1}, rgb(255, 0, 0)}};

class TextureTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { JtwManager::init(); }
  static void TearDownTestSuite() { JtwManager::fini(); }

  /// A square of glTF that shows the whole image upright.
  /// @param transform members of the extension that moves the image
  std::string makeGltf(const std::string& image, const std::string& transform = {}) const {
    const float numbers[] = {0, 0, 0,    1,    0,    0,    1,    1,    0,    0,
                             1, 0, .25F, .75F, .75F, .75F, .75F, .25F, .25F, .25F};
    const std::uint16_t indices[] = {0, 1, 2, 0, 2, 3};
    folder_.folder("in");
    folder_.file("in/square.bin", std::string(reinterpret_cast<const char*>(numbers), 80) +
                                      std::string(reinterpret_cast<const char*>(indices), 12));
    return folder_.file("in/square.gltf",
                        R"({"asset":{"version":"2.0"},"extensionsUsed":["KHR_texture_transform"],
        "scene":0,"scenes":[{"nodes":[0]}],"nodes":[{"mesh":0}],"meshes":[{"primitives":[{"attributes":{"POSITION":0,"TEXCOORD_0":1},"indices":2,
        "material":0}]}],"materials":[{"pbrMetallicRoughness":{"baseColorTexture":{"index":0,
        "extensions":{"KHR_texture_transform":{)" +
                            transform + R"(}}}}}],"textures":[{"source":0}],"accessors":[
        {"bufferView":0,"componentType":5126,"count":4,"type":"VEC3","min":[0,0,0],"max":[1,1,0]},
        {"bufferView":1,"componentType":5126,"count":4,"type":"VEC2"},
        {"bufferView":2,"componentType":5123,"count":6,"type":"SCALAR"}],"bufferViews":[
        {"buffer":0,"byteOffset":0,"byteLength":48},{"buffer":0,"byteOffset":48,"byteLength":32},
        {"buffer":0,"byteOffset":80,"byteLength":12}],
        "buffers":[{"byteLength":92,"uri":"square.bin"}],"images":[{"uri":")" +
                            image + R"("}]})");
  }

  /// The scene that a JT file means after its texture was changed.
  mesh::Scene changedJt(const mesh::Scene& scene,
                        const std::function<void(JtTextureImage&)>& change) const {
    throughJt(scene, folder_.at("in/model.jt"), {});
    const auto location =
        jt::make<JtFSStorageLocation>(JtString(), JtString(folder_.at("in/model.jt")));
    for (const bool isChanged : {false, true}) {
      JtPartition* opened = nullptr;
      JtPartition::openPartition(location.get(), nullptr, opened);
      const auto partition = jt::Ref<JtPartition>::adopt(opened);
      if (isChanged) return mesh::sceneOf(*partition);
      const auto nodes = jt::make<JtStackNodeIter>();
      nodes->setPreVisit([&change](JtNode* node) {
        for (int i = 0; i < node->numAttributes(); ++i)
          if (auto* texture = jt::as<JtTextureImage>(node->attribute(i))) change(*texture);
        return JtStackNodeIter::Next::descend;
      });
      nodes->run(partition.get());
      partition->save();
    }
    return {};
  }

  mesh::Scene throughGlb(const mesh::Scene& scene) const {
    return mesh::loadScene(mesh::writeScene(scene, folder_.at("out.glb"))[0]);
  }

  TempFolder folder_;
};

TEST_F(TextureTest, EveryCornerKeepsItsColorOnAllWays) {
  folder_.folder("in/deep");
  folder_.file("in/deep/own.png", kPng);
  for (const std::string image : {kPngUri, "deep/own.png"}) {
    const mesh::Scene scene = mesh::loadScene(makeGltf(image));
    EXPECT_EQ(colorsOf(scene), kColors) << image;
    for (const char* version : {"9.5", "10.0", "10.2"}) {
      const mesh::Scene stored =
          throughJt(scene, folder_.at("square.jt"), {.version = version, .encoding = {}});
      EXPECT_EQ(colorsOf(stored), kColors) << version;
      const mesh::Scene back = throughGlb(stored);
      EXPECT_EQ(colorsOf(back), kColors) << version;
      EXPECT_EQ(*back.images.at(0), *scene.images.at(0)) << version;
    }
    // Nothing can hold them there.
    EXPECT_TRUE(
        throughJt(scene, folder_.at("old.jt"), {.version = "8.2", .encoding = {}}).images.empty());
  }
}

TEST_F(TextureTest, ChannelsWrapsAndTransparencyAreKeptAndImagesStoredOnce) {
  mesh::Scene scene = mesh::loadScene(makeGltf(kPngUri));
  jt::TexturePixels pixels = *scene.images[0];
  pixels.components = 4;
  pixels.bytes.clear();
  for (int i = 0; i < 16; ++i) pixels.bytes.push_back(static_cast<std::byte>(i * 16));
  scene.images[0] = std::make_shared<const jt::TexturePixels>(pixels);
  // The coordinates in use are the third of the mesh that are in its file, with a gap before them.
  auto mesh = std::make_shared<jt::Mesh>(*scene.meshes[0]);
  const auto coordinates = mesh->textures[0];
  mesh->textures.insert(mesh->textures.begin(), 2, coordinates);
  for (auto& value : mesh->textures[0].values) value = 0;
  for (auto& value : mesh->textures[1].values) value = 1;
  mesh->textures[1].channel = 1;
  mesh->textures[2].channel = 4;
  scene.meshes.push_back(mesh);
  scene.materials[0].texture = {0, 4, {jt::TextureWrap::clampToEdge, jt::TextureWrap::mirror}};
  scene.materials.resize(1);
  scene.materials.push_back(scene.materials[0]);
  scene.materials[1].texture->wrap.fill(jt::TextureWrap::repeat);
  scene.models = {{"square", {{1, 0}, {1, 1}, {0, 0}}}};  // the last one has no such coordinates
  const auto colors = colorsOf(scene);
  ASSERT_EQ(colors.size(), 4U);
  for (const char* version : {"9.5", "10.0"}) {
    const mesh::Scene stored =
        throughJt(scene, folder_.at("square.jt"), {.version = version, .encoding = {}});
    EXPECT_EQ(colorsOf(stored), colors);
    EXPECT_EQ(stored.materials.at(0).texture, scene.materials[0].texture);
    EXPECT_EQ(stored.materials.at(1).texture, scene.materials[1].texture);
    const mesh::Scene back = throughGlb(stored);
    EXPECT_EQ(colorsOf(back), colors);
    ASSERT_EQ(back.images.size(), 1U);
    EXPECT_EQ(*back.images[0], pixels);
    EXPECT_EQ(back.materials.at(0).texture->wrap, scene.materials[0].texture->wrap);
    EXPECT_EQ(back.materials.at(1).texture->wrap, scene.materials[1].texture->wrap);
  }
}

TEST_F(TextureTest, AnImageThatCannotBeTakenIsANoteAndTheModelComesWithoutIt) {
  folder_.folder("in");
  folder_.file("secret.png", kPng);
  std::filesystem::create_symlink(folder_.at("secret.png"), folder_.at("in/link.png"));
  const Bytes pixels(16385 * 3);
  const Bytes wide =
      tool::encodePng({.width = 16385, .height = 1, .components = 3, .bytes = pixels});
  folder_.file("in/wide.png", {reinterpret_cast<const char*>(wide.data()), wide.size()});
  folder_.file("in/text.png", "this is no image");
  for (const std::size_t size : {0U, 4U, 20U, 45U, 60U})
    folder_.file("in/cut" + std::to_string(size) + ".png", kPng.substr(0, size));
  for (const char* image : {"missing.png", "../secret.png", "link.png", "wide.png", "text.png",
                            "cut0.png", "cut4.png", "cut20.png", "cut45.png", "cut60.png", "."}) {
    const mesh::Scene scene = mesh::loadScene(makeGltf(image));
    EXPECT_EQ(scene.models.size(), 1U) << image;
    EXPECT_TRUE(scene.images.empty()) << image;
    ASSERT_EQ(scene.notes.size(), 1U) << image;
    EXPECT_NE(scene.notes[0].find("'"s + image + "'"), std::string::npos) << scene.notes[0];
  }
}

TEST_F(TextureTest, AnImageThatIsMovedInGltfIsMovedOnAllWays) {
  const Bytes red = rgb(255, 0, 0);
  const Bytes green = rgb(0, 255, 0);
  const Bytes blue = rgb(0, 0, 255);
  const Bytes yellow = rgb(255, 255, 0);
  const struct {
    const char* transform;
    std::array<Bytes, 4> colors;  // of the corners, counter-clockwise from the origin
  } cases[] = {
      {R"("scale":[0.5,0.5],"offset":[0.5,0])", {green, green, green, green}},
      {R"("rotation":1.5707963267948966,"offset":[0,1])", {yellow, green, red, blue}},
      {R"("rotation":1.5707963267948966,"scale":[1,0.5],"offset":[0.5,1])",
       {yellow, green, green, yellow}},
  };
  for (const auto& [transform, colors] : cases) {
    SCOPED_TRACE(transform);
    const std::map<jt::Vec3f, Bytes> expected{{{0, 0, 0}, colors[0]},
                                              {{1, 0, 0}, colors[1]},
                                              {{1, 0, 1}, colors[2]},
                                              {{0, 0, 1}, colors[3]}};
    const mesh::Scene scene = mesh::loadScene(makeGltf(kPngUri, transform));
    EXPECT_TRUE(scene.notes.empty());
    EXPECT_EQ(colorsOf(scene), expected);
    EXPECT_EQ(colorsOf(throughGlb(throughJt(scene, folder_.at("square.jt"), {}))), expected);
  }
}

TEST_F(TextureTest, TheMatrixOfATextureInJtIsFollowed) {
  const mesh::Scene scene = mesh::loadScene(makeGltf(kPngUri));
  // A quarter turn about the origin and back into the image: (u, v) to (1 - v, u).
  const mesh::Scene turned = changedJt(scene, [](JtTextureImage& texture) {
    texture.setTransform({0, 1, 0, 0, -1, 0, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1});
  });
  EXPECT_EQ(colorsOf(turned), (std::map<jt::Vec3f, Bytes>{{{0, 0, 0}, rgb(255, 255, 0)},
                                                          {{1, 0, 0}, rgb(0, 255, 0)},
                                                          {{1, 0, 1}, rgb(255, 0, 0)},
                                                          {{0, 0, 1}, rgb(0, 0, 255)}}));
}

TEST_F(TextureTest, AnImageFileThatAJtFileNamesIsFoundInItsFolderOnly) {
  folder_.folder("in/deep");
  folder_.file("in/deep/own.png", kPng);
  folder_.file("in/near.png", kPng);
  folder_.file("secret.png", kPng);
  std::filesystem::create_symlink(folder_.at("secret.png"), folder_.at("in/link.png"));
  const mesh::Scene scene = mesh::loadScene(makeGltf(kPngUri));
  const auto naming = [&](const std::string& name) {
    return changedJt(scene,
                     [&name](JtTextureImage& texture) { texture.setFileName(JtString(name)); });
  };
  for (const char* name : {"deep/own.png", "deep\\own.png", "C:\\pictures\\near.png"}) {
    const mesh::Scene found = naming(name);
    EXPECT_EQ(colorsOf(found), kColors) << name;
    EXPECT_TRUE(found.notes.empty()) << name;
  }
  for (const std::string& name :
       {"missing.png"s, "../secret.png"s, "link.png"s, folder_.at("secret.png"), "deep"s}) {
    const mesh::Scene without = naming(name);
    EXPECT_EQ(without.models.size(), 1U) << name;
    EXPECT_TRUE(without.images.empty()) << name;
    ASSERT_EQ(without.notes.size(), 1U) << name;
    EXPECT_NE(without.notes[0].find("'" + name + "'"), std::string::npos) << without.notes[0];
  }
}

TEST_F(TextureTest, JpegIsDecodedUprightAndDamageIsAnError) {
  constexpr int kSide = 16;
  std::vector<unsigned char> source;
  for (int i = 0; i < kSide * kSide; ++i)
    source.insert(source.end(),
                  {static_cast<unsigned char>(i < kSide * kSide / 2 ? 255 : 0), 0, 0});
  unsigned char* made = nullptr;
  unsigned long size = 0;
  const tjhandle compressor = tjInitCompress();
  tjCompress2(compressor, source.data(), kSide, 0, kSide, TJPF_RGB, &made, &size, TJSAMP_444, 90,
              0);
  const auto* begin = reinterpret_cast<const std::byte*>(made);
  const Bytes file(begin, begin + size);
  tjFree(made);
  tjDestroy(compressor);
  const jt::TexturePixels image = tool::decodeImage(file, 1000);
  EXPECT_EQ(image.width * image.height * image.components, kSide * kSide * 3);
  EXPECT_LT(std::to_integer<int>(image.bytes.front()), 5) << "the first row is the lowest";
  EXPECT_GT(std::to_integer<int>(image.bytes[kSide * (kSide - 1) * 3]), 250);
  EXPECT_THROW(tool::decodeImage(file, 700), JtFormatError)
      << "no more bytes than there is room for";
  for (std::size_t cut = 0; cut + 2 < file.size(); ++cut) {
    const Bytes part(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(cut));
    EXPECT_THROW(tool::decodeImage(part, 1000), JtFormatError) << cut;
  }
}

TEST_F(TextureTest, ModelsOfTheSystem) {
  const std::string models = "/usr/share/assimp/models/";
  if (!std::filesystem::exists(models)) GTEST_SKIP() << models << " is not there";
  struct Case {
    const char* file;
    std::size_t images;
    std::size_t shown;
    std::size_t notes = 0;  // spider: triangles without extent
  };
  for (const Case& one : {Case{"glTF2/BoxTextured-glTF/BoxTextured.gltf", 1, 1},
                          {"glTF2/BoxTextured-glTF-Binary/BoxTextured.glb", 1, 1},
                          {"OBJ/spider.obj", 5, 4, 1}}) {
    const mesh::Scene scene = mesh::loadScene(models + one.file);
    EXPECT_EQ(scene.images.size(), one.images) << one.file;
    EXPECT_EQ(scene.notes.size(), one.notes) << one.file;
    const mesh::Scene back = throughGlb(throughJt(scene, folder_.at("model.jt"), {}));
    EXPECT_EQ(back.images.size(), one.shown) << one.file;
    for (const auto& image : back.images)
      EXPECT_TRUE(std::any_of(scene.images.begin(), scene.images.end(),
                              [&image](const auto& other) { return *other == *image; }))
          << one.file;
  }
}

}  // namespace
