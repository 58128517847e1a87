#pragma once

#include <cstddef>

namespace tool {

class JsonWriter;
class Scene;

/// What is in a scene; shapes count as often as they occur.
struct SceneCounts {
  std::size_t shapes = 0;
  std::size_t triangles = 0;
  std::size_t polylines = 0;
  std::size_t points = 0;
  std::size_t wires = 0;

  /// @pre decoded
  explicit SceneCounts(const Scene& scene);
};

/// Writes the members of a result that say what is shown.
void writeCounts(JsonWriter& json, const Scene& scene, const SceneCounts& counts);

}  // namespace tool
