#pragma once

// Which way is up in a file, and turning a scene until it is up in another one.

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "MeshScene.h"

struct aiScene;

namespace mesh {

/// A rotation by right angles, never a mirror: coordinate i of the result is `sign[i]` times
/// coordinate `from[i]`. No digit is lost.
struct Turn {
  std::array<std::size_t, 3> from{0, 1, 2};
  std::array<int, 3> sign{1, 1, 1};

  /// Takes that axis to z. What is in front, or seen along +y, stays so.
  static Turn toZ(UpAxis up);
  Turn inverse() const;
};

/// Turns everything: meshes, and the coordinate systems of all nodes.
void turn(Scene& scene, const Turn& turn);

/// Turns what was read from a file with that extension (lower case) until +z is up.
/// @param up axis of the file that points up, whatever the file says
void turnUp(Scene& scene, const aiScene& source, const std::string& extension,
            std::optional<UpAxis> up);

}  // namespace mesh
