#include "MeshHandle.h"

#include "Jt.h"
#include "JtDrawing.h"
#include "JtLastError.h"

namespace binding {
namespace {

[[noreturn]] void failDamaged() {
  if (const auto& error = jt::lastFormatError()) throw JtFormatError(*error);
  throw JtFormatError(jt::lastErrorCode().empty() ? "damaged" : jt::lastErrorCode(),
                      jt::lastError());
}

}  // namespace

std::vector<MeshHandle> meshesBelow(JtNode& node, std::uint32_t level) {
  std::vector<MeshHandle> meshes;
  jt::DrawingOptions options;
  options.levelOfDetail = level;
  const auto take = [&meshes](const jt::DrawnShape& drawn) {
    if (!drawn.shape->hasMesh()) return true;
    MeshHandle found{
        .mesh = drawn.shape->mesh(), .placement = *drawn.toRoot, .color = {}, .part = {}};
    if (!found.mesh) failDamaged();
    if (drawn.material) found.color = drawn.material->diffuse();
    if (drawn.part) found.part = Jt::name(drawn.part).stringToMbs();
    meshes.push_back(std::move(found));
    return true;
  };
  if (!jt::visitDrawnShapes(node, options, take))
    throw JtFormatError("too_many_places", "shared parts add up to more shapes than can be listed");
  return meshes;
}

}  // namespace binding
