#include <algorithm>
#include <cstdint>
#include <functional>
#include <iterator>
#include <numeric>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Assembly.h"
#include "Batch.h"
#include "Command.h"
#include "Component.h"
#include "FileList.h"
#include "InputFile.h"
#include "JtFileGuard.h"
#include "JtFormatError.h"
#include "JtInspect.h"
#include "JtValidation.h"
#include "JtwFrameLists.h"
#include "Progress.h"
#include "Session.h"
#include "Verdict.h"
#include "VerifyReports.h"

namespace tool {
namespace {

/// How files are looked at.
struct Checks {
  explicit Checks(const Session& session) : limits(readLimits(session)) {
    constexpr double kTolerance = 0.001;
    const auto tolerance = session.arguments().tolerance("tolerance");
    if (session.arguments().has("properties"))
      properties = tolerance.value_or(kTolerance);
    else if (tolerance)
      failUsage("--tolerance is for --properties");
  }

  jt::ReadLimits limits;
  std::optional<double> properties;  ///< the tolerance of validation properties
};

/// Looks at what a file means, beyond its form. What the host keeps in it is looked at through the
/// component model, which has to be started.
/// @return the number of parts whose validation properties were compared
std::size_t addMeaningFindings(JtStorageLocation& location, const Checks& checks,
                               std::vector<jt::Diagnostic>& findings) {
  try {
    JtPartition* opened = nullptr;
    JtPartition::openPartition(&location, nullptr, opened, checks.limits);
    const auto partition = jt::Ref<JtPartition>::adopt(opened);
    if (!partition) return 0;
    std::ranges::move(jtw::verifyFrameLists(*partition), std::back_inserter(findings));
    if (!checks.properties) return 0;
    jt::ValidationReport report = jt::checkValidation(*partition, *checks.properties);
    std::ranges::move(report.findings, std::back_inserter(findings));
    return report.parts;
  } catch (const JtFormatError&) {
    return 0;  // is among the findings already
  }
}

void nameOptions(std::vector<jt::Diagnostic>& findings) {
  for (jt::Diagnostic& finding : findings)
    if (finding.isError) finding.message += limitOptions(finding.code);
}

std::vector<jt::Diagnostic> examinePart(const jt::PartFile& part, const Checks& checks,
                                        std::size_t& compared) {
  using State = jt::PartFile::State;
  std::vector<jt::Diagnostic> findings;
  if (part.state == State::read || part.state == State::damaged) {
    const auto location = jt::make<JtFSStorageLocation>(part.file);
    findings = jt::verify(*location, checks.limits);
    compared += addMeaningFindings(*location, checks, findings);
  }
  const bool hasError = std::ranges::any_of(findings, &jt::Diagnostic::isError);
  if (part.state != State::read && !hasError)
    findings.push_back(
        {std::string("part_") + jt::stateName(part.state), part.error, {}, {}, true});
  nameOptions(findings);
  return findings;
}

Verdict examine(Session& session, const std::string& path,
                const std::function<void(double share)>& progress) {
  const Checks checks(session);
  const jt::Ref<JtStorageLocation> location = inputLocation(path);
  std::vector<jt::PartFile> parts;
  if (path != "-") parts = listPartFiles(*location, checks.limits);
  const double share = 1.0 / static_cast<double>(parts.size() + 1);
  Verdict verdict{.file = path,
                  .findings = jt::verify(*location, checks.limits,
                                         [&](double done) { progress(done * share); }),
                  .parts = {}};
  const Library library(session);
  std::size_t compared = addMeaningFindings(*location, checks, verdict.findings);
  nameOptions(verdict.findings);
  for (jt::PartFile& part : parts) {
    std::vector<jt::Diagnostic> findings = examinePart(part, checks, compared);
    verdict.parts.push_back({std::move(part), std::move(findings)});
    progress(static_cast<double>(verdict.parts.size() + 1) * share);
  }
  if (!checks.properties) return verdict;
  verdict.compared = compared;
  if (compared == 0 && !verdict.unreadable())
    verdict.findings.push_back(
        {"no_validation",
         "no part has anything to compare; --check of copy, convert and export stores it"});
  return verdict;
}

/// Where reports in other forms go.
struct Reports {
  explicit Reports(Session& session) : rules(VerdictRules::of(session)) {
    const auto name = [&](const char* option) {
      const std::string* file = session.arguments().value(option);
      if (!file) return std::string();
      // The next word on the command line, when the name was forgotten.
      if (file->empty() || DocumentName(*file).isJt)
        failUsage("--" + std::string(option) + " is '" + *file + "', no name for a report");
      return *file;
    };
    sarif = name("sarif");
    junit = name("junit");
    if (sarif == "-" && junit == "-") failUsage("only one report can go to standard output");
    claimOutput(session, sarif == "-" ? sarif : junit, false);
  }
  bool any() const { return !sarif.empty() || !junit.empty(); }
  void write(const std::vector<Verdict>& verdicts) const {
    const auto save = [](const std::string& file, const std::string& text) {
      writeBytes(file, std::as_bytes(std::span(text)));
    };
    if (!sarif.empty()) save(sarif, sarifLog(verdicts, rules));
    if (!junit.empty()) save(junit, junitReport(verdicts, rules));
  }

