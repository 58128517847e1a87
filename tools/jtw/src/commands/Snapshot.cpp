#include <algorithm>
#include <charconv>
#include <string>
#include <thread>

#include "ApiSysFilePath.h"
#include "Assembly.h"
#include "Batch.h"
#include "Command.h"
#include "CommandLines.h"
#include "FileList.h"
#include "InputFile.h"
#include "JtFormatError.h"
#include "JtwValueText.h"
#include "Png.h"
#include "Progress.h"
#include "Session.h"
#include "picture/Drawing.h"

namespace tool {
namespace {

/// "800x600", each from 1 to 4096.
void parseSize(const std::string& text, DrawingRequest& request) {
  constexpr std::size_t kLargest = 4096;
  const char* const end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, request.width);
  if (width.ec == std::errc() && width.ptr != end && *width.ptr == 'x') {
    const auto height = std::from_chars(width.ptr + 1, end, request.height);
    const auto fits = [](std::size_t size) { return size >= 1 && size <= kLargest; };
    if (height.ec == std::errc() && height.ptr == end && fits(request.width) &&
        fits(request.height))
      return;
  }
  failUsage("--size is '" + text + "', not WIDTHxHEIGHT with numbers from 1 to 4096");
}

Color parseBackground(const std::string& text) {
  if (text == "transparent") return {0, 0, 0, 0};
  const ApiGraColor color = jtw::parseColor("--background", text);
  float red = 0;
  float green = 0;
  float blue = 0;
  color.getRGB(red, green, blue);
  return {red, green, blue, static_cast<float>(color.getAlpha())};
}

/// "on" or "off"; on when it is not given.
bool isOn(const Arguments& arguments, const char* name) {
  const std::string* value = arguments.value(name);
  if (value && *value != "on" && *value != "off")
    failUsage("--" + std::string(name) + " is '" + *value + "', not on or off");
  return !value || *value == "on";
}

DrawingRequest readRequest(const Arguments& arguments) {
  DrawingRequest request;
  if (const std::string* size = arguments.value("size")) parseSize(*size, request);
  if (const std::string* view = arguments.value("view")) request.view = *view;
  static_cast<void>(Camera(request.view));  // a wrong name is reported before a file is read
  if (const std::string* color = arguments.value("background"))
    request.background = parseBackground(*color);
  request.withAnnotations = isOn(arguments, "pmi");
  request.withWires = isOn(arguments, "wires");
  request.mostPlaces = mostPlaces(arguments);
  if (const auto jobs = arguments.positiveNumber("jobs"))
    request.jobs = static_cast<unsigned>(std::min<std::uint64_t>(*jobs, 256));
  else
    request.jobs = std::max(1U, std::thread::hardware_concurrency());
  return request;
}

/// A picture never takes the place of a JT file that was meant to be looked at.
void checkName(const std::string& output) {
  if (output != "-" && ApiSysFilePath(output).extension() != "png")
    failUsage("the picture's name is '" + output + "'; it has to end in .png");
}

std::vector<std::byte> pngOf(const Image& image, const std::string& output) {
  try {
    return encodePng({.width = image.width,
                      .height = image.height,
                      .bytes = std::as_bytes(std::span(image.rgba))});
  } catch (const JtFormatError& error) {
    throw saveFailure(error, output);
  }
}

void writeResult(Session& session, const DrawingRequest& request, const Drawing& drawing,
                 const std::string& output, const std::vector<jt::PartFile>& parts) {
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", session.argument(0));
  json.member("picture", output);
  json.member("width", request.width);
  json.member("height", request.height);
  json.member("view", request.view);
  json.member("shapes", drawing.shapes);
  json.member("triangles", drawing.triangles);
  json.member("polylines", drawing.polylines);
  json.member("points", drawing.points);
  json.member("damaged", drawing.damaged.size());
  json.member("annotationLines", drawing.annotationLines);
  json.member("wires", drawing.wires);
  writeFiles(json, parts);
  session.endResult();
}

/// A picture of each file, in a folder.
ExitCode drawEach(Session& session, const std::string& folder) {
  static_cast<void>(readRequest(session.arguments()));  // a mistake is reported once
  const FileList list = listFiles(session, Wanted::documents);
  const std::vector<std::string> outputs = outputsOf(list, folder, ".png");
  makeFoldersOf(outputs);
  std::vector<CommandPiece> pieces;
  for (std::size_t i = 0; i < outputs.size(); ++i)
    pieces.push_back({{list.files[i].path, outputs[i]}, list.files[i].path});
  return runForEach(session, pieces, Batch::jobs(session), true);
}

}  // namespace

ExitCode runSnapshot(Session& session) {
  if (const std::string* folder = session.arguments().value("output-dir"))
    return drawEach(session, *folder);
  requireNoList(session);
  requireArguments(session, 2, 2);
  const std::string& output = session.argument(1);
  const DrawingRequest request = readRequest(session.arguments());
  checkName(output);
  claimOutput(session, output, false);
  const OpenedAssembly opened = openAssembly(session, session.argument(0));
  const Drawing drawing = [&] {
    Progress progress(session, "drawing");
    return drawScene(*opened.top, request, [&progress](double share) { progress.update(share); });
  }();
  if (const auto change = session.inputChange()) throw readFailure(*change, {});
  writeBytes(output, pngOf(drawing.image, output));
  session.noteWritten(output);
  for (const std::string& error : drawing.damaged)
    session.warn("a shape is not in the picture: " + error);
  if (drawing.shapes == 0 && drawing.annotationLines == 0 && drawing.wires == 0)
    session.warn("there is no geometry to be seen; the picture is empty");
  if (session.wantsJson()) {
    writeResult(session, request, drawing, output, opened.parts);
  } else if (output != "-") {
    session.out().line(output + ": " + std::to_string(drawing.shapes) + " shapes, " +
                       std::to_string(drawing.triangles) + " triangles");
  }
  return drawing.damaged.empty() ? exitCodeOf(opened.parts) : ExitCode::no;
}

}  // namespace tool
