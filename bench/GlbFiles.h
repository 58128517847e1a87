#pragma once

// The scene of the export benchmark as GLB files, written by other libraries.

#include <string>

namespace bench {

/// Writes `count` meshes of 2 * steps * steps triangles, each in a node of its own. Both libraries
/// hold the whole scene. Throws std::runtime_error.
void writeWithAssimp(int count, unsigned steps, const std::string& path);
void writeWithTinygltf(int count, unsigned steps, const std::string& path);

}  // namespace bench
