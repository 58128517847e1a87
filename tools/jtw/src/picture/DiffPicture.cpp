#include "DiffPicture.h"

#include <string>

#include "InputFile.h"
#include "Output.h"
#include "PictureOptions.h"
#include "Progress.h"
#include "Session.h"

namespace tool {

void checkDiffPicture(const Arguments& arguments) {
  const std::string* output = arguments.value("picture");
  if (!output)
    for (const char* name : {"size", "view", "from", "to", "up", "perspective", "background"})
      if (arguments.has(name)) failUsage("--" + std::string(name) + " is for --picture");
  if (!output) return;
  if (*output == "-") failUsage("--picture needs the name of a file; the answer is printed");
  checkPictureName(*output, readView(arguments).background);
}

std::optional<ComparedShapes> drawDiffPicture(Session& session, JtPartition& before,
                                              JtPartition& after, double tolerance) {
  const std::string* output = session.arguments().value("picture");
  if (!output) return std::nullopt;
  View view = readView(session.arguments());
  const SceneRequest request{.withAnnotations = false,
                             .withTextures = true,
                             .lineWidth = {},
                             .pointSize = {},
                             .labelOf = comparedLabels()};
  Progress progress(session, "drawing");
  Scene old(before, request);
  Scene now(after, request);
  const Scene* const both[] = {&now, &old};  // in the unit of the new one
  double begin = 0;
  for (Scene* scene : {&old, &now}) {
    scene->decode(view.jobs, [&](double share) { progress.update(begin + share / 4); });
    begin += 0.25;
    for (const std::string& error : scene->damaged())
      session.warn("a shape is not in the picture: " + error);
  }
  const ComparedShapes shapes = markDifferences(old, now, tolerance);
  if (const auto change = session.inputChange()) throw readFailure(*change, {});
  fitToScenes(view, both);
  view.captions = legendOf(shapes);
  writePicture(session, *output, drawView(both, view, aimed(both, view), 0, [&](double share) {
                 progress.update(0.5 + share / 2);
               }));
  return shapes;
}

void showDiffPicture(Session& session, const std::optional<ComparedShapes>& shapes) {
  if (!shapes) return;
  std::string line;
  for (const Caption& caption : legendOf(*shapes))
    line += (line.empty() ? ": " : ", ") + caption.text;
  session.out().line(printable(*session.arguments().value("picture")) + line);
}

void writeDiffPicture(JsonWriter& json, const Arguments& arguments,
                      const std::optional<ComparedShapes>& shapes) {
  if (!shapes) return json.nullMember("picture");
  json.key("picture");
  json.beginObject(JsonWriter::Layout::line);
  json.member("file", *arguments.value("picture"));
  writeShapes(json, *shapes);
  json.end();
}

}  // namespace tool
