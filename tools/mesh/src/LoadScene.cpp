#include <assimp/DefaultIOSystem.h>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

#include <assimp/Importer.hpp>
#include <filesystem>
#include <map>
#include <memory>
#include <new>
#include <utility>

#include "ApiSysFilePath.h"
#include "Assimp.h"
#include "JtFormatError.h"
#include "JtParallel.h"
#include "MeshFiles.h"
#include "Orientation.h"

namespace mesh {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void fail(const char* code, const std::string& path, const std::string& message) {
  throw JtFormatError(code, message, {.file = path});
}

/// Opens files that lie in one folder or below it. What is no regular file may never end: a pipe
/// waits for its writer.
class FolderIO final : public Assimp::DefaultIOSystem {
 public:
  explicit FolderIO(tool::Folder folder) : folder_(std::move(folder)) {}

  bool Exists(const char* file) const override {
    return isAllowed(file) && DefaultIOSystem::Exists(file);
  }
  Assimp::IOStream* Open(const char* file, const char* mode) override {
    return isAllowed(file) ? DefaultIOSystem::Open(file, mode) : nullptr;
  }

 private:
  bool isAllowed(const char* file) const {
    std::error_code error;
    return folder_.contains(file) && fs::is_regular_file(file, error);
  }

  tool::Folder folder_;
};

jt::Matrix4 matrixFrom(const aiMatrix4x4& m) {
  // Ours is for row vectors, theirs for column vectors.
  jt::Matrix4 matrix{};
  for (unsigned row = 0; row < 4; ++row)
    for (unsigned column = 0; column < 4; ++column)
      matrix[column * 4 + row] = static_cast<double>(m[row][column]);
  return matrix;
}

std::optional<Property> propertyFrom(const aiString& key, const aiMetadataEntry& entry) {
  const auto number = [&entry]<class T>(T /*tag*/) { return *static_cast<const T*>(entry.mData); };
  const std::string name = key.C_Str();
  switch (entry.mType) {
    case AI_BOOL:
      return Property(name, std::int64_t{number(bool{}) ? 1 : 0});
    case AI_INT32:
      return Property(name, std::int64_t{number(std::int32_t{})});
    case AI_UINT64:
      return Property(name, static_cast<std::int64_t>(number(std::uint64_t{})));
    case AI_FLOAT:
      return Property(name, static_cast<double>(number(float{})));
    case AI_DOUBLE:
      return Property(name, number(double{}));
    case AI_AISTRING:
      return Property(name, std::string(static_cast<const aiString*>(entry.mData)->C_Str()));
    default:
      return std::nullopt;
  }
}

void readProperties(const aiMetadata* source, std::vector<Property>& properties) {
  for (unsigned i = 0; source && i < source->mNumProperties; ++i)
    if (auto property = propertyFrom(source->mKeys[i], source->mValues[i]))
      properties.push_back(std::move(*property));
}

/// Turns the import library's scene into ours, and takes its meshes away.
class SceneReader {
 public:
  explicit SceneReader(aiScene& source) : source_(source) {}

  Scene read(const MeshFile& file) {
    TextureReader textures(source_, file, scene_);
    for (unsigned i = 0; i < source_.mNumMaterials; ++i) {
      Material& material = scene_.materials.emplace_back(materialFrom(*source_.mMaterials[i]));
      maps_.emplace_back();
      if (const auto placed = textures.textureOf(*source_.mMaterials[i])) {
        material.texture = placed->texture;
        maps_.back() = placed->map;
      }
    }
    readMeshes();
    readNodes();
    return std::move(scene_);
  }

 private:
  void readMeshes() {
    struct Made {
      std::string name;
      std::optional<std::size_t> material;
      std::vector<std::shared_ptr<const jt::Mesh>> meshes;
      MeshLosses losses;
    };
    std::vector<Made> all(source_.mNumMeshes);
    jt::inParallel(0, all.size(), [&](std::size_t i) {
      // It ends here: its faces are blocks of memory each, which end faster on all cores.
      const std::unique_ptr<const aiMesh> taken(std::exchange(source_.mMeshes[i], nullptr));
      const aiMesh& mesh = *taken;
      Made& made = all[i];
      made.name = mesh.mName.C_Str();
      if (mesh.mMaterialIndex < scene_.materials.size()) made.material = mesh.mMaterialIndex;
      made.meshes = meshesFrom(mesh, made.losses);
      if (made.material && maps_[*made.material])
        for (auto& one : made.meshes) one = mapped(std::move(one), *maps_[*made.material]);
    });
    MeshLosses losses;
    for (Made& made : all) {
      names_.push_back(std::move(made.name));
      surfaces_.emplace_back();
      losses.add(made.losses);
      for (auto& one : made.meshes) {
        surfaces_.back().push_back({scene_.meshes.size(), made.material});
        scene_.meshes.push_back(std::move(one));
      }
    }
    for (std::string& note : losses.notes()) scene_.notes.push_back(std::move(note));
  }

  void readNodes() {
    std::vector<std::pair<const aiNode*, std::size_t>> pending{{source_.mRootNode, 0}};
    while (!pending.empty()) {
      const auto [node, parent] = pending.back();
      pending.pop_back();
      const std::size_t index = scene_.nodes.size();
      scene_.nodes.push_back(nodeFrom(*node));
      if (index != parent) scene_.nodes[parent].children.push_back(index);
      for (unsigned i = node->mNumChildren; i-- > 0;)
        pending.emplace_back(node->mChildren[i], index);
    }
  }

