#include "LoadAttributes.h"

#include <assimp/mesh.h>

#include <algorithm>

#include "Assimp.h"
#include "MeshScene.h"

namespace mesh {
namespace {

/// How far the length of a unit vector may be from 1: normals of text files have three digits or
/// more.
constexpr float kUnitLength = 1e-3F;

bool isFiniteColor(const aiColor4D& c) {
  return std::isfinite(c.r) && std::isfinite(c.g) && std::isfinite(c.b) && std::isfinite(c.a);
}

bool hasDirection(const aiVector3D& v) { return isFinite(v) && v.Length() > 0; }

class AttributeReader {
 public:
  AttributeReader(const aiMesh& source, const std::vector<bool>& isUsed, jt::Mesh& mesh,
                  MeshLosses& losses)
      : source_(source), isUsed_(isUsed), mesh_(mesh), losses_(losses) {}

  void readNormals() {
    if (!source_.HasNormals()) return;
    const bool isSurface = mesh_.kind == jt::Mesh::Kind::triangles;
    const std::size_t used = count([](unsigned) { return true; });
    const std::size_t bad =
        count([this](unsigned i) { return !hasDirection(source_.mNormals[i]); });
    if (bad > 0 && (bad == used || !isSurface)) {
      // Lines and points beside triangles have normals without direction when they have none.
      if (isSurface || bad < used) losses_.add(Loss::droppedNormals, source_);
      return;
    }
    mesh_.normals.resize(source_.mNumVertices);
    if (bad > 0) computeNormals();
    std::size_t scaled = 0;
    for (unsigned i = 0; i < source_.mNumVertices; ++i) {
      const aiVector3D& normal = source_.mNormals[i];
      if (!isUsed_[i] || !hasDirection(normal)) continue;
      const float length = normal.Length();
      const bool isUnit = std::abs(length - 1) <= kUnitLength;
      if (!isUnit) ++scaled;
      mesh_.normals[i] = isUnit ? toVec(normal) : unit(normal);
    }
    losses_.add(Loss::computedNormal, source_, bad);
    losses_.add(Loss::normalizedNormal, source_, scaled);
  }

  void readColors() {
    if (source_.GetNumColorChannels() > 1)
      losses_.add(Loss::extraColors, source_, source_.GetNumColorChannels() - 1);
    if (!source_.HasVertexColors(0)) return;
    const aiColor4D* colors = source_.mColors[0];
    if (count([&](unsigned i) { return !isFiniteColor(colors[i]); }) > 0) {
      losses_.add(Loss::droppedColors, source_);
      return;
    }
    std::size_t cut = 0;
    for (unsigned i = 0; i < source_.mNumVertices; ++i) {
      const jt::Rgba given{colors[i].r, colors[i].g, colors[i].b, colors[i].a};
      mesh_.colors.push_back(clamped(given));
      if (isUsed_[i] && given != mesh_.colors.back()) ++cut;
    }
    losses_.add(Loss::clampedColor, source_, cut);
  }

  void readTexture(unsigned index) {
    const aiVector3D* coordinates = source_.mTextureCoords[index];
    if (!coordinates) return;
    if (count([&](unsigned i) { return !isFinite(coordinates[i]); }) > 0) {
      losses_.add(Loss::droppedTexture, source_);
      return;
    }
    const unsigned width = std::clamp(source_.mNumUVComponents[index], 1U, 3U);
    auto& channel = mesh_.textures.emplace_back();
    channel.channel = static_cast<int>(index);
    channel.components = static_cast<int>(width);
    channel.values.reserve(std::size_t{width} * source_.mNumVertices);
    for (unsigned vertex = 0; vertex < source_.mNumVertices; ++vertex)
      for (unsigned c = 0; c < width; ++c) channel.values.push_back(coordinates[vertex][c] + 0.0F);
  }

 private:
  static jt::Vec3f unit(const aiVector3D& v) {
    // Squares of very long and very short vectors are out of range in single precision.
    const double x = static_cast<double>(v.x);
    const double y = static_cast<double>(v.y);
    const double z = static_cast<double>(v.z);
    const double length = std::hypot(x, y, z);
    if (!(length > 0)) return {0, 0, 1};
    return {static_cast<float>(x / length) + 0.0F, static_cast<float>(y / length) + 0.0F,
            static_cast<float>(z / length) + 0.0F};
  }

  /// Normals of vertices that have none: those of the triangles at the vertex, by their area.
  void computeNormals() {
    std::vector<aiVector3D> sums(source_.mNumVertices);
    for (unsigned i = 0; i < source_.mNumFaces; ++i) {
      const aiFace& face = source_.mFaces[i];
      if (face.mNumIndices != 3) continue;
      const aiVector3D& a = source_.mVertices[face.mIndices[0]];
      const aiVector3D across =
          (source_.mVertices[face.mIndices[1]] - a) ^ (source_.mVertices[face.mIndices[2]] - a);
      for (unsigned corner = 0; corner < 3; ++corner) sums[face.mIndices[corner]] += across;
    }
    for (unsigned i = 0; i < source_.mNumVertices; ++i)
      if (isUsed_[i] && !hasDirection(source_.mNormals[i])) mesh_.normals[i] = unit(sums[i]);
  }

  template <class Test>
  std::size_t count(Test test) const {
    std::size_t result = 0;
    for (unsigned i = 0; i < source_.mNumVertices; ++i)
      if (isUsed_[i] && test(i)) ++result;
    return result;
  }

  const aiMesh& source_;
  const std::vector<bool>& isUsed_;
  jt::Mesh& mesh_;
  MeshLosses& losses_;
};

}  // namespace

void readAttributes(const aiMesh& source, const std::vector<bool>& isUsed, jt::Mesh& mesh,
                    MeshLosses& losses) {
  AttributeReader reader(source, isUsed, mesh, losses);
  reader.readNormals();
  reader.readColors();
  for (unsigned i = 0; i < source.GetNumUVChannels(); ++i) reader.readTexture(i);
}

}  // namespace mesh
