#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Batch.h"
#include "Command.h"
#include "Component.h"
#include "Examination.h"
#include "FileList.h"
#include "InputFile.h"
#include "JtFileGuard.h"
#include "JtFormatError.h"
#include "MergedReport.h"
#include "Progress.h"
#include "Session.h"
#include "Verdict.h"
#include "VerifyReports.h"

namespace tool {
namespace {

ExaminationRules rulesOf(const Session& session) {
  constexpr double kTolerance = 0.001;
  ExaminationRules rules{.limits = readLimits(session), .properties = {}};
  const auto tolerance = session.arguments().tolerance("tolerance");
  if (session.arguments().has("properties"))
    rules.properties = tolerance.value_or(kTolerance);
  else if (tolerance)
    failUsage("--tolerance is for --properties");
  return rules;
}

Verdict examine(Session& session, const std::string& path,
                const std::function<void(double share)>& progress) {
  const ExaminationRules rules = rulesOf(session);
  const Library library(session);
  return tool::examine(path, rules, progress);
}

/// The answer, and where reports in other forms go.
struct Reports {
  explicit Reports(Session& session)
      : files(session), rules(VerdictRules::of(session.arguments())) {}
  bool any() const { return files.any(); }
  void write(const std::vector<Verdict>& verdicts) const { files.write(verdicts, rules); }

  VerifyReportFiles files;
  VerdictRules rules;
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
  if (Batch::wantsJson(session)) {
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

std::string wordFor(const PieceReport& report) {
  switch (static_cast<Outcome>(report.outcome)) {
    case Outcome::sound:
      // With --strict, warnings fail it.
      return report.exit == ExitCode::done ? "sound" : "sound with warnings";
    case Outcome::notSound:
      return "not sound";
    case Outcome::unreadable:
      return "unreadable";
  }
  return {};
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

ExitCode verifyMany(Session& session, const FileList& list, const Reports& reports) {
  const std::vector<ListedFile>& files = list.files;
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
  Batch batch(session, list,
              {.label = "verify",
               .outcome = wordFor,
               .run = run,
               .lost = lost,
               .done = done,
               .leavesNothing = true});
  batch.run(Batch::jobs(session));
  return batch.finish(
      [&] {
        showSummary(session, batch);
        reports.write(verdicts);
      },
      [&](const MergedReport& merged) {
        if (reports.any()) reports.write(merged.verdicts());
      });
}

}  // namespace

ExitCode runVerify(Session& session) {
  const Reports reports(session);
  const FileList list = listFiles(session);
  return list.isOne ? verifyOne(session, list.files[0].path, reports)
                    : verifyMany(session, list, reports);
}

}  // namespace tool
