#include <algorithm>
#include <unordered_set>

#include "ApiSysFilePath.h"
#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "FileList.h"
#include "InputFile.h"
#include "JtLOD.h"
#include "JtStackNodeIter.h"
#include "JtValidation.h"
#include "MeshComponent.h"
#include "MeshConversion.h"
#include "MeshFiles.h"
#include "MeshOptions.h"
#include "MeshReport.h"
#include "PartCopies.h"
#include "SaveResult.h"
#include "ScratchFolder.h"
#include "SelectedAssembly.h"
#include "Session.h"
#include "Validation.h"

namespace tool {
namespace {

bool isJt(const std::string& path) { return DocumentName(path).isJt; }

/// IN and OUT of the command line. Standard input and output have no name that could show their
/// format; what has to be a file goes through a temporary one.
class Ends {
 public:
  explicit Ends(Session& session) : session_(session) {
    const Arguments& arguments = session.arguments();
    input = shownInput = session.argument(0);
    output = session.argument(1);
    const bool isInput = input == "-";
    isOutput_ = output == "-";
    if (!isInput && arguments.has("from")) failUsage("--from is for standard input, '-'");
    if (!isOutput_ && arguments.has("to"))
      failUsage("--to is for standard output, '-', and for --output-dir");
    const std::string* from = arguments.value("from");
    fromJt = isInput ? !from || *from == "jt" : isJt(input);
    if (isInput && !fromJt) input = scratch_.place("input." + *from);
    if (isOutput_) nameOutput(arguments.value("to"));
    toJt = isJt(output);
    if (!toJt) checkFormat();
    if (isOutput_) claimOutput(session, "-", arguments.has("dry-run"));
  }
  /// Fetches standard input.
  void begin() {
    if (input != shownInput) writeBytes(input, readBytes("-"));
  }
  /// Hands the result over to standard output.
  void finish() {
    if (isOutput_ && !session_.arguments().has("dry-run")) writeBytes("-", readBytes(output));
  }
  std::string shownOutput() const { return isOutput_ ? "standard output" : output; }
  bool isOutput() const noexcept { return isOutput_; }

  std::string input;
  std::string shownInput;
  std::string output;
  bool fromJt = false;
  bool toJt = false;

 private:
  void nameOutput(const std::string* format) {
    if (!format) failUsage("standard output needs --to FORMAT: jt, glb, stl or ply");
    if (*format == "obj")
      failUsage("an OBJ file has a second one, with its materials; name a file");
    output = scratch_.place("output." + *format);
  }
  void checkFormat() const {
    try {
      mesh::formatOf(output);
    } catch (const JtFormatError& error) {
      failUsage((isOutput_ ? "--to" : output) + ": " + error.message() + " or .jt");
    }
  }

  Session& session_;
  ScratchFolder scratch_;
  bool isOutput_ = false;
};

/// Calls `take` for every node of that class in the assembly's files, once.
template <class T, class Take>
void forEachNode(JtPartition& assembly, const Take& take) {
  std::vector<jt::Ref<T>> found;
  std::unordered_set<const JtNode*> seen;  // of the nodes that several paths reach
  const auto iterator = jt::make<JtStackNodeIter>();
  iterator->setPreVisit([&found, &seen](JtNode* node) {
    if (node->numParents() > 1 && !seen.insert(node).second)
      return JtStackNodeIter::Next::skipChildren;
    if (auto* wanted = jt::as<T>(node)) found.emplace_back(wanted);
    return JtStackNodeIter::Next::descend;
  });
  iterator->run(&assembly);
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
    if (!mesh) throw Failure(ExitCode::input, "damaged", jt::lastError(), {.file = path});
    shape.setMesh(mesh);
  });
}

ExitCode reportJt(Session& session, const jt::SaveReport& report, const SceneCounts* counts,
                  const std::optional<double>& rounding, const std::vector<jt::Loss>& losses,
                  const std::vector<jt::PartFile>& parts) {
  if (!session.wantsJson()) {
    if (counts) {
      showCounts(session, *counts);
      showSavedComponent(session, report);
    } else {
      const bool dryRun = session.arguments().has("dry-run");
      showSaved(session, report, dryRun);
      showLosses(session.report(), losses, dryRun);
    }
    showRounding(session, rounding);
    return exitCodeOf(parts);
  }
  session.beginResult();
  session.json().member("file", session.argument(0));
  if (counts) writeCounts(session, *counts);
  writeSaved(session, report);
  writeRounding(session, rounding);
  writeLosses(session.json(), losses);
  writeFiles(session.json(), parts);
  session.endResult();
  return exitCodeOf(parts);
}

