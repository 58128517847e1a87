#include "MeshReport.h"

#include <cstdio>

#include "JtRounding.h"
#include "MeshComponent.h"
#include "MeshOptions.h"
#include "NewDocument.h"
#include "SaveResult.h"
#include "Session.h"
#include "Validation.h"

namespace tool {

SceneCounts::SceneCounts(const mesh::Scene& scene)
    : nodes(scene.nodes.size()),
      models(scene.models.size()),
      meshes(scene.meshes.size()),
      materials(scene.materials.size()) {
  for (const mesh::Node& node : scene.nodes) instances += node.model ? 1 : 0;
  for (const auto& mesh : scene.meshes)
    if (mesh->kind == jt::Mesh::Kind::triangles) triangles += mesh->primitiveCount();
}

void showNotes(Session& session, const std::string& path, const mesh::Scene& scene) {
  for (const std::string& note : scene.notes) session.warn(describe({.file = path}, note));
}

void writeCounts(Session& session, const SceneCounts& counts) {
  JsonWriter& json = session.json();
  json.key("scene");
  json.beginObject(JsonWriter::Layout::line);
  json.member("nodes", counts.nodes);
  json.member("instances", counts.instances);
  json.member("models", counts.models);
  json.member("meshes", counts.meshes);
  json.member("triangles", counts.triangles);
  json.member("materials", counts.materials);
  json.end();
}

void showCounts(Session& session, const SceneCounts& counts) {
  session.report().line(
      counted(counts.nodes, "node") + ", " + counted(counts.instances, "instance") + " of " +
      counted(counts.models, "model") + ", " + counted(counts.triangles, "triangle"));
}

void showSavedComponent(Session& session, const jt::SaveReport& report) {
  const bool dryRun = session.arguments().has("dry-run");
  session.report().line((dryRun ? "would save " : "saved ") + printable(report.file) +
                        ", version " + report.version.text() + ", " +
                        counted(report.segments.size(), "segment"));
}

std::optional<double> roundingOf(const Session& session, const JtPartition& top,
                                 const jt::ShapeEncoding& encoding) {
  if (encoding.positionBits == 0) return {};
  return jt::largestRounding(top, encoding, versionOption(session.arguments()));
}

void writeRounding(Session& session, const std::optional<double>& rounding) {
  session.json().key("rounding");
  session.json().value(rounding ? std::optional(static_cast<float>(*rounding)) : std::nullopt);
}

void showRounding(Session& session, const std::optional<double>& rounding) {
  if (!rounding) return;
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.3g", *rounding);
  session.report().line(std::string("vertices moved by up to ") + digits + " mm (--bits)");
}

SavedScene saveComponent(Session& session, mesh::Scene scene, const std::string& document,
                         bool replace) {
  const jt::ShapeEncoding shapes = encoding(session);
  mesh::BuildOptions options;
  options.levels = levelCount(session);
  jt::SaveOptions saving;
  saving.dryRun = session.arguments().has("dry-run");
  saving.version = versionOption(session.arguments());
  if (!mesh::isHostUnit(scene.millimetres))
    session.warn(document + ": lengths are converted to millimetres, which rounds them");
  const Library library(session);
  const DocumentName name(document);
  NewDocument made(name, openHostDocument(name), replace);
  try {
    mesh::buildComponent(std::move(scene), made.root(), options);
  } catch (const JtFormatError& error) {
    throw readFailure(error, document);
  }
  if (session.arguments().has("check"))
    storeValidations(session, *made.root().partition(), document);
  made.root().partition()->setShapeEncoding(shapes);
  const auto rounding = roundingOf(session, *made.root().partition(), shapes);
  jt::SaveReport report = made.save(saving);
  showSaveWarnings(session, report);
  return {std::move(report), rounding};
}

}  // namespace tool
