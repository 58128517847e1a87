#include "JtkPMIDrawing.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string>

#include "JtMesh.h"
#include "JtkStrokeFont.h"

namespace jtk {
namespace {

constexpr std::uint16_t kCoordinateSystem = 0x0104;
constexpr std::uint16_t kPartTransform = 0x030c;
constexpr std::uint16_t kModelViewStyle = 0x0310;
constexpr float kUsualHeight = 3.5F;  // of text that states none, in units of the node

const JtString* attributeOf(const jt::PMIGenericEntity& entity, const char* name) {
  const JtString key(name);
  const auto found = std::ranges::find_if(
      entity.properties, [&key](const auto& each) { return each.key.text == key; });
  return found == entity.properties.end() ? nullptr : &found->value.text;
}

int numberOf(const jt::PMIGenericEntity& entity, const char* name) {
  const JtString* text = attributeOf(entity, name);
  const std::string digits = text ? text->stringToMbs() : std::string();
  int number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  return number;
}

jt::Vec3f colorOf(const jt::PMIGenericEntity& entity, std::initializer_list<const char*> names) {
  for (const char* name : names) {
    const JtString* text = attributeOf(entity, name);
    const auto number = text ? colorNumber(text->stringToMbs()) : std::nullopt;
    if (!number) continue;
    const auto component = [&](int shift) {
      return static_cast<float>((*number >> shift) & 0xffU) / 255.0F;
    };
    return {component(0), component(8), component(16)};
  }
  return {};
}

bool isVisible(const jt::PMIGenericEntity& entity) {
  if (entity.type == kCoordinateSystem || entity.type == kPartTransform ||
      entity.type == kModelViewStyle)
    return false;
  const JtString* visibility = attributeOf(entity, "JTTK MULTICAD VISIBILITY");
  return !(visibility && *visibility == JtString("FALSE")) && numberOf(entity, "blanked") == 0;
}

/// The plane of an entity.
struct Plane {
  jt::Vec3f origin{};
  jt::Vec3f x{1, 0, 0};
  jt::Vec3f y{0, 1, 0};

  explicit Plane(const jt::PMIBase& base) {
    if (base.frameFlag == 0) return;
    const auto point = [&](std::size_t first) {
      return jt::Vec3f{base.frame[first], base.frame[first + 1], base.frame[first + 2]};
    };
    origin = point(0);
    x = direction(point(3), x);
    y = direction(point(6), y);
  }
  jt::Vec3f at(float right, float up) const {
    jt::Vec3f place = origin;
    for (std::size_t i = 0; i < 3; ++i) place[i] += right * x[i] + up * y[i];
    return place;
  }
  /// Coordinates of a point in the plane.
  jt::Vec3f inPlane(const jt::Vec3f& point) const {
    jt::Vec3f result{};
    for (std::size_t i = 0; i < 3; ++i) {
      result[0] += (point[i] - origin[i]) * x[i];
      result[1] += (point[i] - origin[i]) * y[i];
    }
    return result;
  }

 private:
  jt::Vec3f direction(const jt::Vec3f& to, const jt::Vec3f& otherwise) const {
    jt::Vec3f result{to[0] - origin[0], to[1] - origin[1], to[2] - origin[2]};
    const float length = std::hypot(result[0], result[1], result[2]);
    if (!(length > 0) || !std::isfinite(length)) return otherwise;
    for (float& component : result) component /= length;
    return result;
  }
};

bool isFinite(const PMILine& line) {
  return std::ranges::all_of(line.points, [](const jt::Vec3f& point) {
    return std::ranges::all_of(point, [](float number) { return std::isfinite(number); });
  });
}

/// Appends polylines with `size` numbers a vertex as far as their indices are sound.
template <class Make>
void appendPolylines(const std::vector<std::int32_t>& indices, std::size_t vertices, Make make) {
  for (std::size_t i = 0; i + 1 < indices.size(); ++i) {
    if (indices[i] < 0 || indices[i + 1] < indices[i] ||
        static_cast<std::size_t>(indices[i + 1]) > vertices)
      return;
    make(i, static_cast<std::size_t>(indices[i]), static_cast<std::size_t>(indices[i + 1]));
  }
}

/// Draws one entity.
class EntityDrawing {
 public:
  EntityDrawing(const PMIDataManager& pmi, std::size_t index, bool facing,
                std::vector<PMILine>& out)
      : pmi_(pmi),
        index_(index),
        entity_(pmi.pmiDataGenericArray()[index]),
        out_(out),
        plane_(entity_.base) {
    const JtString* inPlane = attributeOf(entity_, "PMITextInPlane");
    const bool isFlat = inPlane ? *inPlane == JtString("0") : (entity_.userFlags & 0x0001) != 0;
    isFlat_ = facing && isFlat;
    lineColor_ = colorOf(entity_, {"PMIGeometryColor", "PMIGeometryColour"});
    textColor_ =
        colorOf(entity_, {"PMITextForegroundColor", "PMITextForegroundColour", "textColour"});
    width_ = static_cast<float>(std::clamp(numberOf(entity_, "PMIGeometryWidth"), 1, 32));
  }