  Node nodeFrom(const aiNode& source) {
    Node node;
    node.name = source.mName.C_Str();
    node.transform = matrixFrom(source.mTransformation);
    node.model = modelOf(source);
    readProperties(source.mMetaData, node.properties);
    return node;
  }

  std::optional<std::size_t> modelOf(const aiNode& node) {
    Model model;
    for (unsigned i = 0; i < node.mNumMeshes; ++i) {
      const unsigned mesh = node.mMeshes[i];
      if (mesh >= surfaces_.size())
        throw JtFormatError("damaged", "a node names mesh " + std::to_string(mesh) + " of " +
                                           std::to_string(surfaces_.size()));
      if (surfaces_[mesh].empty()) continue;
      if (model.name.empty()) model.name = names_[mesh];
      model.surfaces.insert(model.surfaces.end(), surfaces_[mesh].begin(), surfaces_[mesh].end());
    }
    if (model.surfaces.empty()) return std::nullopt;
    const auto [found, isNew] = models_.try_emplace(model.surfaces, scene_.models.size());
    if (isNew) scene_.models.push_back(std::move(model));
    return found->second;
  }

  aiScene& source_;
  Scene scene_;
  std::vector<std::optional<CoordinateMap>> maps_;  // of each material's texture
  std::vector<std::string> names_;                  // of each mesh of the source
  std::vector<std::vector<Surface>> surfaces_;
  std::map<std::vector<Surface>, std::size_t> models_;
};

void checkFile(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (!fs::exists(status)) fail("not_found", path, "there is no such file");
  if (!fs::is_regular_file(status)) fail("not_a_file", path, "it is no file");
}

/// What the steps after reading take for granted. The library's own validation refuses clouds of
/// points, and files of which a part is empty.
void checkIndices(const aiScene& scene) {
  jt::inParallel(0, scene.mNumMeshes, [&scene](std::size_t i) {
    const aiMesh& mesh = *scene.mMeshes[i];
    for (unsigned k = 0; k < mesh.mNumFaces; ++k)
      for (unsigned corner = 0; corner < mesh.mFaces[k].mNumIndices; ++corner)
        if (mesh.mFaces[k].mIndices[corner] >= mesh.mNumVertices)
          throw JtFormatError("damaged", "a face names vertex " +
                                             std::to_string(mesh.mFaces[k].mIndices[corner]) +
                                             " of " + std::to_string(mesh.mNumVertices));
  });
}

/// The scene as the import library reads it.
/// @param keepsAxes whatever a Collada file says of them
std::unique_ptr<aiScene> readWith(const std::string& path, const tool::Folder& folder,
                                  bool keepsAxes) {
  Assimp::Importer importer;
  importer.SetIOHandler(new FolderIO(folder));  // it takes ownership
  // Pivots would make up to nine nodes of one.
  importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
  importer.SetPropertyBool(AI_CONFIG_IMPORT_COLLADA_IGNORE_UP_DIRECTION, keepsAxes);
  const aiScene* scene = importer.ReadFile(path, 0);
  if (scene && scene->mRootNode) {
    if (scene->mNumMeshes == 0) fail("no_geometry", path, "there is no geometry in it");
    checkIndices(*scene);
    // Equal vertices are joined when meshes are taken over. The library would join those whose
    // normals or texture coordinates are nearly equal, too.
    scene = importer.ApplyPostProcessing(aiProcess_Triangulate);
  }
  if (!scene || !scene->mRootNode) {
    const std::string reason = importer.GetErrorString();
    if (reason.find("bad_alloc") != std::string::npos) throw std::bad_alloc();
    fail("damaged", path, reason.empty() ? "it cannot be read" : "it cannot be read: " + reason);
  }
  return std::unique_ptr<aiScene>(importer.GetOrphanedScene());
}

}  // namespace

bool canLoad(const std::string& path) {
  const std::string extension = ApiSysFilePath(path).extension();
  return !extension.empty() && Assimp::Importer().IsExtensionSupported("." + extension);
}

Scene loadScene(const std::string& path, double millimetres, std::optional<UpAxis> up) try {
  const std::string extension = ApiSysFilePath(path).extension();
  if (!canLoad(path))
    fail("unknown_format", path,
         "the extension '" + extension + "' is none of a mesh file that can be read");
  checkFile(path);
  const MeshFile file{extension, tool::Folder(fs::path(path).parent_path())};
  const std::unique_ptr<aiScene> source = readWith(path, file.folder, up.has_value());
  Scene scene = SceneReader(*source).read(file);
  if (scene.models.empty()) fail("no_geometry", path, "there is no geometry in it");
  checkNumbers(scene);
  turnUp(scene, *source, extension, up);
  scene.millimetres = millimetres > 0 ? millimetres : unitOf(*source, file.extension);
  return scene;
} catch (const JtFormatError& error) {
  throw error.within({.file = path});
} catch (const std::bad_alloc&) {
  fail("too_large", path, "it asks for more memory than reading it may take");
} catch (const std::exception& error) {
  // The import library lets some of its own through.
  fail("damaged", path, std::string("it cannot be read: ") + error.what());
}

}  // namespace mesh
