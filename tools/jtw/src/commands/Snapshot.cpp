#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "Assembly.h"
#include "Choice.h"
#include "Command.h"
#include "CommandLines.h"
#include "Component.h"
#include "FileList.h"
#include "InputFile.h"
#include "JtwEditError.h"
#include "JtwSelection.h"
#include "MeshInput.h"
#include "Progress.h"
#include "Session.h"
#include "picture/PictureOptions.h"
#include "picture/Scene.h"
#include "picture/SceneCounts.h"

namespace tool {
namespace {

struct Request {
  View view;
  SceneRequest scene;
  bool isSheet = false;
  std::vector<std::pair<std::string, Viewpoint>> sheet;
  std::optional<double> edgeAngle;
  double explosion = 0;
  std::size_t frames = 0;  ///< of a turntable; 0: one picture
  Vector axis{0, 0, 1};    ///< of the turntable
};

std::optional<float> readPixels(const Arguments& arguments, const char* name) {
  constexpr double kMost = 100;
  if (!arguments.has(name)) return std::nullopt;
  return static_cast<float>(readNumber(arguments, name, 1, 1, kMost));
}

Request readRequest(const Arguments& arguments) {
  Request request;
  request.view = readView(arguments);
  request.isSheet = arguments.has("sheet");
  if (request.isSheet) {
    for (const char* name : {"from", "up", "turntable"})
      if (arguments.has(name))
        failUsage("--sheet and --" + std::string(name) + " exclude each other");
    request.sheet = readSheet(arguments, request.view.viewpoint);
  }
  constexpr double kUsualAngle = 30;
  constexpr double kStraight = 180;
  if (arguments.has("edges") || arguments.has("edge-angle"))
    request.edgeAngle = readNumber(arguments, "edge-angle", kUsualAngle, 0, kStraight);
  constexpr double kFarthest = 100;
  request.explosion = readNumber(arguments, "explode", 0, 0, kFarthest);
  constexpr std::size_t kMostFrames = 3600;
  request.frames = arguments.positiveNumber("turntable").value_or(0);
  if (request.frames > kMostFrames) failUsage("--turntable is more than 3600 pictures");
  if (request.frames > 0 && arguments.has("from"))
    failUsage("--turntable and --from exclude each other");
  if (arguments.has("up")) request.axis = request.view.viewpoint.up;
  SceneRequest& scene = request.scene;
  // They say where something is, and would no longer be there.
  scene.withAnnotations = isOn(arguments, "pmi") && request.explosion == 0;
  scene.withWires = isOn(arguments, "wires");
  scene.withTextures = isOn(arguments, "textures");
  scene.withParts = request.explosion > 0;
  scene.lineWidth = readPixels(arguments, "line-width");
  scene.pointSize = readPixels(arguments, "point-size");
  scene.mostPlaces = mostPlaces(arguments);
  return request;
}

/// A JT file with what is drawn of it.
class Input {
 public:
  explicit Input(Session& session) {
    const std::string* key = session.arguments().value("key");
    const std::string* expression = session.arguments().value("select");
    if (key && expression) failUsage("--key and --select exclude each other");
    const std::string& given = session.argument(0);
    const std::string file = meshes_.jtFileFor(given, std::filesystem::path(given).stem().string());
    if (!key && !expression) {
      opened_ = openAssembly(session, file);
      return;
    }
    std::optional<jtw::ObjectAddress> address;
    std::optional<jtw::Selection> selection;
    if (key) address.emplace(*key);
    if (expression) selection.emplace(*expression);
    component_.emplace(session, file, false);
    const jtw::Objects& objects = component_->objects();
    const jtw::Reading reading(component_->root());
    const auto found =
        address ? std::vector{component_->find(*address)} : selection->someOf(objects);
    for (JtwNode* object : objects.nodes(found))
      if (JtNode* node = object->jtNode()) chosen_.insert(node);
    if (chosen_.empty())
      jtw::failRefused(objects.document(), "no_node",
                       "what is chosen is not drawn: frames and annotations have no node");
    opened_.parts = component_->partFiles();
  }

  JtPartition& partition() const {
    return component_ ? *component_->root().partition() : *opened_.top;
  }
  const std::vector<jt::PartFile>& parts() const noexcept { return opened_.parts; }
  /// Has a request ask for what is chosen.
  void restrict(SceneRequest& request) const {
    if (!component_) return;
    request.isShown = [this](std::span<JtNode* const> path) {
      return std::ranges::any_of(path, [this](JtNode* node) { return chosen_.contains(node); });
    };
  }

