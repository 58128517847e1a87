#include <algorithm>
#include <cstdint>
#include <functional>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "Assembly.h"
#include "Batch.h"
#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtFileGuard.h"
#include "JtFormatError.h"
#include "JtInspect.h"
#include "JtwFrameLists.h"
#include "Progress.h"
#include "Session.h"

namespace tool {
namespace {

bool isSound(const std::vector<jt::Diagnostic>& findings) {
  return std::ranges::none_of(findings,
                              [](const jt::Diagnostic& finding) { return finding.isError; });
}

/// A part file, and what is wrong with it.
struct PartVerdict {
  jt::PartFile part;
  std::vector<jt::Diagnostic> findings;
};

struct Verdict {
  std::string file;
  std::vector<jt::Diagnostic> findings;
  std::vector<PartVerdict> parts;

  bool isSound() const {
    return tool::isSound(findings) && std::ranges::all_of(parts, [](const PartVerdict& part) {
             return tool::isSound(part.findings);
           });
  }
  /// The finding that it is missing or no JT file, or null.
  const jt::Diagnostic* unreadable() const {
    const auto found =
        std::find_if(findings.begin(), findings.end(), [](const jt::Diagnostic& finding) {
          return finding.isError && isUnreadable(finding.code);
        });
    return found == findings.end() ? nullptr : &*found;
  }
};

/// What the host keeps in a file is looked at through the component model, which has to be started.
void addFrameFindings(JtStorageLocation& location, const jt::ReadLimits& limits,
                      std::vector<jt::Diagnostic>& findings) {
  try {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(&location, nullptr, opened, limits);
    const auto partition = jt::Ref<JtPartition>::adopt(opened);
    if (!partition) return;
    for (jt::Diagnostic& finding : jtw::verifyFrameLists(*partition))
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

void nameOptions(std::vector<jt::Diagnostic>& findings) {
  for (jt::Diagnostic& finding : findings)
    if (finding.isError) finding.message += limitOptions(finding.code);
}

std::vector<jt::Diagnostic> examinePart(const jt::PartFile& part, const jt::ReadLimits& limits) {
  using State = jt::PartFile::State;
  std::vector<jt::Diagnostic> findings;
  if (part.state == State::read || part.state == State::damaged) {
    const auto location = jt::make<JtFSStorageLocation>(JtString(), JtString(part.file));
    findings = jt::verify(*location, limits);
    addFrameFindings(*location, limits, findings);
  }
  if (part.state != State::read && isSound(findings))
    findings.push_back(
        {std::string("part_") + jt::stateName(part.state), part.error, {}, {}, true});
  nameOptions(findings);
  return findings;
}

Verdict examine(Session& session, const std::string& path,
                const std::function<void(double share)>& progress) {
  const jt::ReadLimits limits = readLimits(session);
  const jt::Ref<JtStorageLocation> location = inputLocation(path);
  std::vector<jt::PartFile> parts;
  if (path != "-") parts = listParts(*location, limits);
  const double share = 1.0 / static_cast<double>(parts.size() + 1);
  Verdict verdict{
      path, jt::verify(*location, limits, [&](double done) { progress(done * share); }), {}};
  const Library library(session);
  addFrameFindings(*location, limits, verdict.findings);
  nameOptions(verdict.findings);
  for (jt::PartFile& part : parts) {
    part.partition = nullptr;
    part.holders.clear();
    std::vector<jt::Diagnostic> findings = examinePart(part, limits);
    verdict.parts.push_back({std::move(part), std::move(findings)});
    progress(static_cast<double>(verdict.parts.size() + 1) * share);
  }
  return verdict;
}

void writeFindings(JsonWriter& json, const std::string& part,
                   const std::vector<jt::Diagnostic>& findings) {
  for (const jt::Diagnostic& finding : findings) {
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

void showFindings(Output& out, const Style& style, const std::string& part,
                  const std::vector<jt::Diagnostic>& findings) {
  for (const jt::Diagnostic& finding : findings)
    out.line(
        "  " +
        style.paint(finding.isError ? Ink::red : Ink::yellow,
                    finding.isError ? "error  " : "warning") +
        " " + finding.code + ": " +
        printable(describe({.file = part, .segment = finding.segment, .offset = finding.offset},
                           finding.message)));
}

void showVerdict(Output& out, const Style& style, const Verdict& verdict) {
  const bool sound = verdict.isSound();
  out.line(printable(verdict.file) + ": " +
           style.paint(sound ? Ink::green : Ink::red, sound ? "sound" : "not sound"));
  showFindings(out, style, {}, verdict.findings);
  for (const PartVerdict& part : verdict.parts)
    showFindings(out, style, part.part.file, part.findings);
}

ExitCode verifyOne(Session& session, const std::string& path) {
  Progress progress(session, "verify " + path);
  const Verdict verdict =
      examine(session, path, [&progress](double share) { progress.update(share); });
  if (const jt::Diagnostic* finding = verdict.unreadable())
    throw Failure(ExitCode::input, finding->code, finding->message,
                  {.file = path, .segment = finding->segment, .offset = finding->offset});
  if (session.wantsJson()) {
    session.beginResult();
    writeVerdict(session.json(), verdict);
    session.endResult();
  } else if (!session.isQuiet() || !verdict.isSound()) {
    showVerdict(session.out(), session.style(), verdict);
  }
  return verdict.isSound() ? ExitCode::done : ExitCode::no;
}

// --- Many files

enum class Outcome : std::uint8_t { sound, notSound, unreadable };

/// A verdict in any case: what cannot be read at all is a finding.
Verdict examineAny(Session& session, const std::string& path) {
  const auto failed = [&path](const std::string& code, const std::string& message,
                              const jt::FilePosition& where) {
    return Verdict{path, {{code, message, where.segment, where.offset, true}}, {}};
  };
  Verdict verdict;
  try {
    verdict = examine(session, path, [](double) {});
  } catch (const Failure& failure) {
    verdict = failed(failure.code(), failure.what(), failure.where());
  } catch (const JtFormatError& error) {
    verdict = failed(error.code(), error.message(), error.where());
  }
  if (const auto change = jt::takeFileChange())
    return failed(change->code(), change->message(), change->where());
  return verdict;
}

PieceReport reportOf(Session& session, const Verdict& verdict) {
  PieceReport report;
  const Outcome outcome = verdict.unreadable() ? Outcome::unreadable
                          : verdict.isSound()  ? Outcome::sound
                                               : Outcome::notSound;
  report.outcome = static_cast<std::uint8_t>(outcome);
  report.exit = outcome == Outcome::sound      ? ExitCode::done
                : outcome == Outcome::notSound ? ExitCode::no
                                               : ExitCode::input;
  Output out;
  if (session.wantsJson()) {
    JsonWriter json(out);
    json.beginObject();
    writeVerdict(json, verdict);
    json.end();
  } else {
    showVerdict(out, session.style(), verdict);
  }
  report.body = out.take();
  return report;
}

void showSummary(Session& session, const Batch& batch) {
  const auto count = [&batch](Outcome outcome) {
    return batch.count(static_cast<std::uint8_t>(outcome));
  };
  if (session.wantsJson()) {
    JsonWriter& json = session.json();
    json.member("sound", count(Outcome::sound) == batch.size());
    json.key("summary");
    json.beginObject(JsonWriter::Layout::line);
    json.member("files", batch.size());
    json.member("sound", count(Outcome::sound));
    json.member("notSound", count(Outcome::notSound));
    json.member("unreadable", count(Outcome::unreadable));
    json.end();
  } else if (!session.isQuiet()) {
    session.out().line(counted(batch.size(), "file") + ": " +
                       std::to_string(count(Outcome::sound)) + " sound, " +
                       std::to_string(count(Outcome::notSound)) + " not sound, " +
                       std::to_string(count(Outcome::unreadable)) + " unreadable");
  }
}

ExitCode verifyMany(Session& session, const std::vector<std::string>& paths) {
  const auto run = [&](std::size_t i) { return reportOf(session, examineAny(session, paths[i])); };
  const auto lost = [&](std::size_t i) {
    return reportOf(session, {paths[i],
                              {{"worker_failed",
                                "the process that read it could not be started or broke off",
                                {},
                                {},
                                true}},
                              {}});
  };
  Batch batch(session, paths.size(), {"verify", run, lost, {}});
  std::vector<std::size_t> pieces(paths.size());
  std::iota(pieces.begin(), pieces.end(), std::size_t{0});
  if (session.wantsJson()) {
    session.beginResult();
    session.json().key("files");
    session.json().beginArray();
  }
  batch.run(pieces, Batch::jobs(session));
  if (session.wantsJson()) session.json().end();
  showSummary(session, batch);
  if (session.wantsJson()) session.endResult();
  return batch.exit();
}

}  // namespace

ExitCode runVerify(Session& session) {
  const std::vector<std::string>& paths = session.arguments().positional();
  return paths.size() == 1 ? verifyOne(session, paths[0]) : verifyMany(session, paths);
}

}  // namespace tool
