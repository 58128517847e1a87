#include "Batch.h"

#include <algorithm>
#include <csignal>
#include <cstring>
#include <string_view>
#include <thread>
#include <utility>

#include "Progress.h"
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

Batch::Batch(Session& session, std::size_t count, Work work)
    : session_(session), work_(std::move(work)), reports_(count) {}

std::size_t Batch::jobs(const Session& session) {
  const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
  return session.arguments().positiveNumber("jobs").value_or(cores);
}

void Batch::run(const std::vector<std::size_t>& pieces, std::size_t jobs) {
  const SignalsNoted noted;
  session_.out().flush();  // or each process would have it to write
  Progress progress(session_, work_.label);
  const auto run = [this](std::size_t piece) { return work_.run(piece).packed(); };
  const auto done = [&](std::size_t piece, const std::optional<std::string>& result) {
    progress.clear();
    take(piece, result ? PieceReport::unpacked(*result) : work_.lost(piece));
    progress.update(static_cast<double>(done_) / static_cast<double>(size()),
                    std::to_string(done_) + " of " + std::to_string(size()));
  };
  if (runInProcesses(pieces, jobs, run, done)) return;
  progress.clear();
  showRest();
  throw Failure(ExitCode::no, "interrupted",
                std::string("interrupted (") + strsignal(notedSignal()) +
                    "): " + std::to_string(done_) + " of " + std::to_string(size()) + " are done");
}

void Batch::take(std::size_t piece, PieceReport report) {
  ++done_;
  if (work_.done) work_.done(piece, report);
  reports_[piece] = std::move(report);
  const std::size_t before = shown_;
  for (; shown_ < size() && reports_[shown_]; ++shown_) show(*reports_[shown_]);
  if (shown_ != before) session_.out().flush();
}

void Batch::showRest() {
  for (; shown_ < size(); ++shown_)
    if (reports_[shown_]) show(*reports_[shown_]);
}

void Batch::show(const PieceReport& report) {
  const std::string_view warnings = report.warnings;
  for (std::size_t at = 0; at < warnings.size();) {
    const std::size_t end = warnings.find('\n', at);
    session_.warn(std::string(warnings.substr(at, end - at)));
    at = end + 1;
  }
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
  std::size_t failures = 0;
  bool allAlike = true;
  const std::optional<PieceReport>* first = nullptr;
  for (const auto& report : reports_) {
    if (!report || report->exit == ExitCode::done) continue;
    ++failures;
    if (!first) first = &report;
    allAlike = allAlike && report->exit == (*first)->exit;
  }
  if (failures == 0) return ExitCode::done;
  return failures == size() && allAlike ? (*first)->exit : ExitCode::no;
}

}  // namespace tool
