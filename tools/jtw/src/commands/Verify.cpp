#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtFormatError.h"
#include "JtInspect.h"
#include "JtwFrameLists.h"
#include "Progress.h"
#include "Session.h"

namespace tool {
namespace {

struct Verdict {
  std::string file;
  std::vector<jt::Note> findings;

  bool isSound() const {
    return std::none_of(findings.begin(), findings.end(),
                        [](const jt::Note& finding) { return finding.isError; });
  }
  /// The finding that it is missing or no JT file, or null.
  const jt::Note* unreadable() const {
    const auto found = std::find_if(findings.begin(), findings.end(), [](const jt::Note& finding) {
      return finding.isError && isUnreadable(finding.code);
    });
    return found == findings.end() ? nullptr : &*found;
  }
};

/// What the host keeps in a file is looked at through the component model.
void addFrameFindings(Session& session, JtStorageLocation& location,
                      std::vector<jt::Note>& findings) {
  const Library library(session);
  try {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(&location, nullptr, opened, readLimits(session));
    const auto partition = jt::Ref<JtPartition>::adopt(opened);
    if (!partition) return;
    for (jt::Note& finding : jtw::verifyFrameLists(*partition))
      findings.push_back(std::move(finding));
  } catch (const JtFormatError&) {
    // Is among the findings already.
  }
}

Verdict examine(Session& session, const std::string& path) {
  Progress progress(session, "verify " + path);
  const jt::Ref<JtStorageLocation> location = inputLocation(path);
  Verdict verdict{path, jt::verify(*location, readLimits(session),
                                   [&progress](double share) { progress.update(share); })};
  addFrameFindings(session, *location, verdict.findings);
  return verdict;
}

void writeVerdict(JsonWriter& json, const Verdict& verdict) {
  json.member("file", verdict.file);
  json.member("sound", verdict.isSound());
  json.key("findings");
  json.beginArray();
  for (const jt::Note& finding : verdict.findings) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("severity", finding.isError ? "error" : "warning");
    json.member("code", finding.code);
    json.textOrNull("segment", finding.segment);
    json.member("offset", finding.offset);
    json.member("message", finding.message);
    json.end();
  }
  json.end();
}

void showVerdict(Session& session, const Verdict& verdict) {
  Output& out = session.out();
  const Style& style = session.style();
  const bool sound = verdict.isSound();
  out.line(printable(verdict.file) + ": " +
           style.paint(sound ? Ink::green : Ink::red, sound ? "sound" : "not sound"));
  for (const jt::Note& finding : verdict.findings)
    out.line("  " +
             style.paint(finding.isError ? Ink::red : Ink::yellow,
                         finding.isError ? "error  " : "warning") +
             " " + finding.code + ": " +
             printable(describe(
                 {.file = {}, .segment = finding.segment, .element = {}, .offset = finding.offset},
                 finding.message)));
}

}  // namespace

ExitCode runVerify(Session& session) {
  const std::vector<std::string>& paths = session.arguments().positional();
  std::vector<Verdict> verdicts;
  verdicts.reserve(paths.size());
  for (const std::string& path : paths) verdicts.push_back(examine(session, path));

  const bool allUnreadable = std::all_of(verdicts.begin(), verdicts.end(),
                                         [](const Verdict& v) { return v.unreadable(); });
  const bool allSound =
      std::all_of(verdicts.begin(), verdicts.end(), [](const Verdict& v) { return v.isSound(); });
  if (verdicts.size() == 1 && allUnreadable) {
    const jt::Note& finding = *verdicts[0].unreadable();
    throw Failure(
        ExitCode::input, finding.code, finding.message,
        {.file = paths[0], .segment = finding.segment, .element = {}, .offset = finding.offset});
  }

  if (!session.wantsJson()) {
    for (const Verdict& verdict : verdicts) showVerdict(session, verdict);
  } else {
    JsonWriter& json = session.json();
    session.beginResult();
    if (verdicts.size() == 1) {
      writeVerdict(json, verdicts[0]);
    } else {
      json.member("sound", allSound);
      json.key("files");
      json.beginArray();
      for (const Verdict& verdict : verdicts) {
        json.beginObject();
        writeVerdict(json, verdict);
        json.end();
      }
      json.end();
    }
    session.endResult();
  }
  if (allUnreadable) return ExitCode::input;
  return allSound ? ExitCode::done : ExitCode::no;
}

}  // namespace tool
