#include <algorithm>
#include <cmath>

#include "JtFormatError.h"
#include "JtParallel.h"
#include "MeshScene.h"

namespace mesh {

jt::Rgba clamped(const jt::Rgba& color) {
  jt::Rgba result{};
  for (std::size_t i = 0; i < result.size(); ++i)
    result[i] = color[i] > 0 ? std::min(color[i], 1.0F) : 0.0F;
  return result;
}

std::array<double, 3> transformPoint(const jt::Matrix4& m, const jt::Vec3f& point) {
  const double x = point[0];
  const double y = point[1];
  const double z = point[2];
  std::array<double, 3> image{};
  for (std::size_t i = 0; i < 3; ++i) image[i] = x * m[i] + y * m[4 + i] + z * m[8 + i] + m[12 + i];
  return image;
}

std::vector<jt::Matrix4> placements(const Scene& scene) {
  std::vector<jt::Matrix4> result(scene.nodes.size(), jt::kIdentity);
  if (!result.empty()) result[0] = scene.nodes[0].transform;
  for (std::size_t i = 0; i < scene.nodes.size(); ++i)
    for (const std::size_t child : scene.nodes[i].children)
      result[child] = jt::multiply(scene.nodes[child].transform, result[i]);
  return result;
}

Extent extentOf(const Scene& scene) {
  Extent extent;
  const std::vector<jt::Matrix4> places = placements(scene);
  for (std::size_t i = 0; i < scene.nodes.size(); ++i) {
    if (!scene.nodes[i].model) continue;
    for (const Surface& surface : scene.models[*scene.nodes[i].model].surfaces) {
      const jt::Mesh& mesh = *scene.meshes[surface.mesh];
      for (const std::uint32_t corner : mesh.corners) {
        const auto point = transformPoint(places[i], mesh.positions[corner]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
          extent.min[axis] = std::min(extent.min[axis], point[axis]);
          extent.max[axis] = std::max(extent.max[axis], point[axis]);
        }
      }
    }
  }
  return extent;
}

void checkNumbers(const Scene& scene) {
  const auto isFinite = [](double number) { return std::isfinite(number); };
  for (const Node& node : scene.nodes)
    if (!std::all_of(node.transform.begin(), node.transform.end(), isFinite))
      throw JtFormatError("bad_positions",
                          "the placement of '" + node.name + "' is not made of finite numbers");
  jt::inParallel(0, scene.meshes.size(), [&](std::size_t i) {
    for (const jt::Vec3f& position : scene.meshes[i]->positions)
      if (!std::all_of(position.begin(), position.end(), isFinite))
        throw JtFormatError("bad_positions", "a mesh has positions that are not finite numbers");
  });
}

void convertUnit(Scene& scene, double millimetres) {
  const double factor = scene.millimetres / millimetres;
  scene.millimetres = millimetres;
  // Files hold units in single precision; an inch stays an inch.
  constexpr double kSameUnit = 1e-6;
  if (std::abs(factor - 1) < kSameUnit) return;
  jt::inParallel(0, scene.meshes.size(), [&](std::size_t i) {
    auto scaled = std::make_shared<jt::Mesh>(*scene.meshes[i]);
    for (jt::Vec3f& position : scaled->positions)
      for (float& coordinate : position) coordinate = static_cast<float>(coordinate * factor);
    scene.meshes[i] = std::move(scaled);
  });
  for (Node& node : scene.nodes)
    for (std::size_t i = 12; i < 15; ++i) node.transform[i] *= factor;
}

}  // namespace mesh
