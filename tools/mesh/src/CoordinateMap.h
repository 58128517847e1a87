#pragma once

// Textures that are moved, scaled or turned on their surface. Viewers need not know of it: the
// coordinates are changed instead.

#include <array>
#include <compare>
#include <memory>

#include "MeshScene.h"

namespace mesh {

/// What becomes of texture coordinates: u' = u[0] u + u[1] v + u[2], v' likewise.
struct CoordinateMap {
  int channel = 0;  ///< of the mesh
  std::array<float, 3> u{1, 0, 0};
  std::array<float, 3> v{0, 1, 0};
  friend auto operator<=>(const CoordinateMap&, const CoordinateMap&) = default;
};

/// A texture, and what is to be done to the coordinates that it is laid out with.
struct PlacedTexture {
  Texture texture;
  std::optional<CoordinateMap> map;
};

/// The mesh with mapped texture coordinates; the mesh itself when it has no such channel of two
/// components or more, or a result would not be finite.
std::shared_ptr<const jt::Mesh> mapped(std::shared_ptr<const jt::Mesh> mesh,
                                       const CoordinateMap& map);

}  // namespace mesh
