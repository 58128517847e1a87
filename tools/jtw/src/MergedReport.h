#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <unordered_map>
#include <vector>

#include "RunReport.h"
#include "Verdict.h"

namespace tool {

class Session;

/// What the reports of several runs, or of the shards of one, say together.
class MergedReport {
 public:
  /// Whether the other shards of a run are expected to be there.
  enum class Scope { allShards, oneRun };

  /// A shard, or a run without shards.
  struct Part {
    std::optional<Shard> shard;
    std::vector<std::string> reports;  ///< more than one when it was run again with another report
    std::string started;
    std::string list;
    std::size_t files = 0;  ///< it has to do
    struct Work {
      bool hasFailed = false;
      double seconds = 0;
    };
    std::unordered_map<std::string, Work> done;  ///< by the ids of the files

    void take(const std::vector<RunEntry>& entries);
    std::size_t failed() const;
    double seconds() const;  ///< added up over its files
    std::size_t missing() const { return files > done.size() ? files - done.size() : 0; }
  };
  /// A file that occurs in more than one line; the last one counts.
  struct Duplicate {
    std::string file;
    std::vector<std::string> reports;
  };

  /// Throws Failure: "not_a_report" when none has begun, and "not_one_run" for reports of different
  /// commands, options or numbers of shards.
  MergedReport(std::vector<RunReport> reports, Scope scope);

  const RunHeader& header() const noexcept { return header_; }
  const std::vector<std::string>& versions() const noexcept { return versions_; }
  const std::vector<Part>& parts() const noexcept { return parts_; }
  /// The lines that count, by the names of their files.
  const std::vector<RunEntry>& entries() const noexcept { return entries_; }
  const std::vector<Duplicate>& duplicates() const noexcept { return duplicates_; }
  /// Shards without a report.
  const std::vector<std::uint32_t>& missingShards() const noexcept { return missingShards_; }
  /// Files that reports promise and do not have.
  std::size_t missing() const;
  std::size_t failed() const;
  /// Shards were begun on different lists of files, so that some may be in none.
  bool listsDiffer() const;
  /// Every file that was to be done is in it.
  bool isComplete() const;
  std::map<std::string, std::size_t> outcomes() const;
  double seconds() const;
  /// As one run on all the files would have ended; 1 for what is not complete.
  ExitCode exit() const;
  /// The verdicts in reports of `verify`, for reports in other forms.
  std::vector<Verdict> verdicts() const;
  /// The rules of `verify` that the reports were made with.
  VerdictRules rules() const;

 private:
  Part& partOf(const RunReport& report);
  void findMissingShards();

  RunHeader header_;
  std::vector<std::string> versions_;
  std::vector<Part> parts_;
  std::vector<RunEntry> entries_;
  std::vector<Duplicate> duplicates_;
  std::vector<std::uint32_t> missingShards_;
};

/// Shows it as the session's results. @param all  all files with their results, not the failed
/// alone
void showReport(Session& session, const MergedReport& report, bool all);

}  // namespace tool
