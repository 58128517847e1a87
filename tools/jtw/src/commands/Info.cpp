#include <optional>
#include <unordered_set>
#include <vector>

#include "Assembly.h"
#include "Batch.h"
#include "Command.h"
#include "CommandLines.h"
#include "FileList.h"
#include "InputFile.h"
#include "Jt.h"
#include "JtInspect.h"
#include "JtwNewComponent.h"
#include "Session.h"

namespace tool {
namespace {

/// Sums over a file and its part files, each counted once.
struct Totals {
  std::size_t files = 0;
  std::uint64_t bytes = 0;
  std::size_t nodes = 0;
  std::size_t shapes = 0;
  std::uint64_t triangles = 0;  ///< of the finest level
  std::uint64_t vertices = 0;

  void add(const JtPartition& partition) {
    const jt::ShapeSummary ofShapes = jt::summarizeShapes(partition);
    ++files;
    bytes += jt::summarizeFile(partition).size;
    nodes += jt::summarizeGraph(partition).nodes;
    shapes += ofShapes.all.shapes;
    triangles += ofShapes.triangles;
    vertices += ofShapes.vertices;
  }
};

/// What `info` reports.
struct Facts {
  jt::FileSummary file;
  jt::GraphSummary graph;
  jt::ShapeSummary shapes;
  jt::ContentSummary content;
  bool component = false;
  bool native = false;
  std::string unit;  ///< empty: none is named
  std::optional<jt::Box> bounds;
  std::optional<std::vector<jt::SegmentInfo>> segments;
  Totals totals;
  std::vector<jt::PartFile> parts;
};

/// The unit of the first node, from the top down, that names one.
std::string findUnit(const JtPartition& partition) {
  const JtString key(Jt::jtPropMeasurementUnits);
  std::vector<const JtNode*> pending{&partition};
  std::unordered_set<const JtNode*> seen{&partition};
  while (!pending.empty()) {
    const JtNode* node = pending.back();
    pending.pop_back();
    const auto* unit = jt::as<JtStringPropAtom>(node->property(key));
    if (unit && !unit->value().isEmpty()) return unit->value().stringToMbs();
    for (int i = node->numChildren() - 1; i >= 0; --i)
      if (seen.insert(node->child(i)).second) pending.push_back(node->child(i));
  }
  return {};
}

Facts gather(const OpenedAssembly& opened, bool withSegments) {
  const JtPartition& partition = *opened.top;
  Facts facts{.file = jt::summarizeFile(partition),
              .graph = jt::summarizeGraph(partition),
              .shapes = jt::summarizeShapes(partition),
              .content = jt::summarizeContent(partition),
              .component = jtw::holdsComponent(partition),
              .native = jtw::isMarkedNative(partition),
              .unit = findUnit(partition),
              .bounds = partition.bounds(),
              .segments = {},
              .totals = {},
              .parts = opened.parts};
  facts.totals.add(partition);
  for (const jt::PartFile& part : facts.parts)
    if (part.partition) facts.totals.add(*part.partition);
  if (withSegments) facts.segments = jt::listSegments(partition);
  return facts;
}

void writeSegments(JsonWriter& json, const std::vector<jt::SegmentInfo>& segments) {
  json.key("segmentList");
  json.beginArray();
  for (const jt::SegmentInfo& segment : segments) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("id", segment.id.text());
    json.member("type", segment.type);
    json.member("name", segment.name);
    json.member("offset", segment.offset);
    json.member("length", segment.length);
    json.member("compression", segment.compression);
    json.end();
  }
  json.end();
}

void writeFile(JsonWriter& json, const jt::FileSummary& file) {
  json.member("size", file.size);
  json.member("version", file.version.text());
  json.member("versionText", file.versionText);
  json.member("byteOrder", file.bigEndian ? "big" : "little");
  json.key("segments");
  json.beginObject();
  json.member("count", file.segmentCount);
  json.key("byType");
  json.beginArray();
  for (const auto& row : file.byType) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("type", row.type);
    json.member("name", row.name);
    json.member("count", row.count);
    json.member("bytes", row.bytes);
    json.end();
  }
  json.end();
  json.end();
}

