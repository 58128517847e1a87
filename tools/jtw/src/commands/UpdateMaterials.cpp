#include <cstdint>
#include <filesystem>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "Batch.h"
#include "Command.h"
#include "Component.h"
#include "FileList.h"
#include "InputFile.h"
#include "JtwManager.h"
#include "MaterialUpdate.h"
#include "SaveResult.h"
#include "Session.h"

namespace tool {
namespace {

using Outcome = MaterialUpdate::Outcome;

std::vector<DocumentName> documentNames(const FileList& list) {
  std::vector<DocumentName> names;
  names.reserve(list.files.size());
  for (const ListedFile& file : list.files) {
    names.emplace_back(file.path);
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

PieceReport reportOf(Session& session, const std::string& document, const MaterialUpdate& update) {
  PieceReport report;
  report.outcome = static_cast<std::uint8_t>(update.outcome);
  report.exit = update.failure ? update.failure->exit() : ExitCode::done;
  if (update.saved)
    for (const jt::Diagnostic& warning : update.saved->warnings)
      report.warnings += printable(update.saved->file + ": " + warning.message) + "\n";
  Output out;
  if (Batch::wantsJson(session)) {
    JsonWriter json(out);
    json.beginObject();
    writeMaterialUpdate(json, document, update);
    json.end();
  } else {
    showMaterialUpdate(out, session.style(), document, update);
  }
  report.body = out.take();
  return report;
}

MaterialUpdate lostUpdate() {
  MaterialUpdate update;
  update.failure.emplace(ExitCode::input, "worker_failed",
                         "the process for it could not be started or broke off; its file is as it "
                         "was, or updated whole");
  return update;
}

std::size_t count(const Batch& batch, Outcome outcome) {
  return batch.count(static_cast<std::uint8_t>(outcome));
}

std::string summaryOf(const Batch& batch) {
  std::string text = counted(batch.size(), "document");
  const char* separator = ": ";
  for (const Outcome outcome :
       {Outcome::updated, Outcome::alreadyUpdated, Outcome::native, Outcome::failed})
    if (const std::size_t number = count(batch, outcome))
      text += std::exchange(separator, ", ") + std::to_string(number) + " " + outcomeName(outcome);
  return text;
}

void writeSummary(JsonWriter& json, const Batch& batch) {
  json.key("summary");
  json.beginObject(JsonWriter::Layout::line);
  json.member("documents", batch.size());
  json.member("updated", count(batch, Outcome::updated));
  json.member("alreadyUpdated", count(batch, Outcome::alreadyUpdated));
  json.member("native", count(batch, Outcome::native));
  json.member("failed", count(batch, Outcome::failed));
  json.end();
}

/// Every document in a process of its own, files that are named twice one after the other.
ExitCode updateMany(Session& session, const FileList& list,
                    const std::vector<DocumentName>& names) {
  const bool dryRun = session.arguments().has("dry-run");
  const auto run = [&](std::size_t i) {
    return reportOf(session, list.files[i].path, updateMaterials(names[i], dryRun));
  };
  const auto lost = [&](std::size_t i) {
    return reportOf(session, list.files[i].path, lostUpdate());
  };
  const auto done = [&](std::size_t i, const PieceReport& report) {
    if (!dryRun && report.outcome == static_cast<std::uint8_t>(Outcome::updated))
      session.noteWritten(list.files[i].path);
  };
  const auto outcome = [](const PieceReport& report) {
    return std::string(outcomeName(static_cast<Outcome>(report.outcome)));
  };
  Batch batch(session, list,
              {.label = "update-materials",
               .list = "documents",
               .outcome = outcome,
               .run = run,
               .lost = lost,
               .done = done,
               .changesFiles = true});
  std::vector<std::size_t> first;
  std::vector<std::size_t> again;
  std::unordered_set<std::string> files;
  for (std::size_t i = 0; i < names.size(); ++i)
    (files.insert(fileOf(names[i])).second ? first : again).push_back(i);
  batch.run(first, Batch::jobs(session));
  batch.run(again, 1);
  return batch.finish([&] {
    if (session.wantsJson())
      writeSummary(session.json(), batch);
    else if (!session.isQuiet())
      session.out().line(summaryOf(batch));
  });
}

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
  const FileList list = listFiles(session, Wanted::documents);
  const std::vector<DocumentName> names = documentNames(list);
  const Library library(session);
  JtwManager::the().setReadLimits(readLimits(session));
  if (list.isOne) {
    const bool dryRun = session.arguments().has("dry-run");
    showOne(session, updateMaterials(names[0], dryRun), dryRun);
    return ExitCode::done;
  }
  return updateMany(session, list, names);
}

}  // namespace tool