ExitCode jtToJt(Session& session, Ends& ends) {
  const std::string& input = ends.input;
  const std::string file = jtFileOf(DocumentName(input).path);
  const SelectedAssembly opened =
      session.arguments().has("top-only")
          ? SelectedAssembly(OpenedAssembly{openFile(session, file), {}})
          : SelectedAssembly(session, input);
  const auto level = chosenLevel(session);
  if (level) keepLevel(opened.top(), *level);
  jt::SaveOptions options;
  options.dryRun = session.arguments().has("dry-run");
  options.version = versionOption(session.arguments());
  options.shapeEncoding = encoding(session);
  const bool asksForForm = session.arguments().has("bits") || session.arguments().has("profile") ||
                           session.arguments().has("lossless");
  const auto differs = [&](const JtPartition& partition) {
    return options.version && *options.version != partition.version();
  };
  const bool anyDiffers =
      differs(opened.top()) || std::ranges::any_of(opened.parts(), [&](const jt::PartFile& part) {
        return part.partition && differs(*part.partition);
      });
  const bool stores = session.arguments().has("check");
  if (stores)
    storeValidations(session, opened.top(), input);
  else if (level)
    jt::removeValidations(opened.top());
  if (asksForForm || anyDiffers) renewShapes(opened.top(), input);
  const bool changesParts =
      opened.isSelection() || stores || level || asksForForm || options.version;
  const auto rounding =
      asksForForm ? roundingOf(session, opened.top(), *options.shapeEncoding) : std::nullopt;
  const std::vector<jt::PartFile> parts =
      ends.isOutput() ? std::vector<jt::PartFile>() : opened.parts();
  const jt::SaveReport report = saveCopy(
      opened.top(), opened.top(), parts,
      {.input = file, .output = ends.isOutput() ? "-" : ends.output, .changesParts = changesParts},
      options);
  showSaveWarnings(session, report);
  return reportJt(session, report, nullptr, rounding, listLosses(opened.top(), report),
                  opened.parts());
}

mesh::Scene readScene(Session& session, const Ends& ends, const mesh::SceneLines& lines,
                      std::vector<jt::PartFile>& parts) {
  const std::string& input = ends.shownInput;
  if (!ends.fromJt) return loadMeshFile(session, ends.input, input);
  SelectedAssembly opened(session, input);
  try {
    mesh::Scene scene = mesh::sceneOf(opened.top(), chosenLevel(session).value_or(0), lines,
                                      mostPlaces(session.arguments()));
    for (jt::PartFile& part : opened.parts())
      parts.push_back({std::move(part.file), part.state, std::move(part.error), nullptr, {}});
    showNotes(session, input, scene);
    if (const auto change = session.inputChange()) throw JtFormatError(*change);
    return scene;
  } catch (const JtFormatError& error) {
    throw readFailure(error, input);
  }
}

/// The formats without instances repeat a mesh wherever it occurs.
void checkTriangles(const Session& session, const mesh::Scene& scene, const std::string& input) {
  const std::uint64_t most =
      session.arguments().positiveNumber("max-triangles").value_or(50'000'000);
  std::uint64_t count = 0;
  for (const mesh::Node& node : scene.nodes) {
    if (!node.model) continue;
    for (const mesh::Surface& surface : scene.models[*node.model].surfaces)
      count += scene.meshes[surface.mesh]->primitiveCount();
    if (count > most)
      throw Failure(ExitCode::input, "too_many_triangles",
                    "the meshes add up to more than " + std::to_string(most) +
                        " triangles, each counted where it occurs; option: --max-triangles",
                    {.file = input});
  }
}