void writeGraph(JsonWriter& json, const jt::GraphSummary& graph) {
  json.key("graph");
  json.beginObject();
  json.member("nodes", graph.nodes);
  json.key("byType");
  json.beginObject();
  for (const auto& [type, count] : graph.nodesByType) json.member(type, count);
  json.end();
  json.member("attributes", graph.attributes);
  json.member("unlistedAttributes", graph.unlistedAttributes);
  json.member("propertyAtoms", graph.propertyAtoms);
  json.member("properties", graph.properties);
  json.member("depth", graph.depth);
  json.end();
}

void writeShapes(JsonWriter& json, const jt::ShapeSummary& shapes) {
  json.key("shapes");
  json.beginObject();
  json.member("count", shapes.all.shapes);
  json.member("triangles", shapes.triangles);
  json.member("vertices", shapes.vertices);
  json.key("byType");
  json.beginObject();
  for (const auto& [type, count] : shapes.byType) json.member(type, count);
  json.end();
  json.key("lods");
  json.beginArray();
  for (const auto& level : shapes.levels) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("level", level.level);
    json.member("count", level.shapes);
    json.member("triangles", level.triangles);
    json.member("vertices", level.vertices);
    json.member("bytes", level.bytes);
    json.end();
  }
  json.end();
  json.end();
}

void writeFacts(Session& session, const std::string& path, const Facts& facts) {
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("file", path);
  writeFile(json, facts.file);
  writeGraph(json, facts.graph);
  writeShapes(json, facts.shapes);
  json.key("content");
  json.beginObject(JsonWriter::Layout::line);
  json.member("pmi", facts.content.pmi);
  json.member("exactGeometry", facts.content.exactGeometry);
  json.member("textures", facts.content.textures);
  json.member("otherFiles", facts.content.otherFiles);
  json.end();
  json.member("component", facts.component);
  json.member("native", facts.native);
  json.textOrNull("unit", facts.unit);
  json.key("bounds");
  if (facts.bounds) {
    json.beginObject(JsonWriter::Layout::line);
    json.numbers("min", facts.bounds->min);
    json.numbers("max", facts.bounds->max);
    json.end();
  } else {
    json.null();
  }
  if (facts.segments) writeSegments(json, *facts.segments);
  json.key("totals");
  json.beginObject(JsonWriter::Layout::line);
  json.member("files", facts.totals.files);
  json.member("bytes", facts.totals.bytes);
  json.member("nodes", facts.totals.nodes);
  json.member("shapes", facts.totals.shapes);
  json.member("triangles", facts.totals.triangles);
  json.member("vertices", facts.totals.vertices);
  json.end();
  writeFiles(json, facts.parts);
  session.endResult();
}

std::string point(const std::array<float, 3>& place) {
  return numberText(place[0]) + " " + numberText(place[1]) + " " + numberText(place[2]);
}

void showGraph(Output& out, const jt::GraphSummary& graph) {
  out.line("  graph       " + counted(graph.nodes, "node") + ", " + counted(graph.depth, "level") +
           ", " + counted(graph.attributes, "attribute") +
           (graph.unlistedAttributes > 0
                ? " and " + std::to_string(graph.unlistedAttributes) + " that no node lists"
                : "") +
           ", " + std::to_string(graph.properties) + " properties, " +
           counted(graph.propertyAtoms, "property atom"));
  for (const auto& [type, count] : graph.nodesByType)
    out.line("    " + padRight(printable(type), 30) + padLeft(std::to_string(count), 10));
}

