// How a merged report is shown.

#include <nlohmann/json.hpp>
#include <utility>

#include "JsonInput.h"
#include "MergedReport.h"
#include "Session.h"

namespace tool {
namespace {

using Json = nlohmann::json;

/// Why a file failed.
struct Reason {
  std::string code;
  std::string message;
};

/// An error, the first error among findings, or the first finding at all.
Reason reasonOf(const Json& result) {
  if (!result.is_object()) return {};
  const auto findings = result.find("findings");
  if (findings == result.end() || !findings->is_array())
    return {textIn(result, "code"), textIn(result, "message")};
  const Json* first = nullptr;
  for (const Json& finding : *findings)
    if (!first || (textIn(finding, "severity") == "error" && textIn(*first, "severity") != "error"))
      first = &finding;
  return first ? Reason{textIn(*first, "code"), textIn(*first, "message")} : Reason{};
}

/// "2 of 4", or nothing for a run without shards.
std::string nameOf(const std::optional<Shard>& shard) {
  return shard ? std::to_string(shard->index) + " of " + std::to_string(shard->count)
               : std::string();
}

void writeNames(JsonWriter& json, const char* name, const std::vector<std::string>& names) {
  json.key(name);
  json.beginArray(JsonWriter::Layout::line);
  for (const std::string& text : names) json.value(text);
  json.end();
}

void writeFailed(JsonWriter& json, const MergedReport& report) {
  json.key("failed");
  json.beginArray();
  for (const RunEntry& entry : report.entries()) {
    if (entry.exit == ExitCode::done) continue;
    const Reason reason = reasonOf(entry.result());
    json.beginObject(JsonWriter::Layout::line);
    json.member("file", entry.file);
    json.member("outcome", entry.outcome);
    json.member("exit", static_cast<int>(entry.exit));
    json.textOrNull("code", reason.code);
    json.textOrNull("message", reason.message);
    json.end();
  }
  json.end();
}

void writeParts(JsonWriter& json, const MergedReport& report) {
  json.key("runs");
  json.beginArray();
  for (const MergedReport::Part& part : report.parts()) {
    json.beginObject(JsonWriter::Layout::line);
    json.key("shard");
    json.value(part.shard ? std::optional(part.shard->index) : std::nullopt);
    writeNames(json, "reports", part.reports);
    json.member("files", part.files);
    json.member("done", part.done.size());
    json.member("failed", part.failed());
    json.member("missing", part.missing());
    json.member("seconds", part.seconds());
    json.end();
  }
  json.end();
  json.numbers("missingShards", report.missingShards());
  json.member("listsDiffer", report.listsDiffer());
  json.key("duplicates");
  json.beginArray();
  for (const MergedReport::Duplicate& duplicate : report.duplicates()) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("file", duplicate.file);
    writeNames(json, "reports", duplicate.reports);
    json.end();
  }
  json.end();
}

void writeReport(Session& session, const MergedReport& report, bool all) {
  JsonWriter& json = session.json();
  session.beginResult("report");
  json.member("command", report.header().command);
  writeNames(json, "options", report.header().options);
  writeNames(json, "versions", report.versions());
  json.member("complete", report.isComplete());
  json.key("summary");
  json.beginObject(JsonWriter::Layout::line);
  json.member("files", report.entries().size() + report.missing());
  json.member("done", report.entries().size());
  json.member("failed", report.failed());
  json.member("missing", report.missing());
  json.member("duplicates", report.duplicates().size());
  json.member("seconds", report.seconds());
  json.end();
  json.key("outcomes");
  json.beginObject(JsonWriter::Layout::line);
  for (const auto& [outcome, count] : report.outcomes()) json.member(outcome, count);
  json.end();
  writeFailed(json, report);
  writeParts(json, report);
  if (all) {
    json.key("files");
    json.beginArray();
    for (const RunEntry& entry : report.entries()) json.raw(entry.text);
    json.end();
  }
  session.endResult();
}

void showEntries(Session& session, const MergedReport& report, bool all) {
  for (const RunEntry& entry : report.entries()) {
    const bool isDone = entry.exit == ExitCode::done;
    if (isDone && !all) continue;
    const Reason reason = isDone ? Reason{} : reasonOf(entry.result());
    session.out().line(printable(entry.file) + ": " +
                       session.style().paint(isDone ? Ink::green : Ink::red, entry.outcome) +
                       (reason.code.empty() ? "" : ": " + reason.code) +
                       (reason.message.empty() ? "" : ": " + printable(reason.message)));
  }
}

/// What keeps it from being complete, and what is done twice.
void showGaps(Session& session, const MergedReport& report) {
  Output& out = session.out();
  for (const std::uint32_t shard : report.missingShards())
    out.line("missing: shard " + std::to_string(shard) + " has no report");
  for (const MergedReport::Part& part : report.parts())
    if (part.missing() > 0)
      out.line("missing: " + std::to_string(part.missing()) + " of " + counted(part.files, "file") +
               (part.shard ? " of shard " + nameOf(part.shard) : std::string()) + ", " +
               printable(part.reports.back()));
  if (report.listsDiffer())
    out.line(
        "missing: shards were begun on different lists of files; --resume brings each up to date");
  for (const MergedReport::Duplicate& duplicate : report.duplicates())
    out.line("done " + std::to_string(duplicate.reports.size()) +
             " times: " + printable(duplicate.file) + ", the last one counts");
}

void showSummary(Session& session, const MergedReport& report) {
  std::string text = report.header().command + ": " + counted(report.entries().size(), "file");
  const char* separator = ": ";
  for (const auto& [outcome, count] : report.outcomes())
    text += std::exchange(separator, ", ") + std::to_string(count) + " " + printable(outcome);
  if (!report.isComplete()) text += "; not complete";
  session.out().line(text);
}

}  // namespace

void showReport(Session& session, const MergedReport& report, bool all) {
  if (report.versions().size() > 1)
    session.warn("different versions of the program have worked on this");
  if (session.wantsJson()) {
    writeReport(session, report, all);
    return;
  }
  showEntries(session, report, all && !session.isQuiet());
  showGaps(session, report);
  if (!session.isQuiet()) showSummary(session, report);
}

}  // namespace tool
