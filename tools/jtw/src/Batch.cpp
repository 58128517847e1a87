#include "Batch.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <numeric>
#include <string_view>
#include <system_error>
#include <utility>

#include "JtParallel.h"
#include "MergedReport.h"
#include "Progress.h"
#include "RunLog.h"
#include "Session.h"
#include "Signals.h"
#include "Workers.h"

namespace tool {
namespace {

/// An object that was laid out for itself, as it looks in a list of the result.
std::string indented(std::string_view json) {
  std::string text;
  for (const char letter : json.substr(0, json.find_last_not_of('\n') + 1)) {
    text += letter;
    if (letter == '\n') text += "    ";
  }
  return text;
}

}  // namespace

// In front are the outcome and the exit code, a character each, and warnings, a line each, up to an
// empty line; then the length of the record, up to another line's end, and the record.

std::string PieceReport::packed() const {
  return std::string{static_cast<char>(outcome), static_cast<char>(exit)} + warnings + "\n" +
         std::to_string(record.size()) + "\n" + record + body;
}

PieceReport PieceReport::unpacked(const std::string& text) {
  PieceReport report;
  report.outcome = static_cast<std::uint8_t>(text.at(0));
  report.exit = static_cast<ExitCode>(text.at(1));
  std::size_t at = 2;
  while (text.at(at) != '\n') {
    const std::size_t end = text.find('\n', at) + 1;
    report.warnings.append(text, at, end - at);
    at = end;
  }
  const std::size_t length = std::stoul(text.substr(at + 1));
  at = text.find('\n', at + 1) + 1;
  report.record = text.substr(at, length);
  report.body = text.substr(at + length);
  return report;
}

Batch::Batch(Session& session, const FileList& list, Work work)
    : session_(session), work_(std::move(work)), reports_(list.files.size()) {
  files_.reserve(list.files.size());
  for (const ListedFile& file : list.files) files_.push_back(file.path);
  if (session.arguments().has("report")) {
    log_ = std::make_unique<RunLog>(session, list, work_.outputs);
    done_ = static_cast<std::size_t>(
        std::ranges::count_if(files_, [this](const auto& file) { return log_->has(file); }));
  } else if (session.wantsJson()) {
    session.beginResult();
    session.json().key(work_.list);
    session.json().beginArray();
  }
}

Batch::~Batch() = default;

std::size_t Batch::jobs(const Session& session) {
  const std::size_t cores = jt::coreCount();
  return session.arguments().positiveNumber("jobs").value_or(cores);
}

bool Batch::wantsJson(const Session& session) {
  return session.wantsJson() || session.arguments().has("report");
}

void Batch::run(std::size_t jobs) {
  std::vector<std::size_t> all(size());
  std::iota(all.begin(), all.end(), std::size_t{0});
  run(all, jobs);
}

void Batch::run(const std::vector<std::size_t>& pieces, std::size_t jobs) {
  const SignalsNoted noted;
  session_.out().flush();  // or each process would have it to write
  Progress progress(session_, work_.label);
  std::vector<std::size_t> missing = pieces;
  if (log_) std::erase_if(missing, [this](std::size_t i) { return log_->has(files_[i]); });
  const auto run = [this](std::size_t piece) {
    return (log_ ? runForReport(piece) : work_.run(piece)).packed();
  };
  const auto done = [&](std::size_t piece, const std::optional<std::string>& result) {
    progress.clear();
    take(piece, result ? PieceReport::unpacked(*result) : lose(piece));
    progress.update(static_cast<double>(done_) / static_cast<double>(size()),
                    std::to_string(done_) + " of " + std::to_string(size()));
  };
  // Starting a process costs as much as a small file. Few pieces each, so that all end together.
  constexpr std::size_t kMostPieces = 16;
  constexpr std::size_t kRounds = 8;
  const std::size_t perProcess =
      work_.leavesNothing
          ? std::clamp<std::size_t>(missing.size() / (jobs * kRounds), 1, kMostPieces)
          : 1;
  if (runInProcesses(missing, jobs, perProcess, run, done)) return;
  progress.clear();
  showRest();
  throw Failure(ExitCode::no, "interrupted",
                std::string("interrupted (") + strsignal(notedSignal()) +
                    "): " + std::to_string(done_) + " of " + std::to_string(size()) + " are done" +
                    (log_ ? "; --resume does the others" : ""));
}

RunEntry Batch::entryOf(std::size_t piece, const PieceReport& report) const {
  RunEntry entry;
  entry.id = idOf(files_[piece]);
  entry.file = files_[piece];
  entry.exit = report.exit;
  entry.outcome = work_.outcome(report);
  return entry;
}

/// Does a piece; the line for the report takes the place of its result.
PieceReport Batch::runForReport(std::size_t piece) const {
  using Clock = std::chrono::steady_clock;
  // A file that changes while it is worked on counts as changed, unless the work changes it.
  const FileState before = FileState::of(files_[piece]);
  const Clock::time_point start = Clock::now();
  PieceReport report = work_.run(piece);
  RunEntry entry = entryOf(piece, report);
  const auto time = std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - start);
  entry.seconds = static_cast<double>(time.count()) / 1e6;
  entry.state = work_.changesFiles ? FileState::of(files_[piece]) : before;
  std::string output = work_.outputs.empty() ? std::string() : work_.outputs[piece];
  std::error_code ignored;
  if (!output.empty() && !std::filesystem::exists(output, ignored)) output.clear();
  entry.format(output, report.body);
  report.body = std::move(entry.text);
  return report;
}