ExitCode toMesh(Session& session, Ends& ends) {
  const std::string& input = ends.shownInput;
  const std::string& output = ends.output;
  // The other formats have no lines; annotations need a color of their own as well.
  const std::string extension = ApiSysFilePath(output).extension();
  const mesh::SceneLines lines{.ofAnnotations = extension == "glb",
                               .ofWires = extension == "glb" || extension == "obj"};
  std::vector<jt::PartFile> parts;
  // Of a mesh file that is read, the option is about that one.
  const auto up = ends.fromJt ? upAxis(session.arguments()) : std::nullopt;
  const mesh::Scene scene = readScene(session, ends, lines, parts);
  if (scene.models.empty())
    throw Failure(ExitCode::input, "no_geometry", "there is no geometry in it", {.file = input});
  if (extension != "glb") checkTriangles(session, scene, input);
  const bool dryRun = session.arguments().has("dry-run");
  std::vector<std::string> files = mesh::filesOf(scene, output);
  try {
    if (!dryRun) mesh::writeScene(scene, output, up.value_or(mesh::UpAxis::z));
  } catch (const JtFormatError& error) {
    throw saveFailure(error, output);
  }
  ends.finish();
  files[0] = ends.shownOutput();
  if (!dryRun)
    for (const std::string& file : files) session.noteWritten(file);
  const SceneCounts counts(scene);
  if (!session.wantsJson()) {
    showCounts(session, counts);
    for (const std::string& file : files)
      session.report().line((dryRun ? "would save " : "saved ") + printable(file));
    return exitCodeOf(parts);
  }
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", ends.shownInput);
  writeCounts(session, counts);
  json.key("saved");
  json.beginObject();
  json.member("file", files[0]);
  json.nullMember("version");
  json.key("files");
  json.beginArray(JsonWriter::Layout::line);
  for (const std::string& file : files) json.value(file);
  json.end();
  json.end();
  json.key("alsoSaved");
  json.beginArray();
  for (const std::string& file : std::span(files).subspan(1)) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("file", file);
    json.nullMember("version");
    json.end();
  }
  json.end();
  writeFiles(json, parts);
  session.endResult();
  return exitCodeOf(parts);
}

/// Options that would change nothing are reported, not passed over.
void checkOptions(const Session& session, bool fromJt, const std::string& output) {
  const bool toJt = isJt(output);
  const auto refuse = [&session](const char* name, const char* what) {
    if (session.arguments().has(name)) failUsage(std::string("--") + name + " is for " + what);
  };
  if (fromJt && (toJt || ApiSysFilePath(output).extension() == "glb"))
    refuse("up",
           "mesh files that are read, and for .obj, .stl and .ply, which leave the axis open");
  if (fromJt)
    for (const char* name : {"unit", "lods", "max-memory", "max-seconds"})
      refuse(name, "mesh files that are read");
  else
    for (const char* name : {"lod", "select", "top-only", "follow-links", "max-places"})
      refuse(name, "JT files that are read");
  if (session.arguments().has("select") && session.arguments().has("top-only"))
    failUsage("--select is for whole assemblies; --top-only is not");
  if (toJt)
    for (const char* name : {"max-places", "max-triangles"})
      refuse(name, "mesh files that are written");
  if (!toJt)
    for (const char* name : {"version", "bits", "lossless", "profile", "check", "top-only"})
      refuse(name, "JT files that are written");
}

}  // namespace

ExitCode runConvert(Session& session) {
  if (session.arguments().has("output-dir")) failUsage("--output-dir is for the program jtw");
  requireNoList(session);
  requireArguments(session, 2, 2);
  Ends ends(session);
  checkOptions(session, ends.fromJt, ends.output);
  ends.begin();
  if (!ends.toJt) return toMesh(session, ends);
  if (ends.fromJt) return jtToJt(session, ends);
  mesh::Scene scene = loadMeshFile(session, ends.input, ends.shownInput);
  const SceneCounts counts(scene);
  SavedScene saved = saveComponent(session, std::move(scene), ends.output, true);
  ends.finish();
  saved.report.file = ends.shownOutput();
  return reportJt(session, saved.report, &counts, saved.rounding, {}, {});
}

void convertMeshFile(const std::string& mesh, const std::string& jtFile) {
  const char* const words[] = {"convert", mesh.c_str(), jtFile.c_str(), "--quiet"};
  const auto exit = static_cast<ExitCode>(runProgram(words));
  if (exit != ExitCode::done)
    throw Failure(exit, "not_convertible", "the mesh cannot be converted", {.file = mesh});
}

}  // namespace tool
