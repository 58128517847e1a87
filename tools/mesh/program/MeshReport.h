#pragma once

#include "JtPartition.h"
#include "MeshScene.h"

namespace tool {

class Session;

/// Counts of a scene, for reports.
struct SceneCounts {
  std::size_t nodes = 0;
  std::size_t instances = 0;  ///< nodes with geometry
  std::size_t models = 0;
  std::size_t meshes = 0;
  std::size_t triangles = 0;  ///< stored, not shown
  std::size_t materials = 0;

  explicit SceneCounts(const mesh::Scene& scene);
};

/// Warns of what could not be taken over from a file.
void showNotes(Session& session, const std::string& path, const mesh::Scene& scene);

/// Writes the member "scene" of a result.
void writeCounts(Session& session, const SceneCounts& counts);
/// The same in one line of text.
void showCounts(Session& session, const SceneCounts& counts);

/// Reports in a line of text that a component was saved; all segments of one are new.
void showSavedComponent(Session& session, const jt::SaveReport& report);
/// Makes a component of a scene and saves it.
jt::SaveReport saveComponent(Session& session, mesh::Scene scene, const std::string& document,
                             bool replace);

}  // namespace tool
