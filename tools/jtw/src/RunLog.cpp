#include "RunLog.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <utility>

#include "Command.h"
#include "InputFile.h"
#include "JtTemporaryPath.h"
#include "Session.h"

namespace tool {
namespace {

[[noreturn]] void failSystem(const char* code, const std::string& path) {
  throw Failure(ExitCode::output, code, std::strerror(errno), {.file = path});
}

/// Opens the file, or makes it, and locks it. Workers inherit the lock: while one of a killed run
/// still goes on, no other run begins.
OpenedFile openLocked(const std::string& path) {
  constexpr int kMostTries = 100;
  constexpr std::chrono::milliseconds kWait(50);
  for (int i = 0; i < kMostTries; ++i) {
    OpenedFile file(::open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC, 0666));
    if (!file.isOpen()) failSystem("unwritable", path);
    if (::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
      // A run that resumed the report may have put another file in its place meanwhile.
      struct stat mine {};
      struct stat named {};
      if (::fstat(file.get(), &mine) == 0 && ::stat(path.c_str(), &named) == 0 &&
          mine.st_ino == named.st_ino && mine.st_dev == named.st_dev)
        return file;
    } else if (errno != EWOULDBLOCK && errno != EINTR) {
      failSystem("unwritable", path);
    }
    std::this_thread::sleep_for(kWait);
  }
  throw Failure(ExitCode::output, "in_use", "another run writes to this report", {.file = path});
}

RunHeader headerOf(const Session& session, const FileList& list) {
  RunHeader header;
  header.command = session.command()->name;
  header.version = JTW_VERSION;
  // Without those that choose files, or say where and how results are shown: a resumed run may have
  // others.
  header.options = session.arguments().optionWords(
      {"files-from", "null", "shard", "report", "resume", "retry-failed", "jobs", "json", "quiet",
       "no-progress", "color", "max-input", "sarif", "junit"});
  std::ranges::sort(header.options);
  header.shard = Shard::of(session.arguments());
  header.files = list.files.size();
  header.of = list.files.size() + list.others.size();
  std::uint64_t sum = 0;
  for (const auto* files : {&list.files, &list.others})
    for (const ListedFile& file : *files) sum += stableHash(file.key);
  header.list = std::to_string(sum);
  std::array<char, 256> host{};
  if (gethostname(host.data(), host.size() - 1) == 0) header.host = host.data();
  header.started = timeText(std::time(nullptr));
  return header;
}

void requireSameRun(const RunHeader& mine, const RunHeader& theirs, const std::string& path) {
  const auto refuse = [&path](const std::string& what) {
    throw Failure(ExitCode::usage, "other_run",
                  "this is the report of another run, " + what + "; name another file",
                  {.file = path});
  };
  if (mine.command != theirs.command) refuse("of 'jtw " + theirs.command + "'");
  if (mine.stored().options != theirs.options) {
    std::string words;
    for (const std::string& option : theirs.options) words += " " + option;
    refuse(words.empty() ? "without options" : "with" + words);
  }
  if (mine.shard != theirs.shard)
    refuse(theirs.shard ? "with --shard " + std::to_string(theirs.shard->index) + "/" +
                              std::to_string(theirs.shard->count)
                        : "without --shard");
}

}  // namespace

void checkReportOptions(const Session& session) {
  const Arguments& arguments = session.arguments();
  static_cast<void>(Shard::of(arguments));
  if (arguments.has("report") && reportName(session, "report") == "-")
    failUsage("--report needs the name of a file");
  if (arguments.has("resume") && !arguments.has("report"))
    failUsage("--resume goes on with the report of --report FILE");
  if (arguments.has("retry-failed") && !arguments.has("resume"))
    failUsage("--retry-failed is for --resume");
}

RunLog::RunLog(const Session& session, const FileList& list,
               const std::vector<std::string>& outputs)
    : path_(reportName(session, "report")), file_(openLocked(path_)) {
  const RunHeader header = headerOf(session, list);
  struct stat found {};
  if (::fstat(file_.get(), &found) != 0) failSystem("unwritable", path_);
  if (found.st_size == 0)
    append(header.line());
  else if (session.arguments().has("resume"))
    resume(header, session, list, outputs);
  else
    throw Failure(ExitCode::output, "exists",
                  "this file is there already; --resume goes on with a report", {.file = path_});
}

void RunLog::resume(RunHeader header, const Session& session, const FileList& list,
                    const std::vector<std::string>& outputs) {
  const RunReport before = readRunReport(path_);
  if (before.header) {
    requireSameRun(header, *before.header, path_);
    header.run = before.header->run + 1;
  }
  const bool retriesFailed = session.arguments().has("retry-failed");
  std::unordered_map<std::string, const RunEntry*> entries;
  for (const RunEntry& entry : before.entries) entries[entry.id] = &entry;
  std::string text = header.line() + "\n";
  for (std::size_t i = 0; i < list.files.size(); ++i) {
    const auto found = entries.find(idOf(list.files[i].path));
    if (found == entries.end()) continue;
    const RunEntry& entry = *found->second;
    // What says nothing about the file itself is tried again.
    const bool isDone = !entry.lost && entry.exit != ExitCode::output &&
                        (!retriesFailed || entry.exit == ExitCode::done);
    if (!isDone || entry.state != FileState::of(list.files[i].path)) continue;
    if (entry.hasOutput && !outputs.empty() && !std::filesystem::exists(outputs[i])) continue;
    text += entry.text + "\n";
    done_.insert(entry.id);
  }
  replace(text);
}

/// Another file takes the place of the report, whole. It is locked before anybody can see it. A
/// save of the storage layer would wait for the lock on the old one.
void RunLog::replace(const std::string& text) {
  std::error_code error;
  const std::filesystem::path target = std::filesystem::canonical(path_, error);
  jt::TemporaryPath temporary(
      (target.parent_path() / jt::newTemporaryName(target.filename().string())).string());
  OpenedFile file(
      ::open(temporary.path().c_str(), O_RDWR | O_APPEND | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  struct stat found {};
  const bool isReady = file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 &&
                       ::fstat(file_.get(), &found) == 0 &&
                       ::fchmod(file.get(), found.st_mode & 07777) == 0;
  if (!isReady) failSystem("unwritable", path_);
  if (!writeAll(file.get(), text) || ::fsync(file.get()) != 0 ||
      ::rename(temporary.path().c_str(), target.c_str()) != 0)
    failSystem("write_failed", path_);
  temporary.keep();
  file_ = std::move(file);
}

void RunLog::append(const std::string& line) const {
  if (!writeAll(file_.get(), line + "\n")) failSystem("write_failed", path_);
}

}  // namespace tool
