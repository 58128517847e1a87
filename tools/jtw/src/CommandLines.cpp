#include "CommandLines.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "Batch.h"
#include "Command.h"
#include "Component.h"
#include "FileList.h"
#include "Session.h"

namespace tool {
namespace {

/// What the program prints on standard output, from now on to the end of the process.
class CapturedOutput {
 public:
  CapturedOutput() : file_(std::tmpfile()) {
    if (!file_ || dup2(fileno(file_), STDOUT_FILENO) < 0)
      throw Failure(ExitCode::output, "unwritable", "no temporary file can be made");
  }
  std::string text() const {
    std::string all;
    std::array<char, 1U << 16> bytes{};
    std::rewind(file_);
    while (const std::size_t count = std::fread(bytes.data(), 1, bytes.size(), file_))
      all.append(bytes.data(), count);
    return all;
  }

 private:
  std::FILE* file_;
};

PieceReport reportOf(const Session& session, const std::vector<std::string>& words) {
  std::vector<const char*> line;
  line.reserve(words.size());
  for (const std::string& word : words) line.push_back(word.c_str());
  const CapturedOutput captured;
  PieceReport report;
  report.exit = static_cast<ExitCode>(runProgram(line));
  report.outcome = static_cast<std::uint8_t>(report.exit);
  report.body = captured.text();
  // A closed pipe, and nothing else, ends a command without a word.
  if (Batch::wantsJson(session) && report.body.empty()) report.body = "null";
  return report;
}

PieceReport lostPiece(const Session& session, const std::string& file) {
  const std::string message = "the process for it could not be started or broke off";
  PieceReport report;
  report.exit = ExitCode::input;
  report.outcome = static_cast<std::uint8_t>(report.exit);
  Output out;
  if (Batch::wantsJson(session)) {
    JsonWriter json(out);
    json.beginObject();
    json.member("schema", "jtw.error/1");
    json.member("code", "worker_failed");
    json.member("message", message);
    json.member("file", file);
    json.nullMember("segment");
    json.nullMember("offset");
    json.end();
  } else {
    report.warnings = printable(file + ": " + message) + "\n";
  }
  report.body = out.take();
  return report;
}

}  // namespace

ExitCode runForEach(Session& session, const FileList& list, const CommandBatch& work) {
  std::vector<std::string> options =
      session.arguments().optionWords({"files-from", "null", "output-dir", "jobs", "shard",
                                       "report", "resume", "retry-failed", "json", work.ownOption});
  if (Batch::wantsJson(session)) options.emplace_back("--json");
  options.emplace_back("--no-progress");
  // Processors that other files do not keep busy are shared out.
  const std::size_t atATime = std::max<std::size_t>(1, std::min(work.jobs, list.files.size()));
  const std::size_t ofEach = std::max<std::size_t>(1, Batch::jobs(session) / atATime);
  options.push_back("--jobs=" + std::to_string(ofEach));
  const auto run = [&](std::size_t i) {
    std::vector<std::string> words{session.command()->name};
    words.insert(words.end(), options.begin(), options.end());
    words.insert(words.end(), {"--", list.files[i].path});
    if (!work.outputs.empty()) words.push_back(work.outputs[i]);
    return reportOf(session, words);
  };
  const auto lost = [&](std::size_t i) { return lostPiece(session, list.files[i].path); };
  const auto outcome = [](const PieceReport& report) {
    return std::string(report.exit == ExitCode::done ? "done" : "failed");
  };
  Batch batch(session, list,
              {.label = session.command()->name,
               .outcome = outcome,
               .run = run,
               .lost = lost,
               .done = {},
               .isAlwaysShown = !work.isQuietWithQuiet,
               .outputs = work.outputs});
  batch.run(work.jobs);
  return batch.finish([&] {
    if (!session.wantsJson()) return;
    session.json().key("summary");
    session.json().beginObject(JsonWriter::Layout::line);
    session.json().member("files", batch.size());
    session.json().member("failed", batch.size() - batch.count(0));
    session.json().end();
  });
}

ExitCode runIntoFolder(Session& session, const FolderResults& results) {
  const Arguments& arguments = session.arguments();
  const FileList list = listFiles(session, Wanted::documents);
  const std::vector<std::string> outputs = outputsOf(list, results.folder, results.extension);
  const bool sharesFiles = results.bringsParts && !arguments.has("top-only") &&
                           std::ranges::any_of(list.files, [](const ListedFile& file) {
                             return DocumentName(file.path).isJt;
                           });
  if (sharesFiles) requireSeparateParts(session, list, results.folder, results.extension);
  if (!arguments.has("dry-run")) makeFoldersOf(outputs);
  return runForEach(session, list,
                    {.outputs = outputs,
                     .jobs = sharesFiles ? 1 : Batch::jobs(session),
                     .ownOption = results.ownOption});
}

}  // namespace tool
