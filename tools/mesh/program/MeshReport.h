#pragma once

#include <optional>

#include "JtPartition.h"
#include "JtShapeEncoding.h"
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

/// How far --bits moves vertices, in millimetres; nothing when coordinates stay as they are. To be
/// asked before the save, which lets geometry go.
std::optional<double> roundingOf(const Session& session, const JtPartition& top,
                                 const jt::ShapeEncoding& encoding);
/// Writes the member "rounding" of a result: millimetres, or null.
void writeRounding(Session& session, const std::optional<double>& rounding);
/// The same in a line of text, if there is one.
void showRounding(Session& session, const std::optional<double>& rounding);

/// What was saved of a scene.
struct SavedScene {
  jt::SaveReport report;
  std::optional<double> rounding;
};

/// Reports in a line of text that a component was saved; all segments of one are new.
void showSavedComponent(Session& session, const jt::SaveReport& report);
/// Makes a component of a scene and saves it.
SavedScene saveComponent(Session& session, mesh::Scene scene, const std::string& document,
                         bool replace);

}  // namespace tool
