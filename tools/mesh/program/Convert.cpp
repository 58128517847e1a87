#include <algorithm>
#include <unordered_set>

#include "ApiSysFilePath.h"
#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtLOD.h"
#include "JtStackNodeIter.h"
#include "MeshComponent.h"
#include "MeshFiles.h"
#include "MeshOptions.h"
#include "MeshReport.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {
namespace {

bool isJt(const std::string& path) { return DocumentName(path).isJt; }

jt::Ref<JtPartition> openWithParts(Session& session, const std::string& path) {
  const std::string file = jtFileOf(DocumentName(path).path);
  jt::Ref<JtPartition> partition = openFile(session, file);
  if (!JtPartition::openAllPartitions(partition.get(), true))
    session.warn(file + ": some of the files that it names cannot be opened; they are left out");
  return partition;
}

/// Calls `take` for every node below the partition of that class, once.
template <class T, class Take>
void forEachNode(JtPartition& partition, const Take& take) {
  std::vector<jt::Ref<T>> found;
  std::unordered_set<const JtNode*> seen;  // of the nodes that several paths reach
  const auto iterator = jt::make<JtStackNodeIter>();
  iterator->setPreVisit([&found, &seen](JtNode* node) {
    if (node->numParents() > 1 && !seen.insert(node).second)
      return JtStackNodeIter::Next::skipChildren;
    if (auto* wanted = jt::as<T>(node)) found.emplace_back(wanted);
    return JtStackNodeIter::Next::descend;
  });
  iterator->run(&partition);
  for (const jt::Ref<T>& node : found) take(*node);
}

/// Leaves one level of detail everywhere.
void keepLevel(JtPartition& partition, std::uint32_t level) {
  forEachNode<JtLOD>(partition, [level](JtLOD& alternatives) {
    const JtNode* kept = alternatives.childForLevel(level);
    for (int i = alternatives.numChildren() - 1; i >= 0; --i)
      if (alternatives.child(i) != kept) alternatives.removeChild(i);
    if (auto* ranged = jt::as<JtRangeLOD>(&alternatives)) ranged->setRangeLimits({});
  });
}

/// Has the save write all geometry anew: in another version, or in another form.
void renewShapes(JtPartition& partition, const std::string& path) {
  forEachNode<JtShape>(partition, [&path](JtShape& shape) {
    if (!shape.hasMesh()) return;
    const auto mesh = shape.mesh();
    if (!mesh)
      throw Failure(ExitCode::input, "damaged", jt::lastError(),
                    {.file = path, .segment = {}, .element = {}, .offset = {}});
    shape.setMesh(mesh);
  });
}

ExitCode reportJt(Session& session, const jt::SaveReport& report, const SceneCounts* counts) {
  if (!session.wantsJson()) {
    if (counts) {
      showCounts(session, *counts);
      showSavedComponent(session, report);
    } else {
      showSaved(session, report, session.arguments().has("dry-run"));
    }
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("file", session.argument(0));
  if (counts) writeCounts(session, *counts);
  writeSaved(session, report);
  session.endResult();
  return ExitCode::done;
}

ExitCode jtToJt(Session& session, const std::string& input, const std::string& output) {
  const jt::Ref<JtPartition> partition = openFile(session, jtFileOf(DocumentName(input).path));
  if (const auto level = chosenLevel(session)) keepLevel(*partition, *level);
  jt::SaveOptions options;
  options.dryRun = session.arguments().has("dry-run");
  options.version = versionOption(session.arguments());
  const bool asksForForm = session.arguments().has("bits") || session.arguments().has("profile") ||
                           session.arguments().has("lossless");
  partition->setShapeEncoding(encoding(session));
  if (asksForForm || (options.version && *options.version != partition->version()))
    renewShapes(*partition, input);
  const jt::Ref<JtStorageLocation> location = outputLocation(output);
  const jt::SaveReport report = savePartition(*partition, location.get(), options, output);
  showSaveWarnings(session, report);
  return reportJt(session, report, nullptr);
}

mesh::Scene readScene(Session& session, const std::string& input, bool withAnnotations) {
  if (!isJt(input)) return loadMeshFile(session, input);
  const jt::Ref<JtPartition> partition = openWithParts(session, input);
  try {
    mesh::Scene scene =
        mesh::sceneOf(*partition, chosenLevel(session).value_or(0), withAnnotations);
    showNotes(session, input, scene);
    return scene;
  } catch (const JtFormatError& error) {
    throw readFailure(error, input);
  }
}

ExitCode toMesh(Session& session, const std::string& input, const std::string& output) {
  // The other formats have no lines, or no color for them.
  const bool withAnnotations = ApiSysFilePath(output).extension() == "glb";
  const mesh::Scene scene = readScene(session, input, withAnnotations);
  if (scene.models.empty())
    throw Failure(ExitCode::input, "no_geometry", "there is no geometry in it",
                  {.file = input, .segment = {}, .element = {}, .offset = {}});
  const bool dryRun = session.arguments().has("dry-run");
  std::vector<std::string> files{output};
  try {
    if (!dryRun) files = mesh::writeScene(scene, output);
  } catch (const JtFormatError& error) {
    throw saveFailure(error, output);
  }
  if (!dryRun)
    for (const std::string& file : files) session.noteWritten(file);
  const SceneCounts counts(scene);
  if (!session.wantsJson()) {
    showCounts(session, counts);
    for (const std::string& file : files)
      session.out().line((dryRun ? "would save " : "saved ") + printable(file));
    return ExitCode::done;
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", input);
  writeCounts(session, counts);
  json.key("saved");
  json.beginObject();
  json.member("file", output);
  json.nullMember("version");
  json.key("files");
  json.beginArray(JsonWriter::Layout::line);
  for (const std::string& file : files) json.value(file);
  json.end();
  json.end();
  session.endResult();
  return ExitCode::done;
}

/// Options that would change nothing are told, not passed over.
void checkOptions(const Session& session, bool fromJt, bool toJt) {
  const auto refuse = [&session](const char* name, const char* what) {
    if (session.arguments().has(name)) failUsage(std::string("--") + name + " is for " + what);
  };
  if (fromJt)
    for (const char* name : {"unit", "lods"}) refuse(name, "mesh files that are read");
  else
    refuse("lod", "JT files that are read");
  if (!toJt)
    for (const char* name : {"version", "bits", "lossless", "profile"})
      refuse(name, "JT files that are written");
}

}  // namespace

ExitCode runConvert(Session& session) {
  const std::string& input = session.argument(0);
  const std::string& output = session.argument(1);
  if (input == "-" || output == "-")
    failUsage("the formats show in the names of the files; '-' has none");
  if (!isJt(output)) {
    try {
      mesh::formatOf(output);
    } catch (const JtFormatError& error) {
      failUsage(output + ": " + error.message() + " or .jt");
    }
    checkOptions(session, isJt(input), false);
    return toMesh(session, input, output);
  }
  checkOptions(session, isJt(input), true);
  if (isJt(input)) return jtToJt(session, input, output);
  mesh::Scene scene = loadMeshFile(session, input);
  const SceneCounts counts(scene);
  const jt::SaveReport report = saveComponent(session, std::move(scene), output, true);
  return reportJt(session, report, &counts);
}

}  // namespace tool
