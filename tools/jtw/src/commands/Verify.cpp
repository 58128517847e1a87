#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "Assembly.h"
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

bool isSound(const std::vector<jt::Note>& findings) {
  return std::ranges::none_of(findings, [](const jt::Note& finding) { return finding.isError; });
}

/// A part file, and what is wrong with it.
struct PartVerdict {
  jt::PartFile part;
  std::vector<jt::Note> findings;
};

struct Verdict {
  std::string file;
  std::vector<jt::Note> findings;
  std::vector<PartVerdict> parts;

  bool isSound() const {
    return tool::isSound(findings) && std::ranges::all_of(parts, [](const PartVerdict& part) {
             return tool::isSound(part.findings);
           });
  }
  /// The finding that it is missing or no JT file, or null.
  const jt::Note* unreadable() const {
    const auto found = std::find_if(findings.begin(), findings.end(), [](const jt::Note& finding) {
      return finding.isError && isUnreadable(finding.code);
    });
    return found == findings.end() ? nullptr : &*found;
  }
};

/// What the host keeps in a file is looked at through the component model, which has to be started.
void addFrameFindings(JtStorageLocation& location, const jt::ReadLimits& limits,
                      std::vector<jt::Note>& findings) {
  try {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(&location, nullptr, opened, limits);
    const auto partition = jt::Ref<JtPartition>::adopt(opened);
    if (!partition) return;
    for (jt::Note& finding : jtw::verifyFrameLists(*partition))
      findings.push_back(std::move(finding));
  } catch (const JtFormatError&) {
    // Is among the findings already.
  }
}

/// The part files that a file refers to, closed again: of a large assembly one is looked at after
/// the other.
std::vector<jt::PartFile> listParts(JtStorageLocation& location, const jt::ReadLimits& limits) {
  JtPartition::_autoLoadShapes = false;
  try {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(&location, nullptr, opened, limits);
    const auto top = jt::Ref<JtPartition>::adopt(opened);
    JtPartition::openAllPartitions(opened, true);
    return jt::partFilesOf(*top);
  } catch (const JtFormatError&) {
    return {};  // is among the findings
  }
}

void nameOptions(std::vector<jt::Note>& findings) {
  for (jt::Note& finding : findings)
    if (finding.isError) finding.message += limitOptions(finding.code);
}

std::vector<jt::Note> examinePart(const jt::PartFile& part, const jt::ReadLimits& limits) {
  using State = jt::PartFile::State;
  std::vector<jt::Note> findings;
  if (part.state == State::read || part.state == State::damaged) {
    const auto location = jt::make<JtFSStorageLocation>(JtString(), JtString(part.file));
    findings = jt::verify(*location, limits);
    addFrameFindings(*location, limits, findings);
  }
  if (part.state != State::read && isSound(findings))
    findings.push_back(
        {true, std::string("part_") + jt::stateName(part.state), {}, {}, part.error});
  nameOptions(findings);
  return findings;
}

Verdict examine(Session& session, const std::string& path) {
  Progress progress(session, "verify " + path);
  const jt::ReadLimits limits = readLimits(session);
  const jt::Ref<JtStorageLocation> location = inputLocation(path);
  std::vector<jt::PartFile> parts;
  if (path != "-") parts = listParts(*location, limits);
  const double share = 1.0 / static_cast<double>(parts.size() + 1);
  Verdict verdict{
      path, jt::verify(*location, limits, [&](double done) { progress.update(done * share); }), {}};
  const Library library(session);
  addFrameFindings(*location, limits, verdict.findings);
  nameOptions(verdict.findings);
  for (jt::PartFile& part : parts) {
    part.partition = nullptr;
    part.holders.clear();
    std::vector<jt::Note> findings = examinePart(part, limits);
    verdict.parts.push_back({std::move(part), std::move(findings)});
    progress.update(static_cast<double>(verdict.parts.size() + 1) * share);
  }
  return verdict;
}

void writeFindings(JsonWriter& json, const std::string& part,
                   const std::vector<jt::Note>& findings) {
  for (const jt::Note& finding : findings) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("severity", finding.isError ? "error" : "warning");
    json.member("code", finding.code);
    json.textOrNull("segment", finding.segment);
    json.member("offset", finding.offset);
    json.member("message", finding.message);
    json.textOrNull("file", part);
    json.end();
  }
}

void writeVerdict(JsonWriter& json, const Verdict& verdict) {
  json.member("file", verdict.file);
  json.member("sound", verdict.isSound());
  json.key("findings");
  json.beginArray();
  writeFindings(json, {}, verdict.findings);
  for (const PartVerdict& part : verdict.parts) writeFindings(json, part.part.file, part.findings);
  json.end();
  if (verdict.parts.empty()) return;
  json.key("files");
  json.beginArray();
  for (const PartVerdict& part : verdict.parts) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("file", part.part.file);
    json.member("state", jt::stateName(part.part.state));
    json.textOrNull("error", part.part.error);
    json.member("sound", isSound(part.findings));
    json.end();
  }
  json.end();
}

void showFindings(Session& session, const std::string& part,
                  const std::vector<jt::Note>& findings) {
  const Style& style = session.style();
  for (const jt::Note& finding : findings)
    session.out().line(
        "  " +
        style.paint(finding.isError ? Ink::red : Ink::yellow,
                    finding.isError ? "error  " : "warning") +
        " " + finding.code + ": " +
        printable(describe(
            {.file = part, .segment = finding.segment, .element = {}, .offset = finding.offset},
            finding.message)));
}

void showVerdict(Session& session, const Verdict& verdict) {
  Output& out = session.out();
  const Style& style = session.style();
  const bool sound = verdict.isSound();
  out.line(printable(verdict.file) + ": " +
           style.paint(sound ? Ink::green : Ink::red, sound ? "sound" : "not sound"));
  showFindings(session, {}, verdict.findings);
  for (const PartVerdict& part : verdict.parts)
    showFindings(session, part.part.file, part.findings);
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
