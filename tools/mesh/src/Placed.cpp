#include <cmath>

#include "Writers.h"

namespace mesh {
namespace {

/// The matrix that turns normals: the cofactors of the 3x3 part, which is the inverse transposed
/// but for a factor, and exists for singular matrices too.
std::array<double, 9> cofactors(const jt::Matrix4& m) {
  std::array<double, 9> result{};
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column) {
      const auto at = [&](std::size_t r, std::size_t c) {
        return m[(row + r) % 3 * 4 + (column + c) % 3];
      };
      result[row * 3 + column] = at(1, 1) * at(2, 2) - at(1, 2) * at(2, 1);
    }
  return result;
}

jt::Vec3f turn(const std::array<double, 9>& m, const jt::Vec3f& normal, double sign) {
  std::array<double, 3> image{};
  double square = 0;
  for (std::size_t column = 0; column < 3; ++column) {
    for (std::size_t row = 0; row < 3; ++row)
      image[column] += static_cast<double>(normal[row]) * m[row * 3 + column];
    square += image[column] * image[column];
  }
  if (!(square > 0)) return normal;
  const double scale = sign / std::sqrt(square);
  return {static_cast<float>(image[0] * scale), static_cast<float>(image[1] * scale),
          static_cast<float>(image[2] * scale)};
}

}  // namespace

Placed place(const Scene& scene, std::size_t node, const Surface& surface,
             const jt::Matrix4& placement) {
  const jt::Mesh& mesh = *scene.meshes[surface.mesh];
  Placed placed{&scene.nodes[node], &surface, &mesh, {}, {}, false};
  placed.positions.reserve(mesh.positions.size());
  for (const jt::Vec3f& position : mesh.positions) {
    const auto image = transformPoint(placement, position);
    placed.positions.push_back(
        {static_cast<float>(image[0]), static_cast<float>(image[1]), static_cast<float>(image[2])});
  }
  const std::array<double, 9> normalMatrix = cofactors(placement);
  const double determinant = placement[0] * normalMatrix[0] + placement[1] * normalMatrix[1] +
                             placement[2] * normalMatrix[2];
  placed.isMirrored = determinant < 0;
  placed.normals.reserve(mesh.normals.size());
  for (const jt::Vec3f& normal : mesh.normals)
    placed.normals.push_back(turn(normalMatrix, normal, placed.isMirrored ? -1 : 1));
  return placed;
}

}  // namespace mesh
