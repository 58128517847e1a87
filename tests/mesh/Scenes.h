#pragma once

#include <cmath>

#include "MeshScene.h"

// Scenes for the tests: what real files hold, in small.

/// A cube with an edge of 2 around the origin, every face with its own normal.
inline std::shared_ptr<jt::Mesh> cube() {
  auto mesh = std::make_shared<jt::Mesh>();
  for (unsigned i = 0; i < 8; ++i)
    mesh->positions.push_back(
        {i & 1U ? 1.0F : -1.0F, i & 2U ? 1.0F : -1.0F, i & 4U ? 1.0F : -1.0F});
  const unsigned faces[6][4] = {{0, 4, 6, 2}, {1, 3, 7, 5}, {0, 1, 5, 4},
                                {2, 6, 7, 3}, {0, 2, 3, 1}, {4, 5, 7, 6}};
  for (std::size_t face = 0; face < 6; ++face) {
    jt::Vec3f normal{};
    normal[face / 2] = face % 2 == 0 ? -1.0F : 1.0F;
    mesh->normals.push_back(normal);
    for (const unsigned k : {0U, 1U, 2U, 0U, 2U, 3U}) {
      mesh->corners.push_back(faces[face][k]);
      mesh->records.push_back(static_cast<std::uint32_t>(face));
    }
  }
  return mesh;
}

/// A smooth ball of radius 1 with `rings` x 2 `rings` patches.
inline std::shared_ptr<jt::Mesh> ball(unsigned rings) {
  auto mesh = std::make_shared<jt::Mesh>();
  const unsigned around = rings * 2;
  for (unsigned i = 0; i <= rings; ++i)
    for (unsigned k = 0; k < around; ++k) {
      const double polar = M_PI * i / rings;
      const double angle = 2 * M_PI * k / around;
      mesh->positions.push_back({static_cast<float>(std::sin(polar) * std::cos(angle)),
                                 static_cast<float>(std::sin(polar) * std::sin(angle)),
                                 static_cast<float>(std::cos(polar))});
    }
  for (unsigned i = 0; i < rings; ++i)
    for (unsigned k = 0; k < around; ++k) {
      const unsigned a = i * around + k;
      const unsigned b = i * around + (k + 1) % around;
      if (i > 0) mesh->corners.insert(mesh->corners.end(), {a, a + around, b});
      if (i + 1 < rings) mesh->corners.insert(mesh->corners.end(), {b, a + around, b + around});
    }
  return mesh;
}

inline std::shared_ptr<jt::Mesh> strokes(jt::Mesh::Kind kind) {
  auto mesh = std::make_shared<jt::Mesh>();
  mesh->kind = kind;
  mesh->positions = {{0, 0, 0}, {5, 0, 0}, {5, 5, 0}, {0, 5, 1}};
  mesh->corners = {0, 1, 2, 3};
  mesh->starts = {0, 4};
  return mesh;
}

inline jt::Matrix4 placed(double x, double y, double z, double scaleX = 1) {
  jt::Matrix4 matrix = jt::kIdentity;
  matrix[0] = scaleX;
  matrix[12] = x;
  matrix[13] = y;
  matrix[14] = z;
  return matrix;
}

/// Two levels of nodes, an instance that is used three times and once mirrored, two materials,
/// lines, points, a node with geometry and children, and properties.
inline mesh::Scene workcell() {
  mesh::Scene scene;
  scene.meshes = {cube(), ball(4), strokes(jt::Mesh::Kind::polylines),
                  strokes(jt::Mesh::Kind::points)};
  scene.materials.resize(2);
  scene.materials[0].name = "orange";
  scene.materials[0].diffuse = {1, 0.5F, 0, 1};
  scene.materials[1].name = "glass";
  scene.materials[1].diffuse = {0.25F, 0.5F, 0.75F, 0.5F};
  scene.models = {
      {"gripper", {{0, 0}, {1, 1}}}, {"cable", {{2, 0}}}, {"marks", {{3, 1}}}, {"base", {{1, 0}}}};
  const auto node = [&scene](const char* name, const jt::Matrix4& place,
                             std::optional<std::size_t> model, std::vector<std::size_t> children) {
    scene.nodes.push_back({name, place, model, std::move(children), {}});
  };
  node("cell", jt::kIdentity, std::nullopt, {1, 6});
  node("robot", placed(100, 0, 0), 3, {2, 3, 4, 5});
  node("left", placed(0, 10, 0), 0, {});
  node("right", placed(0, -10, 0), 0, {});
  node("mirrored", placed(0, 0, 20, -1), 0, {});
  node("cable", placed(0, 0, 0.1), 1, {});
  node("Größe", placed(-7, 0, 0), 2, {});
  scene.nodes[1].properties = {
      {"maker", std::string("ACME")}, {"axes", std::int64_t{6}}, {"payload", 12.5}};
  return scene;
}
