#include <algorithm>
#include <array>
#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "GraphValues.h"
#include "JtwInspection.h"
#include "JtwTree.h"
#include "NodeView.h"
#include "Session.h"

namespace tool {
namespace {

using jtw::InspectedPart;

template <class Number>
std::string countText(const std::optional<Number>& count) {
  return count ? std::to_string(*count) : std::string();
}

// --- JSON

void writeBounds(JsonWriter& json, const std::optional<jt::Box>& bounds) {
  json.key("bounds");
  if (!bounds) {
    json.null();
    return;
  }
  json.beginObject(JsonWriter::Layout::line);
  json.numbers("min", bounds->min);
  json.numbers("max", bounds->max);
  json.end();
}

void writePart(JsonWriter& json, const jtw::Objects& objects, const InspectedPart& part) {
  json.beginObject(JsonWriter::Layout::line);
  json.member("path", part.path);
  json.member("key", keyNumber(objects.node(part.index).key()));
  json.textOrNull("address", objects.address(part.index));
  json.member("triangles", part.triangles);
  json.member("vertices", part.vertices);
  json.member("lods", part.lods);
  json.member("bytes", part.bytes);
  writeBounds(json, part.bounds);
  if (part.material) {
    float r = 0;
    float g = 0;
    float b = 0;
    part.material->getRGB(r, g, b);
    writeColor(json, "material", r, g, b, part.material->getAlpha());
  } else {
    json.nullMember("material");
  }
  json.textOrNull("texture", part.texture);
  json.textOrNull("unit", part.unit);
  json.member("instances", part.instances);
  json.member("exact", part.exact);
  json.member("annotations", part.annotations);
  json.end();
}

void writeParts(Session& session, const Component& component,
                const std::vector<InspectedPart>& parts) {
  const jtw::InspectionTotals totals = jtw::totalsOf(parts);
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  json.key("parts");
  json.beginArray();
  for (const InspectedPart& part : parts) writePart(json, component.objects(), part);
  json.end();
  json.key("totals");
  json.beginObject(JsonWriter::Layout::line);
  json.member("parts", totals.parts);
  json.member("uncounted", totals.uncounted);
  json.member("triangles", totals.triangles);
  json.member("vertices", totals.vertices);
  json.member("shownTriangles", totals.shownTriangles);
  json.member("bytes", totals.bytes);
  json.member("instances", totals.instances);
  json.member("annotations", totals.annotations);
  json.end();
  writeFiles(json, component.partFiles());
  session.endResult();
}

// --- Comma-separated values

/// A text as a field: between quotation marks where it needs them.
std::string csvField(const std::string& text) {
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  std::string quoted = "\"";
  for (const char c : text) quoted += c == '"' ? std::string(2, c) : std::string(1, c);
  return quoted + "\"";
}

void writeCsv(Output& out, const jtw::Objects& objects, const std::vector<InspectedPart>& parts) {
  out.line(
      "path,key,triangles,vertices,lods,bytes,minX,minY,minZ,maxX,maxY,maxZ,material,texture,unit,"
      "instances,exact,annotations");
  for (const InspectedPart& part : parts) {
    std::string line = csvField(part.path) + "," +
                       countText(keyNumber(objects.node(part.index).key())) + "," +
                       countText(part.triangles) + "," + countText(part.vertices) + "," +
                       std::to_string(part.lods) + "," + std::to_string(part.bytes);
    for (const auto corner : {&jt::Box::min, &jt::Box::max})
      for (std::size_t axis = 0; axis < 3; ++axis)
        line += "," + (part.bounds ? numberText(((*part.bounds).*corner)[axis]) : std::string());
    line += "," + (part.material ? colorText(*part.material) : std::string()) + "," +
            csvField(part.texture) + "," + part.unit + "," + std::to_string(part.instances) + "," +
            (part.exact ? "true" : "false") + "," + std::to_string(part.annotations);
    out.line(line);
  }
}

// --- Text

constexpr std::array kHeads{"key",         "triangles",   "vertices", "lods", "bytes",
                            "bounds (mm)", "material",    "texture",  "unit", "instances",
                            "exact",       "annotations", "path"};
using Row = std::array<std::string, kHeads.size()>;
constexpr std::size_t kLeftFrom = 5;  // numbers are aligned on the right, texts on the left
constexpr std::size_t kInstances = 9;
constexpr std::size_t kAnnotations = 11;

/// The edges of a box, for people; JSON has its corners.
std::string edgesText(const std::optional<jt::Box>& bounds) {
  if (!bounds) return "-";
  std::string text;
  for (std::size_t axis = 0; axis < 3; ++axis)
    text += (axis > 0 ? "x" : "") +
            numberText(static_cast<float>(std::round((static_cast<double>(bounds->max[axis]) -
                                                      static_cast<double>(bounds->min[axis])) *
                                                     100.0) /
                                          100.0));
  return text;
}

std::string orDash(std::string text) { return text.empty() ? "-" : std::move(text); }

Row rowOf(const jtw::Objects& objects, const InspectedPart& part) {
  return {orDash(objects.address(part.index)),
          orDash(countText(part.triangles)),
          orDash(countText(part.vertices)),
          std::to_string(part.lods),
          std::to_string(part.bytes),
          edgesText(part.bounds),
          part.material ? colorText(*part.material) : "-",
          orDash(printable(part.texture)),
          orDash(part.unit),
          std::to_string(part.instances),
          part.exact ? "yes" : "-",
          part.annotations > 0 ? std::to_string(part.annotations) : "-",
          printable(part.path)};
}

void showParts(Session& session, const jtw::Objects& objects,
               const std::vector<InspectedPart>& parts) {
  std::vector<Row> rows(1);
  rows.reserve(parts.size() + 1);
  std::ranges::copy(kHeads, rows[0].begin());
  for (const InspectedPart& part : parts) rows.push_back(rowOf(objects, part));
  std::array<std::size_t, kHeads.size()> widths{};
  for (const Row& row : rows)
    for (std::size_t i = 0; i < row.size(); ++i) widths[i] = std::max(widths[i], row[i].size());
  for (const Row& row : rows) {
    std::string line;
    for (std::size_t i = 0; i + 1 < row.size(); ++i) {
      const bool isNumber = i < kLeftFrom || i == kInstances || i == kAnnotations;
      line += (isNumber ? padLeft(row[i], widths[i]) : padRight(row[i], widths[i])) + "  ";
    }
    line += row.back();
    session.out().line(&row == &rows.front() ? session.style().paint(Ink::bold, line) : line);
  }
  const jtw::InspectionTotals totals = jtw::totalsOf(parts);
  std::string line = counted(totals.parts, "part") + " in " + counted(totals.instances, "place") +
                     ", " + counted(totals.triangles, "triangle") + " (" +
                     std::to_string(totals.shownTriangles) + " in all places), " +
                     std::to_string(totals.vertices) + " vertices, " +
                     counted(totals.bytes, "byte");
  if (totals.uncounted > 0)
    line += "; " + counted(totals.uncounted, "part") + " without known counts";
  session.out().line(session.style().paint(Ink::bold, line));
}

}  // namespace

ExitCode runInspect(Session& session) {
  const Arguments& arguments = session.arguments();
  const bool asCsv = arguments.has("csv");
  if (asCsv && session.wantsJson()) failUsage("--csv and --json exclude each other");
  std::optional<jtw::PartOrder> order;
  if (const std::string* text = arguments.value("sort")) order.emplace(*text);
  std::optional<jtw::Selection> selection;
  if (const std::string* text = arguments.value("select")) selection.emplace(*text);

  const Component component(session, session.argument(0), false);
  const jtw::Objects& objects = component.objects();
  const jtw::Reading reading(component.root());
  std::vector<InspectedPart> parts = jtw::inspectParts(objects, selection ? &*selection : nullptr);
  if (order) order->sort(parts, objects);
  if (session.wantsJson())
    writeParts(session, component, parts);
  else if (asCsv)
    writeCsv(session.out(), objects, parts);
  else
    showParts(session, objects, parts);
  return exitCodeOf(component.partFiles());
}

}  // namespace tool
