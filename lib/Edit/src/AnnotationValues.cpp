// Values of frames and annotations.

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <limits>
#include <span>

#include "ApiSysStringConvertors.h"
#include "JtkwPMITypeMaps.h"
#include "JtwPMIAnnotation.h"
#include "PatchValues.h"

namespace jtw {
namespace {

constexpr int kNotStored = -1;
/// The place of an entity that no PMI have: the next write makes it.
constexpr int kToBeStored = std::numeric_limits<int>::max();

using Graphics = ApiGraphicsPMIAnnotationData;
using Numbers = std::vector<double>;
using Polylines = RTTwoLevelRWTOrderedVector<RTVec3D>;

std::int64_t integer(const PatchValue& value) {
  const auto* number = std::get_if<std::int64_t>(&value);
  return number ? *number : 0;
}
bool truth(const PatchValue& value) {
  const bool* is = std::get_if<bool>(&value);
  return is && *is;
}
std::string text(const PatchValue& value) {
  const auto* held = std::get_if<std::string>(&value);
  return held ? *held : std::string();
}
const Numbers& numbers(const PatchValue& value) {
  static const Numbers kNone;
  const auto* held = std::get_if<Numbers>(&value);
  return held ? *held : kNone;
}
PatchValue textOrNothing(const std::string& text) {
  return text.empty() ? PatchValue() : PatchValue(text);
}

Numbers colorNumbers(const ApiGraColor& color) {
  float r = 0;
  float g = 0;
  float b = 0;
  color.getRGB(r, g, b);
  return {static_cast<double>(r), static_cast<double>(g), static_cast<double>(b),
          static_cast<double>(color.getAlpha())};
}
ApiGraColor colorFrom(const PatchValue& value) {
  const Numbers& n = numbers(value);
  if (n.size() != 4) return {};
  return ApiGraColor::fromUnit(static_cast<float>(n[0]), static_cast<float>(n[1]),
                               static_cast<float>(n[2]), static_cast<float>(n[3]));
}

Numbers vectorNumbers(std::initializer_list<RTVec3D> vectors) {
  Numbers list;
  for (const RTVec3D& v : vectors) list.insert(list.end(), {v.x, v.y, v.z});
  return list;
}
RTVec3D vectorFrom(const Numbers& n, std::size_t at) { return {n[at], n[at + 1], n[at + 2]}; }

/// Of each polyline the number of its points, and their coordinates.
PatchValue polylineNumbers(const Polylines& lines) {
  if (lines.empty()) return {};
  Numbers list;
  for (const auto& line : lines) {
    list.push_back(static_cast<double>(line.size()));
    for (const RTVec3D& point : line) list.insert(list.end(), {point.x, point.y, point.z});
  }
  return list;
}
bool arePolylines(const Numbers& list) {
  for (std::size_t at = 0; at < list.size();) {
    const double count = list[at++];
    const std::size_t points = (list.size() - at) / 3;
    const auto left = static_cast<double>(points);
    if (!(count >= 0 && count <= left) || std::trunc(count) != count) return false;
    at += 3 * static_cast<std::size_t>(count);
  }
  return true;
}
Polylines polylinesFrom(const PatchValue& value) {
  const Numbers& list = numbers(value);
  Polylines lines;
  for (std::size_t at = 0; at < list.size();) {
    auto& line = lines.emplace_back();
    for (auto left = static_cast<std::size_t>(list[at++]); left > 0; --left, at += 3)
      line.push_back(vectorFrom(list, at));
  }
  return lines;
}

std::string joined(const std::vector<std::string>& lines) {
  std::string all;
  for (const std::string& line : lines) all.append(&line == lines.data() ? "" : "\n").append(line);
  return all;
}
std::vector<std::string> split(const std::string& all) {
  std::vector<std::string> lines;
  for (std::size_t first = 0; first <= all.size();) {
    const std::size_t end = std::min(all.find('\n', first), all.size());
    lines.push_back(all.substr(first, end - first));
    first = end + 1;
  }
  return lines;
}

ApiPMIType typeFrom(const std::string& name) {
  for (int i = 0; i < API_PMI_TYPE_COUNT; ++i)
    if (JtkwPMITypeMaps::the().getPMITypeName(static_cast<ApiPMIType>(i)) == name)
      return static_cast<ApiPMIType>(i);
  return API_PMI_NONE;
}

/// A value of all PMI.
struct Row {
  const char* name;
  ValueShape shape;
  std::size_t count;
  PatchValue (*read)(JtwPMI&);
  void (*write)(JtwPMI&, const PatchValue&);
};

/// A value of annotations alone.
struct AnnotationRow {
  const char* name;
  ValueShape shape;
  std::size_t count;
  PatchValue (*read)(const ApiWmPMIAnnotationData&);
  void (*write)(ApiWmPMIAnnotationData&, const PatchValue&);
};

// By name, as facts are ordered.
constexpr std::array<Row, 11> kRows{{
    {"attachment", ValueShape::integer, 0,
     [](JtwPMI& pmi) {
       const ApiProtoKey& key = pmi.KrData()->attachmentParent;
       return key.isNull() ? PatchValue() : PatchValue(std::int64_t{key.getAsLong()});
     },
     [](JtwPMI& pmi, const PatchValue& value) {
       pmi.KrData()->attachmentParent = ApiProtoKey(static_cast<long>(integer(value)));
     }},
    {"attachmentType", ValueShape::integer, 0,
     [](JtwPMI& pmi) {
       const auto type = static_cast<std::int64_t>(pmi.KrData()->attachmentType);
       return type == 0 ? PatchValue() : PatchValue(type);
     },
     [](JtwPMI& pmi, const PatchValue& value) {
       pmi.KrData()->attachmentType = static_cast<AttachmentType>(integer(value));
     }},
    {"attributes", ValueShape::text, 0,
     [](JtwPMI& pmi) { return textOrNothing(pmi.KrData()->attributes); },
     [](JtwPMI& pmi, const PatchValue& value) { pmi.KrData()->attributes = text(value); }},
    {"color", ValueShape::numbers, 4,
     [](JtwPMI& pmi) {
       bool isDefault = true;
       const ApiGraColor color = pmi.color(isDefault);
       return isDefault ? PatchValue() : PatchValue(colorNumbers(color));
     },
     [](JtwPMI& pmi, const PatchValue& value) { pmi.setColor(colorFrom(value), false, false); }},
    // Whether a frame has an entity in the PMI beside its place in the list.
    {"coordinateSystem", ValueShape::truth, 0,
     [](JtwPMI& pmi) {
       const bool is = pmi.type() == JtwNode::JT_FRAME_NODE && pmi.id() >= 0;
       return is ? PatchValue(true) : PatchValue();
     },
     [](JtwPMI& pmi, const PatchValue& value) {
       if (pmi.type() != JtwNode::JT_FRAME_NODE) return;
       if (!truth(value)) pmi.setStored(kNotStored);
       if (truth(value) && pmi.id() < 0) pmi.setId(kToBeStored);
     }},
    {"displayed", ValueShape::truth, 0,
     [](JtwPMI& pmi) { return pmi.KrData()->displayState ? PatchValue() : PatchValue(false); },
     [](JtwPMI& pmi, const PatchValue& value) {
       pmi.KrData()->displayState = std::holds_alternative<std::monostate>(value) || truth(value);
     }},
    {"name", ValueShape::text, 0,
     [](JtwPMI& pmi) {
       return textOrNothing(ApiSysStringConvertors::UnicodeToRWCString(pmi.KrData()->name));
     },
     [](JtwPMI& pmi, const PatchValue& value) {
       pmi.KrData()->name = ApiSysStringConvertors::RWCStringToUnicode(text(value));
     }},
    {"place", ValueShape::numbers, 16,
     [](JtwPMI& pmi) {
       const RTTran3D place = pmi.relLoc();
       return PatchValue(Numbers(place.values().begin(), place.values().end()));
     },
     [](JtwPMI& pmi, const PatchValue& value) {
       const Numbers& n = numbers(value);
       pmi.setRelLoc(n.empty() ? RTTran3D() : RTTran3D(std::span<const double, 16>(n.data(), 16)));
     }},
    {"preserved", ValueShape::truth, 0,
     [](JtwPMI& pmi) { return pmi.KrData()->preserved ? PatchValue(true) : PatchValue(); },
     [](JtwPMI& pmi, const PatchValue& value) { pmi.KrData()->preserved = truth(value); }},
    {"relStringId", ValueShape::text, 0,
     [](JtwPMI& pmi) { return textOrNothing(pmi.KrData()->relStringId); },
     [](JtwPMI& pmi, const PatchValue& value) { pmi.KrData()->relStringId = text(value); }},
    {"uniqueId", ValueShape::text, 0,
     [](JtwPMI& pmi) { return textOrNothing(pmi.KrData()->globalUniqueId.getAsString()); },
     [](JtwPMI& pmi, const PatchValue& value) {
       pmi.KrData()->globalUniqueId = ApiGlobalUniqueId(text(value));
     }},
}};

using Data = ApiWmPMIAnnotationData;

template <ApiGraColor Graphics::*member>
constexpr AnnotationRow colorRow(const char* name) {
  return {name, ValueShape::numbers, 4,
          [](const Data& data) { return PatchValue(colorNumbers(data.graphics.*member)); },
          [](Data& data, const PatchValue& value) { data.graphics.*member = colorFrom(value); }};
}
template <Polylines Graphics::*member>
constexpr AnnotationRow lineRow(const char* name) {
  return {
      name, ValueShape::numbers, 0,
      [](const Data& data) { return polylineNumbers(data.graphics.*member); },
      [](Data& data, const PatchValue& value) { data.graphics.*member = polylinesFrom(value); }};
}
template <class T, T Graphics::*member>
constexpr AnnotationRow integerRow(const char* name) {
  return {
      name, ValueShape::integer, 0,
      [](const Data& data) { return PatchValue(static_cast<std::int64_t>(data.graphics.*member)); },
      [](Data& data, const PatchValue& value) {
        data.graphics.*member = static_cast<T>(integer(value));
      }};
}
template <bool Graphics::*member>
constexpr AnnotationRow truthRow(const char* name) {
  return {name, ValueShape::truth, 0,
          [](const Data& data) { return PatchValue(data.graphics.*member); },
          [](Data& data, const PatchValue& value) { data.graphics.*member = truth(value); }};
}

constexpr std::array<AnnotationRow, 17> kAnnotationRows{{
    colorRow<&Graphics::textBackgroundColor>("backgroundColor"),
    truthRow<&Graphics::textHasBorder>("border"),
    integerRow<short, &Graphics::instanceFlags>("flags"),
    colorRow<&Graphics::geomColor>("geomColor"),
    integerRow<int, &Graphics::geomWidth>("geomWidth"),
    truthRow<&Graphics::textInPlane>("inPlane"),
    {"layer", ValueShape::integer, 0,
     [](const Data& data) { return PatchValue(std::int64_t{data.layer}); },
     [](Data& data, const PatchValue& value) { data.layer = static_cast<int>(integer(value)); }},
    {"lineTypes", ValueShape::numbers, 0,
     [](const Data& data) {
       const auto& types = data.graphics.geomPolylineTypes;
       return types.empty() ? PatchValue() : PatchValue(Numbers(types.begin(), types.end()));
     },
     [](Data& data, const PatchValue& value) {
       auto& types = data.graphics.geomPolylineTypes;
       types.clear();
       for (const double type : numbers(value))
         types.push_back(static_cast<Graphics::GeomPolylineTypes>(static_cast<int>(type)));
     }},
    lineRow<&Graphics::geomPolylineSet>("lines"),
    {"plane", ValueShape::numbers, 6,
     [](const Data& data) {
       return PatchValue(
           vectorNumbers({data.graphics.displayPlaneXAxis, data.graphics.displayPlaneYAxis}));
     },
     [](Data& data, const PatchValue& value) {
       const Numbers& n = numbers(value);
       if (n.size() != 6) return;
       data.graphics.displayPlaneXAxis = vectorFrom(n, 0);
       data.graphics.displayPlaneYAxis = vectorFrom(n, 3);
     }},
    integerRow<short, &Graphics::prototypeFlags>("prototypeFlags"),
    integerRow<int, &Graphics::fontSize>("size"),
    lineRow<&Graphics::textPolylineSet>("strokes"),
    {"text", ValueShape::text, 0,
     [](const Data& data) {
       return data.textLines.empty() ? PatchValue() : PatchValue(joined(data.textLines));
     },
     [](Data& data, const PatchValue& value) {
       data.textLines.clear();
       if (std::holds_alternative<std::string>(value)) data.textLines = split(text(value));
     }},
    colorRow<&Graphics::textForegroundColor>("textColor"),
    {"textHeight", ValueShape::numbers, 1,
     [](const Data& data) {
       return PatchValue(Numbers{static_cast<double>(data.graphics.textHeight)});
     },
     [](Data& data, const PatchValue& value) {
       const Numbers& n = numbers(value);
       data.graphics.textHeight = n.empty() ? 0 : static_cast<float>(n[0]);
     }},
    {"type", ValueShape::text, 0,
     [](const Data& data) {
       return textOrNothing(JtkwPMITypeMaps::the().getPMITypeName(data.annotationType));
     },
     [](Data& data, const PatchValue& value) { data.annotationType = typeFrom(text(value)); }},
}};

template <class Rows>
auto rowOf(const Rows& rows, const std::string& name) {
  const auto found = std::ranges::find_if(rows, [&](const auto& row) { return name == row.name; });
  return found == rows.end() ? nullptr : &*found;
}

JtwPMIAnnotation* asAnnotation(JtwPMI& pmi) {
  const bool isOne = pmi.type() == JtwNode::JT_PMI_ANNOTATION_NODE;
  return isOne ? static_cast<JtwPMIAnnotation*>(&pmi) : nullptr;
}

bool is(const PatchChange& change, const char* name) { return change.name == name; }

}  // namespace

void readValues(JtwPMI& pmi, std::vector<PatchFact>& facts) {
  const std::size_t begin = facts.size();
  const auto add = [&facts](const char* name, PatchValue value) {
    if (!std::holds_alternative<std::monostate>(value))
      facts.push_back({PatchWhat::value, name, std::move(value)});
  };
  for (const Row& row : kRows) add(row.name, row.read(pmi));
  const JtwPMIAnnotation* annotation = asAnnotation(pmi);
  if (!annotation) return;
  for (const AnnotationRow& row : kAnnotationRows)
    add(row.name, row.read(annotation->annotationData()));
  std::sort(facts.begin() + static_cast<std::ptrdiff_t>(begin), facts.end(),
            [](const PatchFact& a, const PatchFact& b) { return a.name < b.name; });
}

std::string annotationFaultOf(const PatchChange& change) {
  if (change.what != PatchWhat::value) return "is nothing that a frame or annotation has";
  if (const Row* row = rowOf(kRows, change.name))
    return shapeFault(change.after, row->shape, row->count);
  const AnnotationRow* row = rowOf(kAnnotationRows, change.name);
  if (!row) return "is no value that there is";
  std::string fault = shapeFault(change.after, row->shape, row->count);
  if (!fault.empty()) return fault;
  if ((is(change, "lines") || is(change, "strokes")) && !arePolylines(numbers(change.after)))
    return "is no list of polylines";
  const auto isShort = [](double x) { return std::abs(x) < 32768 && std::trunc(x) == x; };
  if (is(change, "lineTypes") && !std::ranges::all_of(numbers(change.after), isShort))
    return "has a number that is no line type";
  if (is(change, "type") && typeFrom(text(change.after)) == API_PMI_NONE)
    return "is no type of annotations";
  return {};
}

void keepAsStored(JtwPMI& pmi) {
  if (pmi.type() == JtwNode::JT_FRAME_NODE && pmi.id() < 0) pmi.setStored(kNotStored);
}

void writeValue(JtwPMI& pmi, const PatchChange& change) {
  if (const Row* row = rowOf(kRows, change.name)) row->write(pmi, change.after);
  JtwPMIAnnotation* annotation = asAnnotation(pmi);
  if (!annotation) return;
  if (const AnnotationRow* row = rowOf(kAnnotationRows, change.name))
    row->write(annotation->annotationData(), change.after);
  // An entity keeps its type: one of another type takes its place.
  if (is(change, "type") && pmi.id() >= 0) pmi.setId(kToBeStored);
  pmi.renew();
}

}  // namespace jtw
