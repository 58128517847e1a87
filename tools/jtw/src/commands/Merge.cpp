#include <optional>
#include <string>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtwMerge.h"
#include "JtwPatch.h"
#include "PatchDocument.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {
namespace {

using jtw::MergeSide;
using Merged = jtw::ComponentMerge;

MergeSide sideOption(const Arguments& arguments) {
  const bool ours = arguments.has("ours");
  const bool theirs = arguments.has("theirs");
  if (ours && theirs) failUsage("--ours and --theirs exclude each other");
  return ours ? MergeSide::ours : theirs ? MergeSide::theirs : MergeSide::neither;
}

std::string lossText(const jt::Difference& difference) {
  return difference.path + " " + jt::differenceName(difference.kind) +
         (difference.name.empty() ? "" : " " + difference.name);
}

void writeConflicts(JsonWriter& json, const Merged& merged) {
  json.key("conflicts");
  json.beginArray();
  for (const jtw::MergeConflict& conflict : merged.result.conflicts) {
    json.beginObject(JsonWriter::Layout::line);
    json.key("at");
    writePatchPlace(json, conflict.at);
    json.member("what", jtw::patchWhatName(conflict.what));
    json.textOrNull("name", conflict.name);
    const auto side = [&](const char* name, const jtw::PatchValue& value) {
      json.key(name);
      writePatchValue(json, value, conflict.name);
    };
    side("base", conflict.base);
    side("ours", conflict.ours);
    side("theirs", conflict.theirs);
    json.member("reason", conflict.reason);
    json.end();
  }
  if (merged.content) {
    json.beginObject(JsonWriter::Layout::line);
    json.nullMember("at");
    json.member("what", "content");
    json.nullMember("name");
    json.nullMember("base");
    json.member("ours", lossText(merged.content->ours));
    json.member("theirs", lossText(merged.content->theirs));
    json.member("reason", "both sides changed what no patch can hold");
    json.end();
  }
  json.end();
}

void showConflicts(Session& session, const Merged& merged) {
  Output& out = session.out();
  const std::string label = session.style().paint(Ink::red, "conflict ");
  for (const jtw::MergeConflict& conflict : merged.result.conflicts) {
    std::string text = conflict.at;
    text.append("  ").append(jtw::patchWhatName(conflict.what));
    if (!conflict.name.empty()) text.append(" ").append(conflict.name);
    text.append(": ").append(conflict.reason).append(": ").append(jtw::valueText(conflict.base));
    text.append(" -> ").append(jtw::valueText(conflict.ours));
    text.append(" | ").append(jtw::valueText(conflict.theirs));
    out.line(label + printable(text));
  }
  if (merged.content)
    out.line(label +
             printable("content: both sides changed what no patch can hold: " +
                       lossText(merged.content->ours) + " | " + lossText(merged.content->theirs)));
}

}  // namespace

ExitCode runMerge(Session& session) {
  const Arguments& arguments = session.arguments();
  const MergeSide side = sideOption(arguments);
  const bool dryRun = arguments.has("dry-run");
  const std::string& out = session.argument(3);
  const DocumentName outName(out);
  // A folder that is there has a JT file to be written.
  const std::string outFile = outName.isFolder ? jtFileOf(out) : out;
  Component base(session, session.argument(0), false);
  Component ours(session, session.argument(1), false);
  Component theirs(session, session.argument(2), false);
  const Merged merged =
      jtw::mergeComponents(base.objects(), ours.objects(), theirs.objects(), side);
  const bool isRefused = merged.conflictCount() > 0 && side == MergeSide::neither;
  if (!session.wantsJson()) showConflicts(session, merged);
  std::optional<jt::SaveReport> report;
  if (!isRefused) {
    Component& start = merged.startsFromTheirs ? theirs : ours;
    // One document may be given twice; its wrappers went when the changes were tried on the base.
    if (&start.root() == &base.root()) start.objects().forgetChanges();
    if (!jtw::applyPatch(start.objects(), merged.result.patch).misfits.empty())
      throw Failure(ExitCode::refused, "not_supported",
                    "the changes of both sides do not go together", {.file = start.document()});
    jt::SaveOptions options;
    options.dryRun = dryRun;
    claimOutput(session, outFile, dryRun);
    report =
        savePartition(*start.root().partition(), outputLocation(outFile).get(), options, outFile);
    showSaveWarnings(session, *report);
  }
  const std::size_t conflicts = merged.conflictCount();
  if (!session.wantsJson()) {
    if (isRefused) {
      session.out().line(counted(conflicts, "conflict") +
                         "; nothing is written without --ours or --theirs");
      return ExitCode::no;
    }
    session.out().line("merged " + counted(merged.result.patch.changes.size(), "change") +
                       (conflicts > 0 ? ", decided " + counted(conflicts, "conflict") : ""));
    showSaved(session, *report, dryRun);
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("out", out);
  session.json().member("changes", merged.result.patch.changes.size());
  writeConflicts(session.json(), merged);
  if (report)
    writeSaved(session, *report);
  else
    session.json().nullMember("saved");
  session.endResult();
  return isRefused ? ExitCode::no : ExitCode::done;
}

}  // namespace tool
