#include "JtwInspection.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <type_traits>
#include <unordered_map>
#include <variant>

#include "JtAssembly.h"
#include "JtPartSummary.h"
#include "JtSaturating.h"
#include "JtwEditError.h"
#include "JtwNearestName.h"
#include "JtwPMI.h"
#include "JtwRoot.h"

namespace jtw {
namespace {

/// How many annotations the node of each part carries.
std::unordered_map<const JtNode*, std::size_t> countAnnotations(const Objects& objects) {
  std::unordered_map<const JtNode*, std::size_t> counts;
  for (const TreeEntry& entry : objects.entries())
    if (entry.node->type() == JtwNode::JT_PMI_ANNOTATION_NODE)
      ++counts[static_cast<JtwPMI*>(entry.node)->originJtNode()];
  return counts;
}

std::optional<ApiGraColor> shownColor(JtwNode& node, const JtMaterial* own) {
  if (own) {
    const jt::Rgba& diffuse = own->diffuse();
    return ApiGraColor::fromUnit(diffuse[0], diffuse[1], diffuse[2], diffuse[3]);
  }
  bool isDefault = true;
  const ApiGraColor color = colorOf(node, isDefault);
  return isDefault ? std::nullopt : std::optional(color);
}

std::string textureText(const JtTextureImage* texture) {
  if (!texture) return {};
  for (const jt::TextureBlock& block : texture->blocks())
    for (const jt::TextureImage& image : block.images) {
      if (!image.fileName.isEmpty()) return image.fileName.stringToMbs();
      return std::to_string(image.width) + "x" + std::to_string(image.height);
    }
  return "empty";
}

// --- Columns to sort by

/// What a column compares: nothing is unknown.
using Cell = std::variant<std::monostate, double, std::uint64_t, std::string>;

template <class T>
Cell cellOf(const std::optional<T>& value) {
  return value ? Cell(*value) : Cell();
}

Cell textCell(std::string text) { return text.empty() ? Cell() : Cell(std::move(text)); }

Cell keyCell(JtwNode& node) {
  const ApiProtoKey key = node.key();
  return key.isNull() ? Cell() : Cell(static_cast<double>(key.getAsLong()));
}

Cell boundsCell(const InspectedPart& part) {
  if (!part.bounds) return {};
  double sum = 0;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double length =
        static_cast<double>(part.bounds->max[axis]) - static_cast<double>(part.bounds->min[axis]);
    sum += length * length;
  }
  return sum;
}

Cell materialCell(const InspectedPart& part) {
  if (!part.material) return {};
  const ApiGraColor& color = *part.material;
  return (std::uint64_t{color.red()} << 16) + (std::uint64_t{color.green()} << 8) + color.blue();
}

struct Column {
  const char* name;
  Cell (*cell)(const InspectedPart& part, JtwNode& node);
};

constexpr std::array kColumns{
    Column{"path", [](const InspectedPart& part, JtwNode&) { return textCell(part.path); }},
    Column{"key", [](const InspectedPart&, JtwNode& node) { return keyCell(node); }},
    Column{"triangles", [](const InspectedPart& part, JtwNode&) { return cellOf(part.triangles); }},
    Column{"vertices", [](const InspectedPart& part, JtwNode&) { return cellOf(part.vertices); }},
    Column{"lods",
           [](const InspectedPart& part, JtwNode&) { return Cell(std::uint64_t{part.lods}); }},
    Column{"bytes", [](const InspectedPart& part, JtwNode&) { return Cell(part.bytes); }},
    Column{"bounds", [](const InspectedPart& part, JtwNode&) { return boundsCell(part); }},
    Column{"material", [](const InspectedPart& part, JtwNode&) { return materialCell(part); }},
    Column{"texture", [](const InspectedPart& part, JtwNode&) { return textCell(part.texture); }},
    Column{"unit", [](const InspectedPart& part, JtwNode&) { return textCell(part.unit); }},
    Column{"instances", [](const InspectedPart& part, JtwNode&) { return Cell(part.instances); }},
    Column{"exact",
           [](const InspectedPart& part, JtwNode&) { return Cell(std::uint64_t{part.exact}); }},
    Column{"annotations", [](const InspectedPart& part, JtwNode&) {
             return Cell(std::uint64_t{part.annotations});
           }}};

bool isUnknown(const Cell& cell) { return std::holds_alternative<std::monostate>(cell); }

}  // namespace

