#pragma once

#include <rapidcheck.h>

#include <cmath>
#include <vector>

#include "support/MeshContent.h"

// Random meshes for tests.

/// Triangles over few vertices: holes, edges of many triangles, flat and double triangles, vertices
/// with several fans.
inline jt::Mesh soup(std::uint32_t vertices, std::size_t triangles, bool attributes) {
  jt::Mesh mesh;
  for (std::uint32_t i = 0; i < vertices; ++i)
    mesh.positions.push_back({static_cast<float>(i), std::sin(static_cast<float>(i)), -0.0F});
  const auto index = rc::gen::inRange<std::uint32_t>(0, vertices);
  mesh.corners = *rc::gen::container<std::vector<std::uint32_t>>(3 * triangles, index);
  mesh.groups = *rc::gen::container<std::vector<std::int32_t>>(
      triangles, rc::gen::inRange<std::int32_t>(0, 3));
  if (!attributes) return mesh;
  for (int i = 0; i < 5; ++i) {
    const float angle = static_cast<float>(i);
    mesh.normals.push_back({std::cos(angle), std::sin(angle), 0});
    mesh.flags.push_back(static_cast<std::uint32_t>(i));
  }
  mesh.records = *rc::gen::container<std::vector<std::uint32_t>>(
      3 * triangles, rc::gen::inRange<std::uint32_t>(0, 5));
  return mesh;
}

/// A grid of squares, open, closed to a tube or to a torus, with a share of its triangles left out.
inline jt::Mesh grid(std::uint32_t columns, std::uint32_t rows, bool wrapX, bool wrapY,
                     const std::vector<bool>& leftOut, bool hardEdges) {
  jt::Mesh mesh;
  const std::uint32_t width = wrapX ? columns : columns + 1;
  const std::uint32_t height = wrapY ? rows : rows + 1;
  for (std::uint32_t y = 0; y < height; ++y)
    for (std::uint32_t x = 0; x < width; ++x)
      mesh.positions.push_back(
          {static_cast<float>(x), static_cast<float>(y), static_cast<float>(x * y % 7) * 0.25F});
  mesh.normals = {{0, 0, 1}, {0, 1, 0}};
  std::size_t number = 0;
  for (std::uint32_t y = 0; y < rows; ++y)
    for (std::uint32_t x = 0; x < columns; ++x) {
      const auto at = [&](std::uint32_t dx, std::uint32_t dy) {
        return (y + dy) % height * width + (x + dx) % width;
      };
      const std::uint32_t corners[2][3] = {{at(0, 0), at(1, 0), at(1, 1)},
                                           {at(0, 0), at(1, 1), at(0, 1)}};
      for (const auto& triangle : corners) {
        if (!leftOut.empty() && leftOut[number++ % leftOut.size()]) continue;
        mesh.corners.insert(mesh.corners.end(), triangle, triangle + 3);
        mesh.records.insert(mesh.records.end(), 3, hardEdges ? x % 2 : 0);
      }
    }
  return mesh;
}

/// Every position twice, and corners that use the one or the other.
inline void doublePositions(jt::Mesh& mesh) {
  const auto count = static_cast<std::uint32_t>(mesh.positions.size());
  mesh.positions.insert(mesh.positions.end(), mesh.positions.begin(), mesh.positions.end());
  for (std::size_t i = 0; i < mesh.corners.size(); i += 2) mesh.corners[i] += count;
}

inline jt::Mesh randomMesh() {
  jt::Mesh mesh = *rc::gen::arbitrary<bool>()
                      ? soup(*rc::gen::inRange(3U, 40U), *rc::gen::inRange<std::size_t>(0, 60),
                             *rc::gen::arbitrary<bool>())
                      : grid(*rc::gen::inRange(3U, 14U), *rc::gen::inRange(3U, 14U),
                             *rc::gen::arbitrary<bool>(), *rc::gen::arbitrary<bool>(),
                             *rc::gen::arbitrary<std::vector<bool>>(), *rc::gen::arbitrary<bool>());
  if (*rc::gen::arbitrary<bool>()) doublePositions(mesh);
  return mesh;
}