  VerdictRules rules;
  std::string sarif;
  std::string junit;
};

ExitCode verifyOne(Session& session, const std::string& path, const Reports& reports) {
  const Verdict verdict = [&] {
    Progress progress(session, "verify " + path);
    Verdict found = examine(session, path, [&progress](double share) { progress.update(share); });
    found.ignore(reports.rules);
    return found;
  }();
  reports.write({verdict});
  if (const jt::Diagnostic* finding = verdict.unreadable())
    throw Failure(ExitCode::input, finding->code, finding->message,
                  {.file = path, .segment = finding->segment, .offset = finding->offset});
  if (session.wantsJson()) {
    session.beginResult();
    writeVerdict(session.json(), verdict);
    session.endResult();
  } else if (!session.isQuiet() || !verdict.passes(reports.rules)) {
    showVerdict(session.out(), session.style(), verdict);
  }
  return verdict.passes(reports.rules) ? ExitCode::done : ExitCode::no;
}

// --- Many files

enum class Outcome : std::uint8_t { sound, notSound, unreadable };

/// A verdict in any case: what cannot be read at all is a finding.
Verdict examineAny(Session& session, const std::string& path) {
  const auto failed = [&path](const std::string& code, const std::string& message,
                              const jt::FilePosition& where) {
    return Verdict{.file = path,
                   .findings = {{code, message, where.segment, where.offset, true}},
                   .parts = {}};
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

PieceReport reportOf(Session& session, Verdict verdict, const Reports& reports) {
  verdict.ignore(reports.rules);
  PieceReport report;
  if (reports.any()) report.record = packedVerdict(verdict);
  const Outcome outcome = verdict.unreadable() ? Outcome::unreadable
                          : verdict.isSound()  ? Outcome::sound
                                               : Outcome::notSound;
  report.outcome = static_cast<std::uint8_t>(outcome);
  report.exit = outcome == Outcome::unreadable  ? ExitCode::input
                : verdict.passes(reports.rules) ? ExitCode::done
                                                : ExitCode::no;
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

ExitCode verifyMany(Session& session, const std::vector<ListedFile>& files,
                    const Reports& reports) {
  const auto run = [&](std::size_t i) {
    return reportOf(session, examineAny(session, files[i].path), reports);
  };
  const auto lost = [&](std::size_t i) {
    const char* message = "the process that read it could not be started or broke off";
    return reportOf(session,
                    {.file = files[i].path,
                     .findings = {{"worker_failed", message, {}, {}, true}},
                     .parts = {}},
                    reports);
  };
  std::vector<Verdict> verdicts(files.size());
  const auto done = [&](std::size_t i, const PieceReport& report) {
    if (reports.any()) verdicts[i] = unpackedVerdict(report.record);
  };
  Batch batch(session, files.size(), {.label = "verify", .run = run, .lost = lost, .done = done});
  std::vector<std::size_t> pieces(files.size());
  std::iota(pieces.begin(), pieces.end(), std::size_t{0});
  if (session.wantsJson()) {
    session.beginResult();
    session.json().key("files");
    session.json().beginArray();
  }
  batch.run(pieces, Batch::jobs(session));
  if (session.wantsJson()) session.json().end();
  showSummary(session, batch);
  reports.write(verdicts);
  if (session.wantsJson()) session.endResult();
  return batch.exit();
}

}  // namespace

ExitCode runVerify(Session& session) {
  const Reports reports(session);
  const FileList list = listFiles(session);
  return list.isOne ? verifyOne(session, list.files[0].path, reports)
                    : verifyMany(session, list.files, reports);
}

}  // namespace tool
