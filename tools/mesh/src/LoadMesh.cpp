#include <assimp/mesh.h>

#include <algorithm>
#include <cmath>
#include <span>

#include "Assimp.h"
#include "JtFormatError.h"
#include "Unified.h"

namespace mesh {
namespace {

using Index = std::uint32_t;

bool isFinite(const aiVector3D& v) {
  return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

template <class T>
bool allFinite(const T* values, unsigned count, bool (*test)(const T&)) {
  return std::all_of(values, values + count, test);
}

bool isFiniteColour(const aiColor4D& c) {
  return std::isfinite(c.r) && std::isfinite(c.g) && std::isfinite(c.b) && std::isfinite(c.a);
}

/// Unequal zeros would keep equal points apart.
jt::Vec3f toVec(const aiVector3D& v) { return {v.x + 0.0F, v.y + 0.0F, v.z + 0.0F}; }

jt::Vec3f toUnitVec(const aiVector3D& v) {
  const float length = v.Length();
  if (!(length > 0)) return {0, 0, 1};
  return {v.x / length + 0.0F, v.y / length + 0.0F, v.z / length + 0.0F};
}

std::array<float, 4> toColour(const aiColor4D& c) { return clamped({c.r, c.g, c.b, c.a}); }

std::string nameOf(const aiMesh& mesh) {
  return mesh.mName.length > 0 ? "the mesh '" + std::string(mesh.mName.C_Str()) + "'" : "a mesh";
}

/// Moves the values that are kept to their new places, `width` numbers each.
template <class T>
std::vector<T> remapped(const std::vector<T>& values, const std::vector<Index>& newIndex,
                        std::size_t count, std::size_t width = 1) {
  std::vector<T> result(count * width);
  for (std::size_t i = 0; i < newIndex.size(); ++i)
    std::copy_n(&values[i * width], width, &result[newIndex[i] * width]);
  return result;
}

/// Which new position each vertex of the file has.
std::vector<Index> weldPositions(jt::Mesh& mesh) {
  const Column column{mesh.positions.data(), sizeof(jt::Vec3f)};
  Welding welding = weld({&column, 1}, mesh.positions.size());
  mesh.positions = remapped(mesh.positions, welding.newIndex, welding.count);
  return std::move(welding.newIndex);
}

/// Which record each vertex of the file has; empty without attributes.
std::vector<Index> weldRecords(jt::Mesh& mesh, std::size_t vertices) {
  std::vector<Column> columns;
  const auto add = [&columns](const auto& values, std::size_t width) {
    if (!values.empty()) columns.push_back({values.data(), sizeof values[0] * width});
  };
  add(mesh.normals, 1);
  add(mesh.colours, 1);
  for (const auto& channel : mesh.textures)
    add(channel.values, static_cast<std::size_t>(channel.components));
  if (columns.empty()) return {};
  Welding welding = weld(columns, vertices);
  if (!mesh.normals.empty()) mesh.normals = remapped(mesh.normals, welding.newIndex, welding.count);
  if (!mesh.colours.empty()) mesh.colours = remapped(mesh.colours, welding.newIndex, welding.count);
  for (auto& channel : mesh.textures)
    channel.values = remapped(channel.values, welding.newIndex, welding.count,
                              static_cast<std::size_t>(channel.components));
  return std::move(welding.newIndex);
}

void readAttributes(const aiMesh& source, jt::Mesh& mesh) {
  const unsigned count = source.mNumVertices;
  if (source.HasNormals() && mesh.kind == jt::Mesh::Kind::triangles &&
      allFinite(source.mNormals, count, isFinite)) {
    mesh.normals.resize(count);
    std::transform(source.mNormals, source.mNormals + count, mesh.normals.begin(), toUnitVec);
  }
  if (source.HasVertexColors(0) && allFinite(source.mColors[0], count, isFiniteColour)) {
    mesh.colours.resize(count);
    std::transform(source.mColors[0], source.mColors[0] + count, mesh.colours.begin(), toColour);
  }
  for (unsigned i = 0; i < source.GetNumUVChannels(); ++i) {
    const unsigned width = std::clamp(source.mNumUVComponents[i], 1U, 3U);
    if (!source.mTextureCoords[i] || !allFinite(source.mTextureCoords[i], count, isFinite))
      continue;
    auto& channel = mesh.textures.emplace_back();
    channel.channel = static_cast<int>(i);
    channel.components = static_cast<int>(width);
    for (unsigned vertex = 0; vertex < count; ++vertex)
      for (unsigned c = 0; c < width; ++c)
        channel.values.push_back(source.mTextureCoords[i][vertex][c] + 0.0F);
  }
}

/// Adds primitives, as the position and the record of each vertex say.
class PrimitiveReader {
 public:
  PrimitiveReader(const aiMesh& source, jt::Mesh& mesh, std::vector<Index> positions,
                  std::vector<Index> records)
      : source_(source),
        mesh_(mesh),
        positions_(std::move(positions)),
        records_(std::move(records)) {}

  void read() {
    for (unsigned i = 0; i < source_.mNumFaces; ++i) {
      const std::span<const unsigned> face(source_.mFaces[i].mIndices,
                                           source_.mFaces[i].mNumIndices);
      add(face);
    }
    // A cloud of points may do without faces.
    for (unsigned vertex = 0; source_.mNumFaces == 0 && vertex < positions_.size(); ++vertex)
      add({&vertex, 1});
    if (mesh_.kind != jt::Mesh::Kind::triangles && !mesh_.corners.empty())
      mesh_.starts.push_back(static_cast<Index>(mesh_.corners.size()));
  }

 private:
  void add(std::span<const unsigned> face) {
    if (mesh_.kind == jt::Mesh::Kind::triangles) {
      if (face.size() != 3) return;
      const Index a = positions_[face[0]];
      const Index b = positions_[face[1]];
      const Index c = positions_[face[2]];
      if (a == b || b == c || c == a) return;
    } else if (mesh_.kind == jt::Mesh::Kind::polylines) {
      addSegment(face);
      return;
    } else if (face.size() != 1) {
      return;
    } else if (mesh_.corners.empty()) {
      mesh_.starts.push_back(0);
    }
    for (const unsigned vertex : face) addCorner(vertex);
  }

  /// A segment that begins where the last one ended goes on with its polyline.
  void addSegment(std::span<const unsigned> face) {
    if (face.size() != 2 || positions_[face[0]] == positions_[face[1]]) return;
    if (mesh_.corners.empty() || face[0] != lastVertex_) {
      mesh_.starts.push_back(static_cast<Index>(mesh_.corners.size()));
      addCorner(face[0]);
    }
    addCorner(face[1]);
    lastVertex_ = face[1];
  }

  void addCorner(unsigned vertex) {
    mesh_.corners.push_back(positions_[vertex]);
    if (!records_.empty()) mesh_.records.push_back(records_[vertex]);
  }

  const aiMesh& source_;
  jt::Mesh& mesh_;
  std::vector<Index> positions_;  // of each vertex of the file
  std::vector<Index> records_;
  unsigned lastVertex_ = 0;
};

std::shared_ptr<const jt::Mesh> meshFrom(const aiMesh& source, jt::Mesh::Kind kind) {
  auto mesh = std::make_shared<jt::Mesh>();
  mesh->kind = kind;
  mesh->positions.resize(source.mNumVertices);
  std::transform(source.mVertices, source.mVertices + source.mNumVertices, mesh->positions.begin(),
                 toVec);
  readAttributes(source, *mesh);
  std::vector<Index> positions = weldPositions(*mesh);
  std::vector<Index> records = weldRecords(*mesh, source.mNumVertices);
  PrimitiveReader(source, *mesh, std::move(positions), std::move(records)).read();
  if (mesh->corners.empty()) return nullptr;
  compact(*mesh);
  return mesh;
}

}  // namespace

std::vector<std::shared_ptr<const jt::Mesh>> meshesFrom(const aiMesh& source) {
  std::vector<std::shared_ptr<const jt::Mesh>> meshes;
  if (!source.HasPositions()) return meshes;
  if (!allFinite(source.mVertices, source.mNumVertices, isFinite))
    throw JtFormatError("bad_positions",
                        nameOf(source) + " has positions that are not finite numbers");
  const auto add = [&](jt::Mesh::Kind kind) {
    if (auto mesh = meshFrom(source, kind)) meshes.push_back(std::move(mesh));
  };
  const auto has = [&source](aiPrimitiveType type) { return (source.mPrimitiveTypes & type) != 0; };
  if (source.mNumFaces == 0) {
    add(jt::Mesh::Kind::points);
    return meshes;
  }
  if (has(aiPrimitiveType_TRIANGLE)) add(jt::Mesh::Kind::triangles);
  if (has(aiPrimitiveType_LINE)) add(jt::Mesh::Kind::polylines);
  if (has(aiPrimitiveType_POINT)) add(jt::Mesh::Kind::points);
  return meshes;
}

}  // namespace mesh
