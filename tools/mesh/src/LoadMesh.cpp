#include <assimp/mesh.h>

#include <algorithm>
#include <span>

#include "Assimp.h"
#include "JtFormatError.h"
#include "LoadAttributes.h"
#include "Unified.h"

namespace mesh {
namespace {

using Index = std::uint32_t;

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
  add(mesh.colors, 1);
  for (const auto& channel : mesh.textures)
    add(channel.values, static_cast<std::size_t>(channel.components));
  if (columns.empty()) return {};
  Welding welding = weld(columns, vertices);
  if (!mesh.normals.empty()) mesh.normals = remapped(mesh.normals, welding.newIndex, welding.count);
  if (!mesh.colors.empty()) mesh.colors = remapped(mesh.colors, welding.newIndex, welding.count);
  for (auto& channel : mesh.textures)
    channel.values = remapped(channel.values, welding.newIndex, welding.count,
                              static_cast<std::size_t>(channel.components));
  return std::move(welding.newIndex);
}

/// True for a line or triangle with two corners at one place.
bool isEmpty(std::span<const unsigned> face, const std::vector<Index>& positions) {
  for (std::size_t i = 0; i < face.size(); ++i)
    for (std::size_t k = 0; k < i; ++k)
      if (positions[face[i]] == positions[face[k]]) return true;
  return false;
}

std::span<const unsigned> indicesOf(const aiFace& face) {
  return {face.mIndices, face.mNumIndices};
}

/// Whether primitives of a kind have each vertex of the file.
/// @param positions of each vertex
std::vector<bool> usedVertices(const aiMesh& source, jt::Mesh::Kind kind,
                               const std::vector<Index>& positions) {
  const unsigned size = kind == jt::Mesh::Kind::triangles   ? 3
                        : kind == jt::Mesh::Kind::polylines ? 2
                                                            : 1;
  // A cloud of points may do without faces.
  std::vector<bool> isUsed(source.mNumVertices, source.mNumFaces == 0);
  for (unsigned i = 0; i < source.mNumFaces; ++i) {
    const std::span<const unsigned> face = indicesOf(source.mFaces[i]);
    if (face.size() != size || isEmpty(face, positions)) continue;
    for (const unsigned vertex : face) isUsed[vertex] = true;
  }
  return isUsed;
}

/// Adds primitives, as the position and the record of each vertex say.
class PrimitiveReader {
 public:
  PrimitiveReader(const aiMesh& source, jt::Mesh& mesh, std::vector<Index> positions,
                  std::vector<Index> records, MeshLosses& losses)
      : source_(source),
        mesh_(mesh),
        losses_(losses),
        positions_(std::move(positions)),
        records_(std::move(records)) {}

  void read() {
    for (unsigned i = 0; i < source_.mNumFaces; ++i) add(indicesOf(source_.mFaces[i]));
    for (unsigned vertex = 0; source_.mNumFaces == 0 && vertex < positions_.size(); ++vertex)
      add({&vertex, 1});
    if (mesh_.kind != jt::Mesh::Kind::triangles && !mesh_.corners.empty())
      mesh_.starts.push_back(static_cast<Index>(mesh_.corners.size()));
  }

 private:
  void add(std::span<const unsigned> face) {
    if (mesh_.kind == jt::Mesh::Kind::triangles) {
      if (face.size() != 3) return;
      if (isEmpty(face, positions_)) {
        losses_.add(Loss::emptyTriangle, source_);
        return;
      }
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
    if (face.size() != 2) return;
    if (isEmpty(face, positions_)) {
      losses_.add(Loss::emptySegment, source_);
      return;
    }
    if (mesh_.corners.empty() || !isLast(face[0])) {
      mesh_.starts.push_back(static_cast<Index>(mesh_.corners.size()));
      addCorner(face[0]);
    }
    addCorner(face[1]);
  }

  /// True for a vertex with the position and the record of the last corner.
  bool isLast(unsigned vertex) const {
    return mesh_.corners.back() == positions_[vertex] &&
           (records_.empty() || mesh_.records.back() == records_[vertex]);
  }

  void addCorner(unsigned vertex) {
    mesh_.corners.push_back(positions_[vertex]);
    if (!records_.empty()) mesh_.records.push_back(records_[vertex]);
  }

  const aiMesh& source_;
  jt::Mesh& mesh_;
  MeshLosses& losses_;
  std::vector<Index> positions_;  // of each vertex of the file
  std::vector<Index> records_;
};

std::shared_ptr<const jt::Mesh> meshFrom(const aiMesh& source, jt::Mesh::Kind kind,
                                         MeshLosses& losses) {
  auto mesh = std::make_shared<jt::Mesh>();
  mesh->kind = kind;
  mesh->positions.resize(source.mNumVertices);
  std::transform(source.mVertices, source.mVertices + source.mNumVertices, mesh->positions.begin(),
                 toVec);
  std::vector<Index> positions = weldPositions(*mesh);
  readAttributes(source, usedVertices(source, kind, positions), *mesh, losses);
  std::vector<Index> records = weldRecords(*mesh, source.mNumVertices);
  PrimitiveReader(source, *mesh, std::move(positions), std::move(records), losses).read();
  if (mesh->corners.empty()) return nullptr;
  compact(*mesh);
  return mesh;
}

}  // namespace

std::vector<std::shared_ptr<const jt::Mesh>> meshesFrom(const aiMesh& source, MeshLosses& losses) {
  std::vector<std::shared_ptr<const jt::Mesh>> meshes;
  if (!source.HasPositions()) return meshes;
  if (!std::all_of(source.mVertices, source.mVertices + source.mNumVertices, isFinite))
    throw JtFormatError("bad_positions",
                        nameOf(source) + " has positions that are not finite numbers");
  const auto add = [&](jt::Mesh::Kind kind) {
    if (auto mesh = meshFrom(source, kind, losses)) meshes.push_back(std::move(mesh));
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
