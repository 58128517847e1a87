#include <cmath>
#include <string>
#include <vector>

#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "JtPartition.h"
#include "JtWireframe.h"
#include "JtkwWireframePropReader.h"
#include "JtwEntity.h"
#include "JtwValueText.h"
#include "NodeView.h"
#include "Session.h"
#include "VisPartNode.h"

namespace tool {
namespace {

using Point = std::array<double, 3>;

/// One wire, as it is listed.
struct Wire {
  std::int32_t id = 0;
  std::string name;
  ApiGraColor color;
  std::optional<std::int64_t> cadTag;
  const jt::WireCurve* curve = nullptr;
  double length = 0;  ///< of its polyline
  Point start{};
  Point end{};

  bool isClosed() const {
    const double gap = std::hypot(end[0] - start[0], end[1] - start[1], end[2] - start[2]);
    return gap <= 1e-9 * length;
  }
};

/// A part that has a wireframe.
struct PartWires {
  std::size_t entry = 0;
  std::vector<Wire> wires;
  std::string error;  ///< why they cannot be read; empty: they can
};

void measure(Wire& wire) {
  const std::vector<Point> points = jt::polylineOf(*wire.curve);
  if (points.empty()) return;
  wire.start = points.front();
  wire.end = points.back();
  for (std::size_t i = 0; i + 1 < points.size(); ++i)
    wire.length += std::hypot(points[i + 1][0] - points[i][0], points[i + 1][1] - points[i][1],
                              points[i + 1][2] - points[i][2]);
}

PartWires wiresOf(std::size_t entry, JtwNode& node, VisPartNode& part) {
  PartWires listed{.entry = entry, .wires = {}, .error = {}};
  jt::setLastError({});
  if (part.ensureWFRep() != 1) {
    listed.error = jt::lastError();
    return listed;
  }
  const JtWireframeRep* rep = part.wfRep();
  const bool isEntity = node.type() == JtwNode::JT_ENTITY_NODE;
  JtkwWireframePropReader reader;
  reader.execute(isEntity ? static_cast<JtwEntity*>(&node) : nullptr, &part);
  const std::vector<std::int32_t> ids = rep->edgeIds();
  for (int i = 0; i < rep->numEdges(); ++i) {
    Wire& wire = listed.wires.emplace_back();
    wire.id = ids[static_cast<std::size_t>(i)];
    wire.name = JtString(reader.getName(wire.id)).stringToMbs();
    wire.color = reader.getColor(wire.id);
    wire.cadTag = rep->cadTag(i);
    wire.curve = &rep->curveOf(i);
    measure(wire);
  }
  return listed;
}

std::vector<PartWires> gather(const Component& component, std::size_t first, std::size_t end) {
  std::vector<PartWires> parts;
  for (std::size_t i = first; i < end; ++i) {
    const jtw::TreeEntry& entry = component.objects().entries()[i];
    auto* part = jt::as<VisPartNode>(entry.node->jtNode());
    if (!part) continue;
    PartWires listed = wiresOf(i, *entry.node, *part);
    if (!listed.wires.empty() || !listed.error.empty()) parts.push_back(std::move(listed));
  }
  return parts;
}

void writeWire(JsonWriter& json, const Wire& wire) {
  json.beginObject();
  json.member("id", wire.id);
  json.textOrNull("name", wire.name);
  writeColor(json, wire.color);
  json.member("cadTag", wire.cadTag);
  json.member("degree", wire.curve->degree);
  json.member("rational", !wire.curve->weights.empty());
  json.member("controlPoints", wire.curve->points.size());
  json.member("closed", wire.isClosed());
  json.member("length", wire.length);
  json.numbers("start", wire.start);
  json.numbers("end", wire.end);
  json.end();
}

void writeParts(Session& session, const Component& component, const std::vector<PartWires>& parts) {
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("document", component.document());
  json.key("parts");
  json.beginArray();
  for (const PartWires& part : parts) {
    JtwNode& node = component.objects().node(part.entry);
    json.beginObject();
    json.member("key", keyNumber(node.key()));
    json.textOrNull("address", component.objects().address(part.entry));
    json.textOrNull("name", nameOf(node));
    json.textOrNull("error", part.error);
    json.key("wires");
    json.beginArray();
    for (const Wire& wire : part.wires) writeWire(json, wire);
    json.end();
    json.end();
  }
  json.end();
  writeFiles(json, component.partFiles());
  session.endResult();
}

std::string placeText(const Point& place) {
  return numberText(place[0]) + ", " + numberText(place[1]) + ", " + numberText(place[2]);
}

void showParts(Output& out, const Component& component, const std::vector<PartWires>& parts) {
  for (const PartWires& part : parts) {
    JtwNode& node = component.objects().node(part.entry);
    out.line(printable(objectText(node) + "  " + nameOf(node)) + "  " +
             counted(part.wires.size(), "wire"));
    for (const Wire& wire : part.wires)
      out.line("  " + padRight(std::to_string(wire.id), 10) + "degree " +
               std::to_string(wire.curve->degree) + ", " +
               counted(wire.curve->points.size(), "point") + ", length " + numberText(wire.length) +
               (wire.isClosed() ? ", closed at " : ", from ") + placeText(wire.start) +
               (wire.isClosed() ? "" : " to " + placeText(wire.end)));
  }
}

}  // namespace

ExitCode runWires(Session& session) {
  const auto& words = session.arguments().positional();
  const Component component(session, words[0], false);
  const std::size_t first = words.size() > 1 ? component.find(jtw::ObjectAddress(words[1])) : 0;
  const std::vector<PartWires> parts =
      gather(component, first, component.objects().endOfSubtree(first));
  bool isRead = true;
  for (const PartWires& part : parts)
    if (!part.error.empty()) {
      session.warn("wires are not listed: " + part.error);
      isRead = false;
    }
  if (session.wantsJson())
    writeParts(session, component, parts);
  else
    showParts(session.out(), component, parts);
  return isRead ? exitCodeOf(component.partFiles()) : ExitCode::no;
}

}  // namespace tool
