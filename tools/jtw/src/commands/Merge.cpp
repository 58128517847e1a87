#include <algorithm>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtwEditError.h"
#include "JtwMerge.h"
#include "JtwPatch.h"
#include "PartCopies.h"
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

const char* fromName(const jtw::MergedChange& taken) {
  return !taken.theirs ? "ours" : !taken.ours ? "theirs" : "both";
}

void writeTaken(JsonWriter& json, const Merged& merged) {
  json.key("taken");
  json.beginArray();
  for (const jtw::MergedChange& taken : merged.result.taken) {
    const jtw::PatchChange& change = taken.change;
    json.beginObject(JsonWriter::Layout::line);
    json.member("from", fromName(taken));
    json.key("at");
    writePatchPlace(json, change.at);
    json.member("what", jtw::patchWhatName(change.what));
    json.textOrNull("name", change.name);
    json.key("base");
    writePatchValue(json, change.before, change.name);
    json.key("value");
    writePatchValue(json, change.after, change.name);
    json.end();
  }
  json.end();
}

/// The path of the object that a change is about, in the first component that has it.
std::string pathOf(const std::string& at, const std::vector<const Component*>& components) {
  const jtw::ObjectAddress address(at.substr(0, at.find('/')));
  for (const Component* component : components) {
    try {
      return component->objects().path(component->find(address));
    } catch (const jtw::EditError&) {
      // The other ones may have it.
    }
  }
  return {};
}

void showTaken(Session& session, const Merged& merged,
               const std::vector<const Component*>& components) {
  constexpr std::size_t kMost = 40;
  const std::vector<jtw::MergedChange>& all = merged.result.taken;
  for (std::size_t i = 0; i < std::min(kMost, all.size()); ++i) {
    const jtw::PatchChange& change = all[i].change;
    const std::string what = change.name.empty() ? jtw::patchWhatName(change.what) : change.name;
    session.report().line(padRight(fromName(all[i]), 8) + change.at + "  " +
                          printable(pathOf(change.at, components)) + "  " +
                          printable(what + ": " + jtw::valueText(change.before) + " -> " +
                                    jtw::valueText(change.after)));
  }
  if (all.size() > kMost)
    session.report().line("... and " + std::to_string(all.size() - kMost) +
                          " more; --json lists them");
}

/// Part files are written beside OUT, or, where OUT is the file that the changes were made in, in
/// their places.
jt::SaveReport save(Component& merged, const std::string& outFile, bool changes, bool dryRun) {
  jt::SaveOptions options;
  options.dryRun = dryRun;
  JtPartition& top = *merged.root().partition();
  std::error_code ignored;
  const bool isInPlace = std::filesystem::equivalent(merged.file(), outFile, ignored);
  const std::vector<jt::PartFile> parts = merged.partFiles();
  if (isInPlace || outFile == "-" || parts.empty()) {
    options.partFiles = isInPlace;
    return savePartition(top, outputLocation(outFile).get(), options, outFile);
  }
  return saveCopy(top, top, parts,
                  {.input = merged.file(), .output = outFile, .changesParts = changes}, options);
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
  Component& start = merged.startsFromTheirs ? theirs : ours;
  std::optional<jt::SaveReport> report;
  if (!isRefused) {
    // One document may be given twice; its wrappers went when the changes were tried on the base.
    if (&start.root() == &base.root()) start.objects().forgetChanges();
    if (!jtw::applyPatch(start.objects(), merged.result.patch).misfits.empty())
      throw Failure(ExitCode::refused, "not_supported",
                    "the changes of both sides do not go together", {.file = start.document()});
    claimOutput(session, outFile, dryRun);
    report = save(start, outFile, !merged.result.patch.changes.empty(), dryRun);
    showSaveWarnings(session, *report);
  }
  const std::size_t conflicts = merged.conflictCount();
  if (!session.wantsJson()) {
    if (isRefused) {
      session.out().line(counted(conflicts, "conflict") +
                         "; nothing is written without --ours or --theirs");
      return ExitCode::no;
    }
    // What is not in the merged component was in the base.
    std::vector<const Component*> named{&start};
    if (&start.root() != &base.root()) named.push_back(&base);
    showTaken(session, merged, named);
    session.report().line("merged " + counted(merged.result.patch.changes.size(), "change") +
                          (conflicts > 0 ? ", decided " + counted(conflicts, "conflict") : ""));
    showSaved(session, *report, dryRun);
    return ExitCode::done;
  }
  session.beginResult();
  session.json().member("out", out);
  session.json().member("changes", merged.result.patch.changes.size());
  writeTaken(session.json(), merged);
  writeConflicts(session.json(), merged);
  if (report)
    writeSaved(session, *report);
  else
    session.json().nullMember("saved");
  session.endResult();
  return isRefused ? ExitCode::no : ExitCode::done;
}

}  // namespace tool
