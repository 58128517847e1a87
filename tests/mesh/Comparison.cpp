#include "Comparison.h"

#include <algorithm>
#include <cmath>

#include "ApiDocumentRef.h"
#include "JtStorageLocation.h"
#include "JtwManager.h"
#include "MeshComponent.h"

namespace {

using mesh::Scene;

/// One mesh where it is shown.
struct Shown {
  const mesh::Node* node;
  const jt::Mesh* mesh;
  const mesh::Material* material;  // null: none
  jt::Matrix4 placement;
};

std::vector<Shown> shownBy(const Scene& scene) {
  std::vector<Shown> result;
  const std::vector<jt::Matrix4> places = mesh::placements(scene);
  for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
    if (!scene.nodes[i].model) continue;
    for (const mesh::Surface& surface : scene.models[*scene.nodes[i].model].surfaces)
      result.push_back({&scene.nodes[i], scene.meshes[surface.mesh].get(),
                        surface.material ? &scene.materials[*surface.material] : nullptr,
                        places[i]});
  }
  return result;
}

using Corner = std::array<float, 3>;
using Triangle = std::array<Corner, 3>;

/// Triangles as a set: each begins with its least corner, and keeps its turn.
std::vector<Triangle> triangles(const jt::Mesh& mesh) {
  std::vector<Triangle> result;
  for (std::size_t i = 0; i + 2 < mesh.corners.size(); i += 3) {
    Triangle triangle{mesh.positions[mesh.corners[i]], mesh.positions[mesh.corners[i + 1]],
                      mesh.positions[mesh.corners[i + 2]]};
    std::rotate(triangle.begin(), std::min_element(triangle.begin(), triangle.end()),
                triangle.end());
    result.push_back(triangle);
  }
  std::sort(result.begin(), result.end());
  return result;
}

/// Coordinates along one axis in order: moving each corner by at most d moves each of them by at
/// most d.
std::vector<double> coordinates(const jt::Mesh& mesh, std::size_t axis) {
  std::vector<double> result;
  for (const std::uint32_t corner : mesh.corners)
    result.push_back(static_cast<double>(mesh.positions[corner][axis]));
  std::sort(result.begin(), result.end());
  return result;
}

bool sameWithin(const jt::Mesh& a, const jt::Mesh& b, unsigned bits) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto left = coordinates(a, axis);
    const auto right = coordinates(b, axis);
    const double extent = left.back() - left.front();
    const double size = std::max(std::abs(left.back()), std::abs(left.front()));
    const double quantum = bits == 0 ? 0 : extent / (std::exp2(bits) - 1) * 0.501 + size * 1e-6;
    for (std::size_t i = 0; i < left.size(); ++i)
      if (!(std::abs(left[i] - right[i]) <= quantum)) return false;
  }
  return true;
}

std::string meshDifference(const jt::Mesh& a, const jt::Mesh& b, unsigned bits) {
  if (a.kind != b.kind) return "kind of mesh";
  if (a.primitiveCount() != b.primitiveCount())
    return std::to_string(a.primitiveCount()) + " and " + std::to_string(b.primitiveCount()) +
           " primitives";
  if (a.corners.size() != b.corners.size()) return "number of corners";
  if (a.normals.empty() != b.normals.empty()) return "normals";
  if (a.colors.empty() != b.colors.empty()) return "vertex colors";
  if (a.textures.size() != b.textures.size()) return "texture channels";
  const bool isSame = bits == 0 && a.kind == jt::Mesh::Kind::triangles
                          ? triangles(a) == triangles(b)
                          : sameWithin(a, b, bits);
  return isSame ? "" : "positions";
}

bool samePlacement(const jt::Matrix4& a, const jt::Matrix4& b, double share, double extent) {
  for (std::size_t i = 0; i < 16; ++i) {
    const double size = i < 12 ? std::max({1.0, std::abs(a[i]), std::abs(b[i])})
                               : std::max({extent, std::abs(a[i]), std::abs(b[i])});
    if (std::abs(a[i] - b[i]) > share * size) return false;
  }
  return true;
}

double sizeOf(const Scene& scene) {
  const mesh::Extent extent = mesh::extentOf(scene);
  double size = 0;
  for (std::size_t axis = 0; axis < 3; ++axis)
    size = std::max({size, std::abs(extent.min[axis]), std::abs(extent.max[axis])});
  return size;
}

std::string shownDifference(const Shown& a, const Shown& b, const Tolerance& tolerance,
                            double size) {
  if (!samePlacement(a.placement, b.placement, tolerance.placement, size)) return "placement";
  if (!a.material != !b.material) return "a material";
  if (a.material)
    for (std::size_t i = 0; i < 4; ++i)
      if (std::abs(a.material->diffuse[i] - b.material->diffuse[i]) > 1e-6F) return "color";
  return meshDifference(*a.mesh, *b.mesh, tolerance.positionBits);
}

}  // namespace

std::string difference(const Scene& a, const Scene& b, const Tolerance& tolerance) {
  const std::vector<Shown> left = shownBy(a);
  const std::vector<Shown> right = shownBy(b);
  if (std::abs(a.millimetres / b.millimetres - 1) > 1e-6) return "unit";
  if (left.size() != right.size())
    return std::to_string(left.size()) + " and " + std::to_string(right.size()) + " shapes";
  if (a.models.size() < b.models.size()) return "instances were copied";
  const double size = sizeOf(a);
  for (std::size_t i = 0; i < left.size(); ++i) {
    const std::string found = shownDifference(left[i], right[i], tolerance, size);
    if (!found.empty())
      return "'" + left[i].node->name + "' and '" + right[i].node->name + "': " + found;
  }
  return {};
}

Scene throughJt(const Scene& scene, const std::string& path, const Passage& passage) {
  const ApiDocumentRef document(std::make_shared<ApiDocument>(path));
  JtwRoot& root = *JtwManager::the().computeNewDocRoot(document);
  root.setKey(ApiProtoKey(1));
  const auto location = jt::make<JtFSStorageLocation>(JtString(), JtString(path));
  const auto release = [&document] { JtwManager::the().releaseRoot(document); };
  try {
    mesh::buildComponent(scene, root, {.levels = passage.levels});
    root.partition()->setShapeEncoding(passage.encoding);
    jt::SaveOptions options;
    options.version = jt::FileVersion::parse(passage.version);
    root.partition()->save(location.get(), options);
  } catch (...) {
    release();
    throw;
  }
  release();
  JtPartition* opened = nullptr;
  JtPartition::openPartition(location.get(), nullptr, opened);
  const auto partition = jt::Ref<JtPartition>::adopt(opened);
  return mesh::sceneOf(*partition);
}