std::vector<InspectedPart> inspectParts(const Objects& objects, const Selection* selection) {
  std::vector<bool> wanted(objects.entries().size(), selection == nullptr);
  if (selection)
    for (const std::size_t index : selection->of(objects)) wanted[index] = true;
  const auto annotations = countAnnotations(objects);
  const auto extents = extentsOf(objects);
  jt::PlaceCounts places(*objects.root().jtNode());
  std::vector<InspectedPart> parts;
  for (std::size_t i = 0; i < wanted.size(); ++i) {
    JtwNode& node = objects.node(i);
    if (!wanted[i] || node.type() != JtwNode::JT_ENTITY_NODE || !node.jtNode()) continue;
    const jt::PartSummary summary = jt::summarizePart(*node.jtNode());
    const auto annotated = annotations.find(node.jtNode());
    const char* unit = unitOf(node);
    parts.push_back({.index = i,
                     .path = objects.path(i),
                     .triangles = summary.triangles,
                     .vertices = summary.vertices,
                     .lods = summary.lods,
                     .bytes = summary.bytes,
                     .bounds = extents[i],
                     .material = shownColor(node, summary.material.get()),
                     .texture = textureText(summary.texture),
                     .unit = unit ? unit : "",
                     .instances = places.of(*node.jtNode()),
                     .exact = summary.exact,
                     .annotations = annotated == annotations.end() ? 0 : annotated->second});
  }
  return parts;
}

PartOrder::PartOrder(std::string_view text) {
  const std::size_t comma = text.find(',');
  const std::string name(text.substr(0, comma));
  if (comma != std::string_view::npos) {
    const std::string_view direction = text.substr(comma + 1);
    if (direction != "desc" && direction != "asc")
      failUsage("behind the column stands '" + std::string(direction) + "', not desc");
    isDescending_ = direction == "desc";
  }
  std::array<const char*, kColumns.size()> names{};
  for (std::size_t i = 0; i < kColumns.size(); ++i) names[i] = kColumns[i].name;
  const auto found = std::ranges::find_if(names, [&](const char* known) { return name == known; });
  if (found == names.end()) {
    failUsage("there is no column '" + name + "'" + suggestion(name, names, "the columns are"));
  }
  column_ = static_cast<std::size_t>(found - names.begin());
}

void PartOrder::sort(std::vector<InspectedPart>& parts, const Objects& objects) const {
  struct Keyed {
    Cell cell;
    std::size_t part;
  };
  std::vector<Keyed> order;
  order.reserve(parts.size());
  for (std::size_t i = 0; i < parts.size(); ++i)
    order.push_back({kColumns[column_].cell(parts[i], objects.node(parts[i].index)), i});
  std::ranges::stable_sort(order, [this](const Keyed& a, const Keyed& b) {
    if (isUnknown(a.cell) || isUnknown(b.cell)) return !isUnknown(a.cell) && isUnknown(b.cell);
    return isDescending_ ? b.cell < a.cell : a.cell < b.cell;
  });
  std::vector<InspectedPart> sorted;
  sorted.reserve(parts.size());
  for (const Keyed& next : order) sorted.push_back(std::move(parts[next.part]));
  parts = std::move(sorted);
}

InspectionTotals totalsOf(const std::vector<InspectedPart>& parts) {
  InspectionTotals totals;
  totals.parts = parts.size();
  for (const InspectedPart& part : parts) {
    if (!part.triangles) ++totals.uncounted;
    const std::uint64_t triangles = part.triangles.value_or(0);
    totals.triangles = jt::saturatingSum(totals.triangles, triangles);
    totals.vertices = jt::saturatingSum(totals.vertices, part.vertices.value_or(0));
    totals.shownTriangles =
        jt::saturatingSum(totals.shownTriangles, jt::saturatingProduct(triangles, part.instances));
    totals.bytes = jt::saturatingSum(totals.bytes, part.bytes);
    totals.instances = jt::saturatingSum(totals.instances, part.instances);
    totals.annotations += part.annotations;
  }
  return totals;
}

}  // namespace jtw