  void run() {
    drawLines();
    if (entity_.lines.indices.size() < 2 || attributeOf(entity_, kTextStrokesAttribute) == nullptr)
      drawTexts();
  }

 private:
  void drawLines() {
    const auto& lines = entity_.lines;
    const std::size_t count = lines.indices.empty() ? 0 : lines.indices.size() - 1;
    const auto strokes = static_cast<std::size_t>(
        std::clamp(numberOf(entity_, kTextStrokesAttribute), 0, static_cast<int>(count)));
    appendPolylines(
        lines.indices, lines.vertices.size() / 3,
        [&](std::size_t index, std::size_t first, std::size_t end) {
          const bool isText = index >= count - strokes;
          PMILine line{{}, isText ? textColor_ : lineColor_, isText ? 1 : width_, {}, index_};
          for (std::size_t v = first; v < end; ++v) {
            const jt::Vec3f point{lines.vertices[v * 3], lines.vertices[v * 3 + 1],
                                  lines.vertices[v * 3 + 2]};
            line.points.push_back(isText && isFlat_ ? plane_.inPlane(point) : point);
          }
          if (isText && isFlat_) line.anchor = plane_.origin;
          add(std::move(line));
        });
  }

  void drawTexts() {
    const float height = entity_.base.textHeight > 0 ? entity_.base.textHeight : kUsualHeight;
    const bool hasLines = entity_.lines.indices.size() > 1;
    float baseline = 0;
    for (const jt::PMIText& text : entity_.texts) {
      if (text.indices.size() > 1) {
        appendPolylines(text.indices, text.vertices.size() / 2,
                        [&](std::size_t, std::size_t first, std::size_t end) {
                          std::vector<JtkStrokeFont::Point> points;
                          for (std::size_t v = first; v < end; ++v)
                            points.push_back({text.vertices[v * 2], text.vertices[v * 2 + 1]});
                          addInPlane(points, 0, 0);
                        });
      } else if (const JtString* line = hasLines ? nullptr : pmi_.string(text.stringId)) {
        // Text beside other lines is drawn by them already.
        const bool hasBox = std::ranges::any_of(text.box, [](float number) { return number != 0; });
        const float x = hasBox ? text.box[0] : 0;
        const float y = hasBox ? text.box[1] : baseline;
        for (const auto& stroke : JtkStrokeFont::builtIn().layOut(*line, height))
          addInPlane(stroke, x, y);
        baseline -= kLinePitch * height;
      }
    }
  }

  void addInPlane(const std::vector<JtkStrokeFont::Point>& points, float x, float y) {
    PMILine line{{}, textColor_, 1, {}, index_};
    for (const auto& [right, up] : points)
      line.points.push_back(isFlat_ ? jt::Vec3f{x + right, y + up, 0}
                                    : plane_.at(x + right, y + up));
    if (isFlat_) line.anchor = plane_.origin;
    add(std::move(line));
  }

  void add(PMILine line) {
    if (line.points.size() > 1 && isFinite(line)) out_.push_back(std::move(line));
  }

  const PMIDataManager& pmi_;
  const std::size_t index_;
  const jt::PMIGenericEntity& entity_;
  std::vector<PMILine>& out_;
  Plane plane_;
  bool isFlat_ = false;
  jt::Vec3f lineColor_{};
  jt::Vec3f textColor_{};
  float width_ = 1;
};

}  // namespace

std::optional<std::uint32_t> colorNumber(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
  if (text.starts_with("0x") || text.starts_with("0X")) text.remove_prefix(2);
  std::uint32_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, 16);
  return error == std::errc() ? std::optional(number) : std::nullopt;
}

std::vector<PMILine> drawnLines(const PMIDataManager& pmi, bool facing) {
  std::vector<PMILine> lines;
  const jt::Ref<const PMIDataManager> shown = pmi.generic();
  const auto& entities = shown->pmiDataGenericArray();
  for (std::size_t i = 0; i < entities.size(); ++i)
    if (isVisible(entities[i])) EntityDrawing(*shown, i, facing, lines).run();
  return lines;
}

}  // namespace jtk
