#include <algorithm>
#include <array>
#include <filesystem>
#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <vector>

#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtwManager.h"
#include "MaterialUpdate.h"
#include "Progress.h"
#include "SaveResult.h"
#include "Session.h"
#include "Workers.h"

namespace tool {
namespace {

using Outcome = MaterialUpdate::Outcome;

/// The result of one document of many, as text that comes from another process. In front stand the
/// outcome and the exit code, a character each, and warnings, a line each, up to an empty line.
struct Report {
  Outcome outcome = Outcome::failed;
  ExitCode exit = ExitCode::input;
  std::string warnings;
  std::string body;  ///< as it is printed

  static Report of(const MaterialUpdate& update) {
    Report report;
    report.outcome = update.outcome;
    report.exit = update.failure ? update.failure->exit() : ExitCode::done;
    if (update.saved)
      for (const jt::SaveWarning& warning : update.saved->warnings)
        report.warnings += printable(update.saved->file + ": " + warning.message) + "\n";
    return report;
  }

  std::string packed() const {
    return std::string{static_cast<char>(outcome), static_cast<char>(exit)} + warnings + "\n" +
           body;
  }
  static Report unpacked(const std::string& text) {
    Report report;
    report.outcome = static_cast<Outcome>(text.at(0));
    report.exit = static_cast<ExitCode>(text.at(1));
    std::size_t at = 2;
    while (text.at(at) != '\n') {
      const std::size_t end = text.find('\n', at) + 1;
      report.warnings.append(text, at, end - at);
      at = end;
    }
    report.body = text.substr(at + 1);
    return report;
  }
};

std::vector<DocumentName> documentNames(const std::vector<std::string>& words) {
  std::vector<DocumentName> names;
  names.reserve(words.size());
  for (const std::string& word : words) {
    names.emplace_back(word);
    if (names.back().isStream)
      failUsage("the material update works on files, not on streams: leave out 'stream:'");
  }
  return names;
}

/// The file that an update of the document would change; the document itself when there is none.
std::string fileOf(const DocumentName& name) {
  std::string folder;
  std::string file;
  try {
    if (!JtwManager::getFileNameFromDocument(openHostDocument(name), folder, file))
      return name.path;
  } catch (const Failure&) {
    return name.path;  // it fails again when its turn comes
  }
  std::error_code ignored;
  const std::filesystem::path real = std::filesystem::canonical(folder + file, ignored);
  return real.empty() ? folder + file : real.string();
}

std::string rendered(Session& session, const std::string& document, const MaterialUpdate& update) {
  Output out;
  if (session.wantsJson()) {
    JsonWriter json(out);
    json.beginObject();
    writeMaterialUpdate(json, document, update);
    json.end();
  } else {
    showMaterialUpdate(out, session.style(), document, update);
  }
  return out.take();
}

/// An object that was laid out for itself, as it looks in a list of the result.
std::string indented(std::string_view json) {
  std::string text;
  for (const char letter : json.substr(0, json.find_last_not_of('\n') + 1)) {
    text += letter;
    if (letter == '\n') text += "    ";
  }
  return text;
}

/// A batch: every document in a process of its own, files that are named twice one after the other.
class Batch {
 public:
  Batch(Session& session, const std::vector<DocumentName>& names)
      : session_(session), names_(names), reports_(names.size()) {}

  void run() {
    std::vector<std::size_t> first;
    std::vector<std::size_t> again;
    std::unordered_set<std::string> files;
    for (std::size_t i = 0; i < names_.size(); ++i)
      (files.insert(fileOf(names_[i])).second ? first : again).push_back(i);
    const std::size_t cores = std::max(1U, std::thread::hardware_concurrency());
    const std::size_t jobs = session_.arguments().positiveNumber("jobs").value_or(cores);
    Progress progress(session_, "update-materials");
    runPieces(first, jobs, progress);
    runPieces(again, 1, progress);
  }

  ExitCode show() {
    for (const Report& report : reports_) warnOf(report);
    if (session_.wantsJson()) {
      writeJson();
    } else {
      for (const Report& report : reports_) session_.out().write(report.body);
      session_.out().line(summary());
    }
    return exit();
  }