void showShapes(Output& out, const jt::ShapeSummary& shapes) {
  out.line("  shapes      " + std::to_string(shapes.all.shapes) + ", " +
           counted(shapes.triangles, "triangle") + ", " + std::to_string(shapes.vertices) +
           " vertices");
  if (shapes.uncounted > 0)
    out.line("    " + counted(shapes.uncounted, "shape") + " without known counts");
  for (const auto& level : shapes.levels)
    out.line("    " +
             padRight(level.level ? "level " + std::to_string(*level.level) : "without level", 30) +
             padLeft(std::to_string(level.shapes), 10) + padLeft(std::to_string(level.bytes), 14) +
             " bytes  " + counted(level.triangles, "triangle"));
}

std::string contentText(const jt::ContentSummary& content) {
  std::string text;
  const auto add = [&text](bool has, const char* what) {
    if (has) text += (text.empty() ? "" : ", ") + std::string(what);
  };
  add(content.pmi, "annotations (PMI)");
  add(content.exactGeometry, "exact geometry");
  add(content.textures, "textures");
  add(content.otherFiles, "references to other files");
  return text.empty() ? "no annotations, exact geometry, textures or other files" : text;
}

void showParts(Output& out, const Facts& facts) {
  const Totals& totals = facts.totals;
  out.line("  with parts  " + counted(totals.files, "file") + ", " + counted(totals.bytes, "byte") +
           ", " + counted(totals.nodes, "node") + ", " + counted(totals.shapes, "shape") + ", " +
           counted(totals.triangles, "triangle"));
  for (const jt::PartFile& part : facts.parts)
    out.line("    " + padRight(jt::stateName(part.state), 8) + " " + printable(part.file));
}

void showFacts(Session& session, const std::string& path, const Facts& facts) {
  Output& out = session.out();
  out.line(session.style().paint(Ink::bold, printable(path)));
  out.line("  size        " + counted(facts.file.size, "byte"));
  out.line("  version     " + facts.file.version.text() + "  \"" +
           printable(facts.file.versionText) + "\"");
  out.line(std::string("  byte order  ") + (facts.file.bigEndian ? "big" : "little"));
  out.line("  segments    " + std::to_string(facts.file.segmentCount));
  for (const auto& row : facts.file.byType)
    out.line("    " + padRight(row.name, 30) + padLeft(std::to_string(row.count), 10) +
             padLeft(std::to_string(row.bytes), 14) + " bytes");
  showGraph(out, facts.graph);
  showShapes(out, facts.shapes);
  out.line("  content     " + contentText(facts.content));
  out.line(std::string("  component   ") + (facts.component ? "yes" : "no"));
  out.line(std::string("  native      ") + (facts.native ? "yes" : "no"));
  out.line("  unit        " + (facts.unit.empty() ? "unknown" : printable(facts.unit)));
  out.line("  bounds      " +
           (facts.bounds ? point(facts.bounds->min) + "  to  " + point(facts.bounds->max) +
                               (facts.unit.empty() ? "" : "  " + printable(facts.unit))
                         : std::string("unknown")));
  if (!facts.parts.empty()) showParts(out, facts);
  if (!facts.segments) return;
  out.line("\n  offset      length      compression  segment");
  for (const jt::SegmentInfo& segment : *facts.segments)
    out.line("  " + padRight(std::to_string(segment.offset), 12) +
             padRight(std::to_string(segment.length), 12) + padRight(segment.compression, 13) +
             segment.id.text() + "  " + segment.name);
}

}  // namespace

ExitCode runInfo(Session& session) {
  const FileList list = listFiles(session);
  if (!list.isOne) {
    return runForEach(session, list,
                      {.outputs = {}, .jobs = Batch::jobs(session), .isQuietWithQuiet = false});
  }
  const std::string& path = session.argument(0);
  const OpenedAssembly opened = openAssembly(session, path);
  const Facts facts = gather(opened, session.arguments().has("segments"));
  if (session.wantsJson())
    writeFacts(session, path, facts);
  else
    showFacts(session, path, facts);
  return exitCodeOf(facts.parts);
}

}  // namespace tool
