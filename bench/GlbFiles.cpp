#include "GlbFiles.h"

#include <assimp/scene.h>
#include <tiny_gltf.h>

#include <assimp/Exporter.hpp>
#include <stdexcept>

#include "MeshSamples.h"

namespace bench {
namespace {

/// Vertices as graphics libraries want them; the same torus as the export writes.
struct Vertices {
  std::vector<jt::Vec3f> positions;
  std::vector<jt::Vec3f> normals;
  std::vector<std::uint32_t> indices;
};

Vertices torus(unsigned steps, int number) {
  const jt::Mesh mesh = smoothTorus(steps).mesh;
  const FlatMesh flat = flatten(mesh);
  Vertices made;
  made.indices = flat.indices;
  const auto size = 1 + static_cast<float>(number) / 1000;
  for (const auto& [position, record] : flat.vertices) {
    const jt::Vec3f& p = mesh.positions[position];
    made.positions.push_back({p[0], p[1], p[2] * size});
    made.normals.push_back(mesh.normals[position]);
  }
  return made;
}

}  // namespace

void writeWithAssimp(int count, unsigned steps, const std::string& path) {
  aiScene scene;
  const auto total = static_cast<unsigned>(count);
  scene.mMaterials = new aiMaterial* [1] { new aiMaterial };
  scene.mNumMaterials = 1;
  scene.mMeshes = new aiMesh*[total];
  scene.mNumMeshes = total;
  scene.mRootNode = new aiNode("hall");
  scene.mRootNode->mChildren = new aiNode*[total];
  scene.mRootNode->mNumChildren = total;
  for (unsigned i = 0; i < total; ++i) {
    const Vertices from = torus(steps, static_cast<int>(i));
    auto* mesh = scene.mMeshes[i] = new aiMesh;
    mesh->mPrimitiveTypes = aiPrimitiveType_TRIANGLE;
    mesh->mNumVertices = static_cast<unsigned>(from.positions.size());
    mesh->mVertices = new aiVector3D[mesh->mNumVertices];
    mesh->mNormals = new aiVector3D[mesh->mNumVertices];
    for (unsigned v = 0; v < mesh->mNumVertices; ++v) {
      const auto copy = [](const jt::Vec3f& value) {
        return aiVector3D(value[0], value[1], value[2]);
      };
      mesh->mVertices[v] = copy(from.positions[v]);
      mesh->mNormals[v] = copy(from.normals[v]);
    }
    mesh->mNumFaces = static_cast<unsigned>(from.indices.size() / 3);
    mesh->mFaces = new aiFace[mesh->mNumFaces];
    for (unsigned f = 0; f < mesh->mNumFaces; ++f) {
      mesh->mFaces[f].mNumIndices = 3;
      mesh->mFaces[f].mIndices =
          new unsigned[3]{from.indices[3 * f], from.indices[3 * f + 1], from.indices[3 * f + 2]};
    }
    auto* node = scene.mRootNode->mChildren[i] = new aiNode("torus");
    node->mParent = scene.mRootNode;
    node->mTransformation.a4 = static_cast<float>(i);
    node->mMeshes = new unsigned[1]{i};
    node->mNumMeshes = 1;
  }
  Assimp::Exporter exporter;
  if (exporter.Export(&scene, "glb2", path) != AI_SUCCESS)
    throw std::runtime_error(exporter.GetErrorString());
}

void writeWithTinygltf(int count, unsigned steps, const std::string& path) {
  tinygltf::Model model;
  model.asset.version = "2.0";
  model.buffers.resize(1);
  std::vector<unsigned char>& bytes = model.buffers[0].data;
  const auto add = [&](const auto& values, int target, int component, int type) {
    const std::size_t size = values.size() * sizeof(values[0]);
    tinygltf::BufferView view;
    view.buffer = 0;
    view.byteOffset = bytes.size();
    view.byteLength = size;
    view.target = target;
    const auto* first = reinterpret_cast<const unsigned char*>(values.data());
    bytes.insert(bytes.end(), first, first + size);
    model.bufferViews.push_back(std::move(view));
    tinygltf::Accessor accessor;
    accessor.bufferView = static_cast<int>(model.bufferViews.size()) - 1;
    accessor.componentType = component;
    accessor.type = type;
    accessor.count = values.size();
    model.accessors.push_back(std::move(accessor));
    return static_cast<int>(model.accessors.size()) - 1;
  };
  tinygltf::Scene scene;
  for (int i = 0; i < count; ++i) {
    const Vertices from = torus(steps, i);
    tinygltf::Primitive primitive;
    primitive.mode = TINYGLTF_MODE_TRIANGLES;
    primitive.indices = add(from.indices, TINYGLTF_TARGET_ELEMENT_ARRAY_BUFFER,
                            TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT, TINYGLTF_TYPE_SCALAR);
    primitive.attributes["POSITION"] = add(from.positions, TINYGLTF_TARGET_ARRAY_BUFFER,
                                           TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3);
    primitive.attributes["NORMAL"] = add(from.normals, TINYGLTF_TARGET_ARRAY_BUFFER,
                                         TINYGLTF_COMPONENT_TYPE_FLOAT, TINYGLTF_TYPE_VEC3);
    tinygltf::Mesh mesh;
    mesh.primitives.push_back(std::move(primitive));
    model.meshes.push_back(std::move(mesh));
    tinygltf::Node node;
    node.name = "torus";
    node.mesh = i;
    node.translation = {static_cast<double>(i), 0, 0};
    model.nodes.push_back(std::move(node));
    scene.nodes.push_back(i);
  }
  model.scenes.push_back(std::move(scene));
  model.defaultScene = 0;
  if (!tinygltf::TinyGLTF().WriteGltfSceneToFile(&model, path, true, true, false, true))
    throw std::runtime_error(path + " cannot be written");
}

}  // namespace bench
