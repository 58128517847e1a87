#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "ApiSysFilePath.h"
#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtwTree.h"
#include "NodeView.h"
#include "Progress.h"
#include "Session.h"
#include "page/PageData.h"
#include "page/PageFile.h"
#include "page/PlaceIndex.h"
#include "picture/Comparison.h"
#include "picture/PictureOptions.h"
#include "picture/Scene.h"
#include "picture/SceneCounts.h"

namespace tool {
namespace {

/// OUT, or the name of the document with .html in the place of its extension.
std::string outputName(const Session& session) {
  if (const std::string* output = session.arguments().value("output")) {
    const std::string extension = ApiSysFilePath(*output).extension();
    if (*output != "-" && extension != "html" && extension != "htm")
      failUsage("the page's name is '" + *output + "'; it has to end in .html or .htm");
    return *output;
  }
  std::string name = DocumentName(session.argument(0)).path;
  while (name.size() > 1 && name.ends_with('/')) name.pop_back();
  const std::size_t dot = name.rfind('.');
  const std::size_t slash = name.rfind('/');
  if (dot != std::string::npos && (slash == std::string::npos || dot > slash + 1)) name.resize(dot);
  return name + ".html";
}

/// A document with what a page shows of it.
class Shown {
 public:
  Shown(Session& session, const std::string& document, SceneRequest request)
      : component_(session, document, false),
        reading_(component_.root()),
        places_(component_.objects().allPlaces()),
        index_(places_) {
    request.placeOf = [this](std::span<JtNode* const> path) { return index_.of(path); };
    scene_.emplace(*component_.root().partition(), request);
  }
  Shown(const Shown&) = delete;
  Shown& operator=(const Shown&) = delete;

  Component& component() noexcept { return component_; }
  Scene& scene() noexcept { return *scene_; }
  PlacedScene placed() const { return {places_, index_, *scene_}; }
  std::size_t objectCount() const { return component_.objects().entries().size(); }

 private:
  Component component_;
  jtw::Reading reading_;
  std::vector<ListedObject> places_;
  PlaceIndex index_;
  std::optional<Scene> scene_;
};

void writeResult(Session& session, const std::string& output, Shown& now,
                 const std::optional<ComparedShapes>& shapes, std::size_t bytes) {
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", session.argument(0));
  json.member("page", output);
  json.member("bytes", bytes);
  json.member("objects", now.objectCount());
  writeCounts(json, now.scene(), SceneCounts(now.scene()));
  json.key("compared");
  if (shapes) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("document", *session.arguments().value("compare"));
    writeShapes(json, *shapes);
    json.end();
  } else {
    json.null();
  }
  writeFiles(json, now.component().partFiles());
  session.endResult();
}

std::uint32_t levelOfDetail(const Arguments& arguments) {
  constexpr double kCoarsest = 1000;
  const double level = readNumber(arguments, "lod", 0, 0, kCoarsest);
  if (level != std::floor(level)) failUsage("--lod is not a whole number");
  return static_cast<std::uint32_t>(level);
}

}  // namespace

ExitCode runView(Session& session) {
  const Arguments& arguments = session.arguments();
  const std::string output = outputName(session);
  const std::string* other = arguments.value("compare");
  const unsigned jobs = readView(arguments).jobs;
  SceneRequest request{.levelOfDetail = levelOfDetail(arguments),
                       .textFacesViewer = false,
                       .withTextures = isOn(arguments, "textures"),
                       .lineWidth = {},
                       .pointSize = {},
                       .mostPlaces = mostPlaces(arguments)};
  std::string page = emptyPage();
  claimOutput(session, output, false);
  if (other) request.labelOf = comparedLabels();
  Shown now(session, session.argument(0), request);
  std::optional<Shown> before;
  if (other) before.emplace(session, *other, request);
  std::optional<ComparedShapes> shapes;
  {
    Progress progress(session, "reading shapes");
    for (Shown* shown : {&now, before ? &*before : nullptr})
      if (shown) shown->scene().decode(jobs, [&](double share) { progress.update(share); });
  }
  if (before) shapes = markDifferences(before->scene(), now.scene(), 0);
  PageContent content{
      .document = session.argument(0), .now = now.placed(), .before = {}, .shapes = shapes};
  if (before) content.before.emplace(before->placed());
  page = filledPage(std::move(page), pageData(session, content, jobs));
  if (const auto change = session.inputChange()) throw readFailure(*change, {});
  writeBytes(output, std::as_bytes(std::span(page)));
  session.noteWritten(output);
  bool isWhole = true;
  for (Shown* shown : {&now, before ? &*before : nullptr}) {
    if (!shown) continue;
    for (const std::string& error : shown->scene().damaged())
      session.warn("a shape is not in the page: " + error);
    for (const std::string& note : shown->scene().notes()) session.warn(note);
    isWhole = isWhole && shown->scene().damaged().empty();
  }
  if (session.wantsJson()) {
    writeResult(session, output, now, shapes, page.size());
  } else if (output != "-") {
    const SceneCounts counts(now.scene());
    session.report().line(printable(output) + ": " + counted(now.objectCount(), "object") + ", " +
                          counted(counts.shapes, "shape") + ", " +
                          counted(counts.triangles, "triangle"));
  }
  return isWhole ? exitCodeOf(now.component().partFiles()) : ExitCode::no;
}

}  // namespace tool