 private:
  void runPieces(const std::vector<std::size_t>& pieces, std::size_t jobs, Progress& progress) {
    const bool dryRun = session_.arguments().has("dry-run");
    const auto work = [&](std::size_t i) {
      const MaterialUpdate update = updateMaterials(names_[i], dryRun);
      Report report = Report::of(update);
      report.body = rendered(session_, document(i), update);
      return report.packed();
    };
    const auto done = [&](std::size_t i, const std::optional<std::string>& result) {
      reports_[i] = result ? Report::unpacked(*result) : lost(i);
      if (!dryRun && reports_[i].outcome == Outcome::updated) session_.noteWritten(document(i));
      progress.update(static_cast<double>(++done_) / static_cast<double>(names_.size()));
    };
    runInProcesses(pieces, jobs, work, done);
  }

  const std::string& document(std::size_t i) const { return session_.arguments().positional()[i]; }

  Report lost(std::size_t i) {
    MaterialUpdate update;
    update.failure.emplace(ExitCode::input, "worker_failed",
                           "the process for it could not be started or broke off; its file is as "
                           "it was, or updated whole");
    Report report = Report::of(update);
    report.body = rendered(session_, document(i), update);
    return report;
  }

  void warnOf(const Report& report) {
    for (std::size_t at = 0; at < report.warnings.size();) {
      const std::size_t end = report.warnings.find('\n', at);
      session_.warn(report.warnings.substr(at, end - at));
      at = end + 1;
    }
  }

  std::size_t count(Outcome outcome) const {
    return static_cast<std::size_t>(std::ranges::count(reports_, outcome, &Report::outcome));
  }

  void writeJson() {
    JsonWriter& json = session_.json();
    session_.beginResult();
    json.key("summary");
    json.beginObject(JsonWriter::Layout::line);
    json.member("documents", reports_.size());
    json.member("updated", count(Outcome::updated));
    json.member("alreadyUpdated", count(Outcome::alreadyUpdated));
    json.member("native", count(Outcome::native));
    json.member("failed", count(Outcome::failed));
    json.end();
    json.key("documents");
    json.beginArray();
    for (const Report& report : reports_) json.raw(indented(report.body));
    json.end();
    session_.endResult();
  }

  std::string summary() const {
    std::string text = counted(reports_.size(), "document");
    const char* separator = ": ";
    for (const Outcome outcome :
         {Outcome::updated, Outcome::alreadyUpdated, Outcome::native, Outcome::failed})
      if (const std::size_t number = count(outcome))
        text +=
            std::exchange(separator, ", ") + std::to_string(number) + " " + outcomeName(outcome);
    return text;
  }

  ExitCode exit() const {
    const std::size_t failures = count(Outcome::failed);
    if (failures == 0) return ExitCode::done;
    const bool allAlike =
        failures == reports_.size() && std::ranges::all_of(reports_, [this](const Report& report) {
          return report.exit == reports_[0].exit;
        });
    return allAlike ? reports_[0].exit : ExitCode::no;
  }

  Session& session_;
  const std::vector<DocumentName>& names_;
  std::vector<Report> reports_;
  std::size_t done_ = 0;
};

void showOne(Session& session, const MaterialUpdate& update, bool dryRun) {
  const std::string& document = session.argument(0);
  if (update.failure) throw Failure(*update.failure);
  if (update.saved) showSaveWarnings(session, *update.saved);
  if (session.wantsJson()) {
    session.beginResult();
    writeMaterialUpdate(session.json(), document, update);
    session.endResult();
    return;
  }
  showMaterialUpdate(session.out(), session.style(), document, update);
  if (update.saved) showSaved(session, *update.saved, dryRun);
}

}  // namespace

ExitCode runUpdateMaterials(Session& session) {
  const std::vector<DocumentName> names = documentNames(session.arguments().positional());
  const Library library(session);
  JtwManager::the().setReadLimits(readLimits(session));
  if (names.size() == 1) {
    const bool dryRun = session.arguments().has("dry-run");
    showOne(session, updateMaterials(names[0], dryRun), dryRun);
    return ExitCode::done;
  }
  Batch batch(session, names);
  batch.run();
  return batch.show();
}

}  // namespace tool
