#pragma once

#include <cstddef>
#include <string>
#include <unordered_set>
#include <vector>

#include "FileList.h"
#include "OpenedFile.h"
#include "RunReport.h"

namespace tool {

class Session;

/// Throws Failure "usage" unless --report, --resume and --retry-failed fit together, and --shard is
/// one.
void checkReportOptions(const Session& session);

/// The report of --report, as a batch writes it: a line a file, each handed to the system at once,
/// so that a run that is killed leaves at most its last line torn. It is locked as long as the run,
/// or a process that it started, goes on.
class RunLog {
 public:
  /// Begins the report; with --resume goes on with the one that is there: lines of files that are
  /// done and have not changed since are kept, all others dropped. Throws Failure: "exists" without
  /// --resume, "other_run" for a report of another command, of other options or of another shard,
  /// "in_use" when another run writes to it, and for a file that is no report.
  /// @param outputs  the file that is made of each file of the list; may be empty
  RunLog(const Session& session, const FileList& list, const std::vector<std::string>& outputs);

  const std::string& path() const noexcept { return path_; }
  /// True for a file that an earlier run did.
  bool has(const std::string& file) const { return done_.contains(idOf(file)); }
  /// Adds a line, given without its end. Throws Failure "write_failed"; then the rest of the line
  /// may be missing.
  void append(const std::string& line) const;

 private:
  void resume(RunHeader header, const Session& session, const FileList& list,
              const std::vector<std::string>& outputs);
  void replace(const std::string& text);

  std::string path_;
  OpenedFile file_;
  std::unordered_set<std::string> done_;  ///< ids
};

}  // namespace tool
