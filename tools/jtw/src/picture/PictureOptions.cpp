#include "PictureOptions.h"

#include <algorithm>
#include <charconv>
#include <span>

#include "ApiSysFilePath.h"
#include "Failure.h"
#include "ImageEncoder.h"
#include "InputFile.h"
#include "JtFormatError.h"
#include "JtParallel.h"
#include "JtwValueText.h"
#include "Output.h"
#include "Session.h"

namespace tool {
namespace {

/// "800x600", each from 1 to 4096.
void readSize(const std::string& text, View& view) {
  constexpr std::size_t kLargest = 4096;
  const char* const end = text.data() + text.size();
  const auto width = std::from_chars(text.data(), end, view.width);
  if (width.ec == std::errc() && width.ptr != end && *width.ptr == 'x') {
    const auto height = std::from_chars(width.ptr + 1, end, view.height);
    const auto fits = [](std::size_t size) { return size >= 1 && size <= kLargest; };
    if (height.ec == std::errc() && height.ptr == end && fits(view.width) && fits(view.height))
      return;
  }
  failUsage("--size is '" + text + "', not WIDTHxHEIGHT with numbers from 1 to 4096");
}

Color readBackground(const std::string& text) {
  if (text == "none" || text == "transparent") return {0, 0, 0, 0};
  const ApiGraColor color = jtw::parseColor("--background", text);
  float red = 0;
  float green = 0;
  float blue = 0;
  color.getRGB(red, green, blue);
  return {red, green, blue, static_cast<float>(color.getAlpha())};
}

std::optional<Vector> asVector(const std::string& text) {
  const auto numbers = jtw::parseNumbers(text);
  if (!numbers || numbers->size() != 3) return std::nullopt;
  return Vector{(*numbers)[0], (*numbers)[1], (*numbers)[2]};
}

std::optional<Vector> readVector(const Arguments& arguments, const char* name, bool isDirection) {
  const std::string* text = arguments.value(name);
  if (!text) return std::nullopt;
  const auto vector = asVector(*text);
  if (!vector || (isDirection && *vector == Vector{}))
    failUsage("--" + std::string(name) + " is '" + *text + "', not three numbers x,y,z" +
              (isDirection ? " that are a direction" : ""));
  return vector;
}

std::string knownViews() {
  std::string known;
  for (const std::string_view name : viewNames())
    known += (known.empty() ? "" : ", ") + std::string(name);
  return known;
}

Viewpoint viewpointOf(const std::string& text) {
  if (const auto named = namedView(text)) return *named;
  const auto along = asVector(text);
  if (!along || *along == Vector{})
    failUsage("--view is '" + text + "'; there are " + knownViews() +
              ", or x,y,z, the direction to look along");
  return {.toEye = minus({}, *along)};
}

Viewpoint readViewpoint(const Arguments& arguments) {
  const auto from = readVector(arguments, "from", false);
  const auto to = readVector(arguments, "to", false);
  const std::string* view = arguments.value("view");
  if (to && !from) failUsage("--to needs --from");
  if (from && view) failUsage("--view and --from exclude each other");
  Viewpoint viewpoint = view && !arguments.has("sheet") ? viewpointOf(*view) : Viewpoint();
  if (from && to && *from == *to) failUsage("--from and --to are the same place");
  viewpoint.eye = from;
  viewpoint.target = to;
  if (from && to) viewpoint.toEye = minus(*from, *to);
  if (const auto up = readVector(arguments, "up", true)) viewpoint.up = *up;
  constexpr double kNarrowest = 0.1;
  constexpr double kWidest = 150;
  viewpoint.perspective = readNumber(arguments, "perspective", 0, kNarrowest, kWidest);
  return viewpoint;
}

/// "x=10", or a point and a direction.
Section readSection(const std::string& text) {
  if (text.size() > 2 && text[1] == '=' && text[0] >= 'x' && text[0] <= 'z') {
    const auto number = jtw::parseNumbers(text.substr(2));
    if (number && number->size() == 1) {
      Section section{.point = {}, .normal = {}, .isTowardsEye = true};
      const auto axis = static_cast<std::size_t>(text[0] - 'x');
      section.point[axis] = number->front();
      section.normal[axis] = 1;
      return section;
    }
  }
  const auto numbers = jtw::parseNumbers(text);
  if (numbers && numbers->size() == 6) {
    const auto& n = *numbers;
    const Section section{.point = {n[0], n[1], n[2]}, .normal = {n[3], n[4], n[5]}};
    if (section.normal != Vector{}) return section;
  }
  failUsage("--section is '" + text +
            "', not x=NUMBER, y=NUMBER, z=NUMBER or x,y,z,nx,ny,nz: a point and a direction");
}

bool isJpeg(const std::string& name) {
  const std::string extension = ApiSysFilePath(name).extension();
  return extension == "jpg" || extension == "jpeg";
}

}  // namespace

double readNumber(const Arguments& arguments, const char* name, double fallback, double least,
                  double most) {
  const std::string* text = arguments.value(name);
  if (!text) return fallback;
  const auto numbers = jtw::parseNumbers(*text);
  if (!numbers || numbers->size() != 1 || numbers->front() < least || numbers->front() > most)
    failUsage("--" + std::string(name) + " is '" + *text + "', not a number from " +
              numberText(least) + " to " + numberText(most));
  return numbers->front();
}

bool isOn(const Arguments& arguments, const char* name) {
  const std::string* value = arguments.value(name);
  if (value && *value != "on" && *value != "off")
    failUsage("--" + std::string(name) + " is '" + *value + "', not on or off");
  return !value || *value == "on";
}

View readView(const Arguments& arguments) {
  View view;
  if (const std::string* size = arguments.value("size")) readSize(*size, view);
  view.viewpoint = readViewpoint(arguments);
  if (const std::string* color = arguments.value("background"))
    view.background = readBackground(*color);
  if (const std::string* section = arguments.value("section")) view.section = readSection(*section);
  constexpr std::uint64_t kMostJobs = 256;
  if (const auto jobs = arguments.positiveNumber("jobs"))
    view.jobs = static_cast<unsigned>(std::min(*jobs, kMostJobs));
  else
    view.jobs = static_cast<unsigned>(jt::coreCount());
  return view;
}

std::vector<std::pair<std::string, Viewpoint>> readSheet(const Arguments& arguments,
                                                         const Viewpoint& viewpoint) {
  const std::string* view = arguments.value("view");
  const std::string list = view ? *view : "front,right,top,iso";
  std::vector<std::pair<std::string, Viewpoint>> sheet;
  for (const std::string& name : commaList(list)) {
    const auto named = namedView(name);
    constexpr std::size_t kMost = 64;
    if (!named || sheet.size() == kMost)
      failUsage("--view is '" + list + "'; a sheet has up to 64 of these: " + knownViews());
    sheet.emplace_back(name, *named);
    sheet.back().second.perspective = viewpoint.perspective;
  }
  return sheet;
}

void fitToScenes(View& view, Scenes scenes) {
  const double unit = scenes.front()->millimetres();
  const auto convert = [unit](Vector& place) {
    for (double& coordinate : place) coordinate /= unit;
  };
  if (view.section) convert(view.section->point);
  Viewpoint& viewpoint = view.viewpoint;
  if (!viewpoint.eye) return;
  convert(*viewpoint.eye);
  if (viewpoint.target) {
    convert(*viewpoint.target);
    return;
  }
  viewpoint.target = middleOf(scenes).value_or(Vector{});
  viewpoint.toEye = minus(*viewpoint.eye, *viewpoint.target);
  if (viewpoint.toEye == Vector{})
    failUsage("--from is the middle of what is seen; --to says where to look");
}

void checkPictureName(const std::string& name, const Color& background) {
  if (name == "-") return;
  if (!isJpeg(name) && ApiSysFilePath(name).extension() != "png")
    failUsage("the picture's name is '" + name + "'; it has to end in .png, .jpg or .jpeg");
  if (isJpeg(name) && background[3] < 1)
    failUsage("a JPEG picture has no transparent background; '" + name + "' has to end in .png");
}

void writePicture(Session& session, const std::string& name, const Image& image) {
  const PixelRows pixels{
      .width = image.width, .height = image.height, .bytes = std::as_bytes(std::span(image.rgba))};
  const auto bytes = [&] {
    try {
      return name != "-" && isJpeg(name) ? encodeJpeg(pixels) : encodePng(pixels);
    } catch (const JtFormatError& error) {
      throw saveFailure(error, name);
    }
  }();
  writeBytes(name, bytes);
  session.noteWritten(name);
}

}  // namespace tool
