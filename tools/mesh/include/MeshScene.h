#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "JtMaterial.h"
#include "JtMesh.h"
#include "JtTexture.h"
#include "JtXform.h"

// What mesh files and JT files have in common. Everything in this folder turns something into a
// MeshScene or a MeshScene into something.

namespace mesh {

/// The color with every component in 0..1; what is no number becomes 0.
jt::Rgba clamped(const jt::Rgba& color);

/// An image on a surface. Its colors are multiplied with the material's diffuse one.
struct Texture {
  std::size_t image = 0;  ///< index into the scene
  int channel = 0;        ///< of the mesh's texture coordinates; v goes up, as the rows do
  std::array<jt::TextureWrap, 2> wrap{jt::TextureWrap::repeat, jt::TextureWrap::repeat};
  friend auto operator<=>(const Texture&, const Texture&) = default;
};

/// How a surface looks.
struct Material {
  std::string name;
  jt::Rgba ambient{0.8F, 0.8F, 0.8F, 1};
  jt::Rgba diffuse{0.8F, 0.8F, 0.8F, 1};  ///< alpha: opacity
  jt::Rgba specular{0.3F, 0.3F, 0.3F, 1};
  jt::Rgba emission{0, 0, 0, 1};
  float shininess = 30;  ///< 1 to 128
  std::optional<Texture> texture;
  friend bool operator==(const Material&, const Material&) = default;
};

/// A mesh with the material it is drawn with; both are indices into the scene.
struct Surface {
  std::size_t mesh = 0;
  std::optional<std::size_t> material;
  friend auto operator<=>(const Surface&, const Surface&) = default;
};

/// Surfaces that are always used together. Nodes that name one model are instances of it.
struct Model {
  std::string name;
  std::vector<Surface> surfaces;  ///< not empty
};

/// What a file keeps on a node beside its geometry: key and value.
using Property = std::pair<std::string, std::variant<std::string, std::int64_t, double>>;

/// One object of the tree.
struct Node {
  std::string name;                       ///< UTF-8; may be empty
  jt::Matrix4 transform = jt::kIdentity;  ///< to the parent, for row vectors, in the scene's unit
  std::optional<std::size_t> model;       ///< index into the scene
  std::vector<std::size_t> children;      ///< indices into the scene, greater than the node's own
  std::vector<Property> properties;
};

/// The axis of a file that points up.
enum class UpAxis : std::uint8_t { x, y, z };

/// A tree of nodes over shared meshes, in one unit of length. +z is up in all that JT files and
/// components make of it.
struct Scene {
  double millimetres = 1;                               ///< in one unit of length
  std::vector<std::shared_ptr<const jt::Mesh>> meshes;  ///< none null, none flawed
  std::vector<Material> materials;
  std::vector<std::shared_ptr<const jt::TexturePixels>> images;  ///< none null, sizes as promised
  std::vector<Model> models;
  std::vector<Node> nodes;         ///< parents before their children; the first one is the root
  std::vector<std::string> notes;  ///< what could not be taken over, for readers
};

/// Extent of all that the nodes show, in the root's coordinates and the scene's unit.
struct Extent {
  std::array<double, 3> min{1e300, 1e300, 1e300};
  std::array<double, 3> max{-1e300, -1e300, -1e300};
  bool isEmpty() const noexcept { return min[0] > max[0]; }
};
Extent extentOf(const Scene& scene);

/// The transform of every node to the root's coordinates, the root's own included.
std::vector<jt::Matrix4> placements(const Scene& scene);
/// Image of a point under a matrix for row vectors.
std::array<double, 3> transformPoint(const jt::Matrix4& matrix, const jt::Vec3f& point);

/// Throws JtFormatError "bad_positions" when a placement or a position is not made of finite
/// numbers.
void checkNumbers(const Scene& scene);

/// The same scene with another unit of length: positions and translations are converted.
void convertUnit(Scene& scene, double millimetres);

/// Coarser levels of a triangle mesh, each with half as many triangles as the one before, as far as
/// the shape allows. Other kinds of meshes have none.
/// @param count levels in all; the first one is the mesh itself
std::vector<std::shared_ptr<const jt::Mesh>> makeLevels(
    const std::shared_ptr<const jt::Mesh>& finest, std::size_t count);

}  // namespace mesh
