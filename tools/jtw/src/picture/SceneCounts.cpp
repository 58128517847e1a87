#include "SceneCounts.h"

#include "JsonWriter.h"
#include "Scene.h"

namespace tool {

SceneCounts::SceneCounts(const Scene& scene) {
  for (const Item& item : scene.items()) {
    const jt::Mesh* mesh = scene.mesh(item);
    if (!mesh) continue;
    if (!item.isWires) ++shapes;
    std::size_t& primitives = item.isWires                              ? wires
                              : mesh->kind == jt::Mesh::Kind::triangles ? triangles
                              : mesh->kind == jt::Mesh::Kind::polylines ? polylines
                                                                        : points;
    primitives += mesh->primitiveCount();
  }
}

void writeCounts(JsonWriter& json, const Scene& scene, const SceneCounts& counts) {
  json.member("shapes", counts.shapes);
  json.member("triangles", counts.triangles);
  json.member("polylines", counts.polylines);
  json.member("points", counts.points);
  json.member("damaged", scene.damaged().size());
  json.member("annotationLines", scene.annotations().size());
  json.member("wires", counts.wires);
}

}  // namespace tool
