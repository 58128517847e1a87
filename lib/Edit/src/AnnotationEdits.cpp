#include "AnnotationEdits.h"

#include <array>
#include <charconv>
#include <utility>

#include "JtkwPMITypeMaps.h"
#include "JtwEditError.h"
#include "JtwObjects.h"
#include "JtwPMIAnnotation.h"
#include "JtwPMIs.h"
#include "JtwValueText.h"

namespace jtw {
namespace {

using Change = std::function<void()>;
using Graphics = ApiGraphicsPMIAnnotationData;

int parseInteger(const std::string& name, const std::string& value, int least) {
  int number = 0;
  const char* const end = value.data() + value.size();
  const auto [stop, error] = std::from_chars(value.data(), end, number);
  if (error != std::errc() || stop != end || number < least)
    failUsage("the " + name + " is '" + value + "', not a whole number from " +
              std::to_string(least) + " on");
  return number;
}

/// Strokes of a text that is known are drawn anew.
void forgetStrokes(ApiWmPMIAnnotationData& data) {
  if (!data.textLines.empty()) data.graphics.textPolylineSet.clear();
}

void setFlag(Graphics& graphics, Graphics::Flag flag) {
  graphics.instanceFlags = static_cast<short>(graphics.instanceFlags | flag);
}

Change changeText(JtwPMIAnnotation& annotation, const std::string& value) {
  parseText("text", value);
  std::vector<std::string> lines;
  for (std::size_t first = 0; first <= value.size();) {
    const std::size_t end = std::min(value.find('\n', first), value.size());
    lines.push_back(value.substr(first, end - first));
    first = end + 1;
  }
  if (value.empty()) lines.clear();
  return [&annotation, lines] {
    annotation.annotationData().textLines = lines;
    annotation.annotationData().graphics.textPolylineSet.clear();
  };
}

Change changeSize(JtwPMIAnnotation& annotation, const std::string& value) {
  const int size = parseInteger("size", value, 1);
  return [&annotation, size] {
    ApiWmPMIAnnotationData& data = annotation.annotationData();
    data.graphics.fontSize = size;
    data.graphics.textHeight = 0;  // that of the size
    setFlag(data.graphics, Graphics::FONT_SIZE);
    forgetStrokes(data);
  };
}

Change changeLayer(JtwPMIAnnotation& annotation, const std::string& value) {
  const int layer = parseInteger("layer", value, -1);
  return [&annotation, layer] { annotation.annotationData().layer = layer; };
}

template <ApiGraColor Graphics::*member, Graphics::Flag flag>
Change changeColor(JtwPMIAnnotation& annotation, const std::string& value) {
  const ApiGraColor color = parseColor("color", value);
  return [&annotation, color] {
    Graphics& graphics = annotation.annotationData().graphics;
    graphics.*member = color;
    setFlag(graphics, flag);
    if (flag == Graphics::BACKGROUND_COLOR && color.getAlpha() < 1)
      setFlag(graphics, Graphics::BACKGROUND_OPACITY);
  };
}

Change changePlane(JtwPMIAnnotation& annotation, const std::string& value) {
  std::array<double, 6> numbers{};
  const char* at = value.data();
  const char* const end = value.data() + value.size();
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const auto [stop, error] = std::from_chars(at, end, numbers[i]);
    const bool isLast = i + 1 == numbers.size();
    if (error != std::errc() || (isLast ? stop != end : stop == end || *stop != ','))
      failUsage("the plane is '" + value + "', not x,y,z,x,y,z");
    at = stop + 1;
  }
  const RTVec3D x(numbers[0], numbers[1], numbers[2]);
  const RTVec3D y(numbers[3], numbers[4], numbers[5]);
  if (!(cross(x, y).length() > 0)) failUsage("the directions of the plane are parallel");
  return [&annotation, x, y] {
    ApiWmPMIAnnotationData& data = annotation.annotationData();
    data.graphics.displayPlaneXAxis = x;
    data.graphics.displayPlaneYAxis = y;
    forgetStrokes(data);
  };
}

struct Setting {
  std::string_view name;
  Change (*prepare)(JtwPMIAnnotation&, const std::string&);
};

constexpr std::array<Setting, 7> kSettings{{
    {"color", changeColor<&Graphics::textForegroundColor, Graphics::FOREGROUND_COLOR>},
    {"text", changeText},
    {"size", changeSize},
    {"layer", changeLayer},
    {"backgroundColor", changeColor<&Graphics::textBackgroundColor, Graphics::BACKGROUND_COLOR>},
    {"geomColor", changeColor<&Graphics::geomColor, Graphics::GEOM_COLOR>},
    {"plane", changePlane},
}};

const Setting* findSetting(std::string_view name) {
  for (const Setting& setting : kSettings)
    if (setting.name == name) return &setting;
  return nullptr;
}

}  // namespace

ApiPMIType parseAnnotationType(const Objects& objects, const std::string& name) {
  const JtkwPMITypeMaps& maps = JtkwPMITypeMaps::the();
  std::string names;
  for (int i = 0; i < API_PMI_TYPE_COUNT; ++i) {
    const auto type = static_cast<ApiPMIType>(i);
    if (maps.getPMITypeName(type) != name) {
      names += (names.empty() ? "" : ", ") + maps.getPMITypeName(type);
      continue;
    }
    JtkEntity::TypeID jtkType = JtkEntity::PMI_NONE;
    int subType = -1;
    maps.getJtTkFromApiPMIType(type, jtkType, subType);
    if (jtkType == JtkEntity::PMI_NONE)
      failRefused(objects.document(), "not_supported", "a '" + name + "' cannot be saved");
    return type;
  }
  failUsage("there is no type '" + name + "'; those that there are: " + names);
}

bool isAnnotationSetting(std::string_view name) { return name != "color" && findSetting(name); }

std::function<void()> prepareAnnotationChange(JtwPMIAnnotation& annotation, std::string_view name,
                                              const std::string& value) {
  return findSetting(name)->prepare(annotation, value);
}

void placeAnnotation(JtwPMIAnnotation& annotation, const RTTran3D& location) {
  ApiWmPMIAnnotationData& data = annotation.annotationData();
  jtw::transformGraphics(data.graphics, location * annotation.relLoc().inverse());
  forgetStrokes(data);
  // A file keeps the rotation in the plane alone.
  annotation.setRelLoc(RTTran3D::fromTranslation(location.getTranslation()));
}

}  // namespace jtw