PieceReport Batch::lose(std::size_t piece) const {
  PieceReport report = work_.lost(piece);
  if (!log_) return report;
  RunEntry entry = entryOf(piece, report);
  entry.lost = true;
  entry.format({}, report.body);
  report.body = std::move(entry.text);
  return report;
}

void Batch::take(std::size_t piece, PieceReport report) {
  ++done_;
  if (work_.done) work_.done(piece, report);
  if (log_) {
    log_->append(report.body);
    showWarnings(report);
    return;
  }
  reports_[piece] = std::move(report);
  const std::size_t before = shown_;
  for (; shown_ < size() && reports_[shown_]; ++shown_) show(*reports_[shown_]);
  if (shown_ != before) session_.out().flush();
}

void Batch::showRest() {
  for (; shown_ < size(); ++shown_)
    if (reports_[shown_]) show(*reports_[shown_]);
}

void Batch::showWarnings(const PieceReport& report) {
  const std::string_view warnings = report.warnings;
  for (std::size_t at = 0; at < warnings.size();) {
    const std::size_t end = warnings.find('\n', at);
    session_.warn(std::string(warnings.substr(at, end - at)));
    at = end + 1;
  }
}

void Batch::show(const PieceReport& report) {
  showWarnings(report);
  if (session_.wantsJson())
    session_.json().raw(indented(report.body));
  else if (work_.isAlwaysShown || !session_.isQuiet() || report.exit != ExitCode::done)
    session_.out().write(report.body);
}

std::size_t Batch::count(std::uint8_t outcome) const {
  return static_cast<std::size_t>(std::ranges::count_if(
      reports_, [&](const auto& report) { return report && report->outcome == outcome; }));
}

ExitCode Batch::exit() const {
  std::vector<ExitCode> exits;
  for (const auto& report : reports_) exits.push_back(report ? report->exit : ExitCode::done);
  return exitOfAll(exits);
}

ExitCode Batch::finish(const std::function<void()>& summarize,
                       const std::function<void(const MergedReport&)>& withReport) {
  if (log_) {
    const MergedReport merged({readRunReport(log_->path())}, MergedReport::Scope::oneRun);
    if (withReport) withReport(merged);
    showReport(session_, merged, false);
    return merged.exit();
  }
  if (session_.wantsJson()) session_.json().end();
  summarize();
  if (session_.wantsJson()) session_.endResult();
  return exit();
}

}  // namespace tool
