#include "CoordinateMap.h"

#include <algorithm>
#include <cmath>

namespace mesh {

std::shared_ptr<const jt::Mesh> mapped(std::shared_ptr<const jt::Mesh> mesh,
                                       const CoordinateMap& map) {
  const auto found =
      std::ranges::find(mesh->textures, map.channel, &jt::Mesh::TextureChannel::channel);
  if (found == mesh->textures.end() || found->components < 2) return mesh;
  auto result = std::make_shared<jt::Mesh>(*mesh);
  auto& target = result->textures[static_cast<std::size_t>(found - mesh->textures.begin())];
  const auto width = static_cast<std::size_t>(target.components);
  for (std::size_t i = 0; i < target.values.size(); i += width) {
    const float u = target.values[i];
    const float v = target.values[i + 1];
    target.values[i] = map.u[0] * u + map.u[1] * v + map.u[2];
    target.values[i + 1] = map.v[0] * u + map.v[1] * v + map.v[2];
    if (!std::isfinite(target.values[i]) || !std::isfinite(target.values[i + 1])) return mesh;
  }
  return result;
}

}  // namespace mesh
