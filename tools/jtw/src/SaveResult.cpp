#include "SaveResult.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>

#include "JtInspect.h"
#include "JtwTree.h"
#include "Session.h"

namespace tool {
namespace {

using Kind = jt::SegmentAction::Kind;

bool isRewritten(const jt::SegmentAction& action) {
  return action.kind == Kind::rewritten || action.kind == Kind::added;
}

/// What names a part in a message.
std::string partText(const jt::LostGeometry& lost) {
  const std::string node = lost.nodeId == 0 ? "" : "#" + std::to_string(lost.nodeId);
  if (lost.part.empty()) return "part " + (node.empty() ? "without name" : node);
  return "part '" + lost.part + "'" + (node.empty() ? "" : " (" + node + ")");
}

template <class Matches>
void writeList(JsonWriter& json, const char* name, const jt::SaveReport& report,
               const Matches& matches) {
  json.key(name);
  json.beginArray();
  for (const jt::SegmentAction& action : report.segments) {
    if (!matches(action)) continue;
    json.beginObject(JsonWriter::Layout::line);
    json.member("id", action.id.text());
    json.member("type", action.type);
    json.textOrNull("reason", action.reason);
    json.end();
  }
  json.end();
}

}  // namespace

std::optional<jt::FileVersion> versionOption(const Arguments& arguments) {
  const std::string* text = arguments.value("version");
  if (!text) return std::nullopt;
  const std::optional<jt::FileVersion> version = jt::FileVersion::parse(*text);
  if (!version) failUsage("--version is '" + *text + "', not a version such as 9.5");
  return version;
}

jt::SaveReport savePartition(JtPartition& partition, JtStorageLocation* location,
                             const jt::SaveOptions& options, const std::string& name) {
  try {
    return partition.save(location, options);
  } catch (const JtFormatError& error) {
    throw saveFailure(error, name);
  }
}

const char* actionName(Kind kind) {
  switch (kind) {
    case Kind::copied:
      return "copied";
    case Kind::rewritten:
    case Kind::added:
      return "rewritten";
    case Kind::dropped:
      return "dropped";
  }
  return "";
}

void writeSaved(Session& session, const jt::SaveReport& report) {
  writeSaved(session.json(), report);
}

namespace {

void writeReport(JsonWriter& json, const jt::SaveReport& report) {
  json.beginObject();
  json.member("file", report.file);
  json.member("version", report.version.text());
  json.key("segments");
  json.beginObject();
  json.member("kept",
              std::count_if(report.segments.begin(), report.segments.end(),
                            [](const auto& action) { return action.kind == Kind::copied; }));
  writeList(json, "rewritten", report, isRewritten);
  writeList(json, "dropped", report,
            [](const auto& action) { return action.kind == Kind::dropped; });
  json.end();
  json.key("lostGeometry");
  json.beginArray();
  for (const jt::LostGeometry& lost : report.lostGeometry) {
    json.beginObject(JsonWriter::Layout::line);
    json.textOrNull("part", lost.part);
    json.member("node", lost.nodeId == 0 ? std::nullopt : std::optional<int>(lost.nodeId));
    json.member("segment", lost.segment.text());
    json.member("type", lost.type);
    json.textOrNull("reason", lost.reason);
    json.end();
  }
  json.end();
  json.end();
}

}  // namespace

void writeSaved(JsonWriter& json, const jt::SaveReport& report) {
  json.key("saved");
  writeReport(json, report);
  json.key("alsoSaved");
  json.beginArray();
  for (const jt::SaveReport& part : report.alsoSaved) writeReport(json, part);
  json.end();
}

std::vector<jt::Loss> listLosses(const JtPartition& top, const jt::SaveReport& report) {
  return jt::lossesOf(top, report, jtw::keyProperty());
}

void writeLosses(JsonWriter& json, const std::vector<jt::Loss>& losses) {
  json.key("losses");
  json.beginArray();
  for (const jt::Loss& loss : losses) {
    json.beginObject();
    json.member("segment", loss.segment.text());
    json.member("type", loss.type);
    json.member("what", jt::segmentName(loss.type));
    json.textOrNull("reason", loss.reason);
    json.key("nodes");
    json.beginArray();
    for (const jt::LosingNode& node : loss.nodes) {
      json.beginObject(JsonWriter::Layout::line);
      json.member("id", node.nodeId == 0 ? std::nullopt : std::optional<int>(node.nodeId));
      json.member("key", node.key);
      json.textOrNull("name", node.name);
      json.member("path", node.path);
      json.end();
    }
    json.end();
    json.end();
  }
  json.end();
}

void showLosses(Output& out, const std::vector<jt::Loss>& losses, bool dryRun) {
  for (const jt::Loss& loss : losses) {
    std::string what = dryRun ? "would leave out " : "left out ";
    what += jt::segmentName(loss.type);
    if (loss.nodes.empty()) out.line(what + " that no node names");
    for (const jt::LosingNode& node : loss.nodes)
      out.line(what + " of " + printable(node.path) +
               (node.nodeId == 0 ? "" : " (#" + std::to_string(node.nodeId) + ")") +
               (node.key ? ", key " + std::to_string(*node.key) : ""));
  }
}

namespace {

/// What was done to segments that were not kept; what was done alike to many is one line.
void showActions(Output& out, const std::vector<jt::SegmentAction>& actions) {
  constexpr std::size_t kMostAlike = 3;
  using Alike = std::tuple<Kind, std::int32_t, std::string>;
  const auto alike = [](const jt::SegmentAction& action) {
    return Alike(action.kind, action.type, action.reason);
  };
  std::map<Alike, std::size_t> counts;
  for (const jt::SegmentAction& action : actions) ++counts[alike(action)];
  for (const jt::SegmentAction& action : actions) {
    if (action.kind == Kind::copied) continue;
    std::size_t& count = counts[alike(action)];
    if (count == 0) continue;  // listed already
    const bool isOne = count <= kMostAlike;
    out.line("  " + padRight(actionName(action.kind), 9) + " " +
             printable(jt::segmentName(action.type)) + " " +
             (isOne ? action.id.text() : "(" + counted(count, "segment") + ")") +
             (action.reason.empty() ? "" : ": " + printable(action.reason)));
    if (!isOne) count = 0;
  }
}

}  // namespace

void showSaved(Session& session, const jt::SaveReport& report, bool dryRun) {
  showSaved(session.report(), report, dryRun);
}

void showSaved(Output& out, const jt::SaveReport& report, bool dryRun) {
  const auto kept = std::count_if(report.segments.begin(), report.segments.end(),
                                  [](const auto& action) { return action.kind == Kind::copied; });
  out.line((dryRun ? "would save " : "saved ") + printable(report.file) + ", version " +
           report.version.text() + ": " + counted(static_cast<std::size_t>(kept), "segment") +
           " kept");
  showActions(out, report.segments);
  for (const jt::SaveReport& part : report.alsoSaved) showSaved(out, part, dryRun);
}

void showSaveWarnings(Session& session, const jt::SaveReport& report) {
  if (!session.arguments().has("dry-run")) session.noteWritten(report.file);
  for (const jt::Diagnostic& warning : report.warnings)
    session.warn(report.file + ": " + warning.message, warning.code);
  for (const jt::LostGeometry& lost : report.lostGeometry)
    session.warn(report.file + ": the " + jt::segmentName(lost.type) + " of " + partText(lost) +
                     " is left out: " + lost.reason,
                 "geometry_left_out");
  for (const jt::SaveReport& part : report.alsoSaved) showSaveWarnings(session, part);
}

}  // namespace tool