 private:
  MeshInputs meshes_;
  OpenedAssembly opened_;
  std::optional<Component> component_;
  std::unordered_set<const JtNode*> chosen_;
};

/// OUT-007.png
std::string frameName(const std::string& output, std::size_t number, std::size_t count) {
  constexpr std::size_t kDigits = 3;
  const std::string digits = std::to_string(number);
  const std::size_t width = std::max(kDigits, std::to_string(count).size());
  const std::size_t dot = output.rfind('.');
  return output.substr(0, dot) + "-" + std::string(width - digits.size(), '0') + digits +
         output.substr(dot);
}

/// Before the first picture is drawn: no set of pictures shall end halfway.
void requireFrames(const std::string& output, std::size_t count) {
  namespace fs = std::filesystem;
  std::error_code ignored;
  const fs::path folder = fs::path(output).parent_path();
  if (!folder.empty() && !fs::is_directory(folder, ignored))
    throw Failure(ExitCode::output, "unwritable", "there is no such folder",
                  {.file = folder.string()});
  for (std::size_t i = 1; i <= count; ++i) {
    const std::string name = frameName(output, i, count);
    if (fs::exists(name, ignored) && !fs::is_regular_file(name, ignored))
      throw Failure(ExitCode::output, "not_a_file", "a picture cannot take the place of that",
                    {.file = name});
  }
}

/// Draws and writes. @return the names of the files
std::vector<std::string> drawAll(Session& session, const Request& request, const Scene& scene,
                                 const std::string& output, const ProgressOf& progress) {
  const Scene* const one = &scene;
  const Scenes scenes(&one, 1);
  View view = request.view;
  fitToScenes(view, scenes);
  if (request.isSheet) {
    writePicture(session, output, drawSheet(scenes, view, request.sheet, progress));
    return {output};
  }
  if (request.frames == 0) {
    writePicture(session, output, drawView(scenes, view, aimed(scenes, view), 0, progress));
    return {output};
  }
  std::vector<std::string> names;
  double scale = 0;
  for (std::size_t i = 0; i < request.frames; ++i) {
    const double share = static_cast<double>(i) / static_cast<double>(request.frames);
    view.viewpoint = turned(request.view.viewpoint, request.axis, share);
    const Camera camera = aimedAround(scenes, view.viewpoint, request.axis);
    names.push_back(frameName(output, i + 1, request.frames));
    writePicture(session, names.back(), drawView(scenes, view, camera, scale, [&](double) {}));
    progress(static_cast<double>(i + 1) / static_cast<double>(request.frames));
  }
  return names;
}

void writeResult(Session& session, const Request& request, const Scene& scene,
                 const std::vector<std::string>& pictures, const std::vector<jt::PartFile>& parts) {
  const SceneCounts counts(scene);
  const std::string* view = session.arguments().value("view");
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", session.argument(0));
  json.member("picture", pictures.front());
  json.member("width", request.view.width);
  json.member("height", request.view.height);
  if (view)
    json.member("view", *view);
  else if (request.isSheet || session.arguments().has("from"))
    json.nullMember("view");
  else
    json.member("view", "iso");
  writeCounts(json, scene, counts);
  json.key("pictures");
  json.beginArray();
  for (const std::string& picture : pictures) json.value(picture);
  json.end();
  writeFiles(json, parts);
  session.endResult();
}

/// A picture of each file, in a folder.
ExitCode drawEach(Session& session, const std::string& folder) {
  static_cast<void>(readRequest(session.arguments()));  // a mistake is reported once
  return runIntoFolder(session, {.folder = folder, .extension = ".png"});
}

}  // namespace

ExitCode runSnapshot(Session& session) {
  if (const std::string* folder = session.arguments().value("output-dir"))
    return drawEach(session, *folder);
  requireNoList(session);
  requireArguments(session, 2, 2);
  const std::string& output = session.argument(1);
  Request request = readRequest(session.arguments());
  checkPictureName(output, request.view.background);
  if (request.frames > 0 && output == "-")
    failUsage("--turntable writes several pictures; '-' is one");
  claimOutput(session, output, false);
  if (request.frames > 0) requireFrames(output, request.frames);
  const Input input(session);
  input.restrict(request.scene);
  std::vector<std::string> pictures;
  Scene scene(input.partition(), request.scene);
  {
    Progress progress(session, "drawing");
    scene.decode(request.view.jobs, [&progress](double share) { progress.update(share / 2); });
    if (const auto change = session.inputChange()) throw readFailure(*change, {});
    if (request.edgeAngle) scene.findEdges(*request.edgeAngle, request.view.jobs);
    if (request.explosion > 0) scene.explode(request.explosion);
    pictures = drawAll(session, request, scene, output,
                       [&progress](double share) { progress.update(0.5 + share / 2); });
  }
  for (const std::string& error : scene.damaged())
    session.warn("a shape is not in the picture: " + error);
  for (const std::string& note : scene.notes()) session.warn(note);
  const SceneCounts counts(scene);
  if (counts.shapes == 0 && scene.annotations().size() == 0 && counts.wires == 0)
    session.warn("there is no geometry to be seen; the picture is empty");
  if (session.wantsJson()) {
    writeResult(session, request, scene, pictures, input.parts());
  } else if (output != "-") {
    session.report().line(
        (pictures.size() == 1 ? output : pictures.front() + " to " + pictures.back()) + ": " +
        counted(counts.shapes, "shape") + ", " + counted(counts.triangles, "triangle"));
  }
  return scene.damaged().empty() ? exitCodeOf(input.parts()) : ExitCode::no;
}

}  // namespace tool
