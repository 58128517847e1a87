#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "FileList.h"
#include "RunReport.h"

namespace tool {

class MergedReport;
class Progress;
class RunLog;
class Session;

/// What became of one piece of a batch. It travels from the process that did the work.
struct PieceReport {
  std::uint8_t outcome = 0;  ///< a number of the command's own
  ExitCode exit = ExitCode::done;
  std::string warnings;  ///< one a line
  std::string record;    ///< what the command itself wants back; not shown
  std::string body;      ///< of the results: text, or a JSON object laid out for itself

  std::string packed() const;
  static PieceReport unpacked(const std::string& text);
};

/// One kind of work on many files, a piece each, in a process of its own each. Results appear in
/// the order of the pieces, as soon as they are there: text is written to the session's results,
/// JSON objects into a list. With --report they go into the report instead, the files that it has
/// already are left out, and the session's results are what `jtw report` says of it.
class Batch {
 public:
  struct Work {
    const char* label = "";      ///< of the progress display
    const char* list = "files";  ///< the member of the JSON result with the pieces
    /// A word for what became of a piece, for the report.
    std::function<std::string(const PieceReport& report)> outcome;
    /// Does a piece, in a copy of this process. An exception loses the piece.
    std::function<PieceReport(std::size_t piece)> run;
    /// The report of a piece whose process broke off or could not be started.
    std::function<PieceReport(std::size_t piece)> lost;
    /// Called in this process when a piece is done; may be empty.
    std::function<void(std::size_t piece, const PieceReport& report)> done;
    bool isAlwaysShown = false;          ///< --quiet leaves no results out
    bool leavesNothing = false;          ///< a process may do several pieces, one after the other
    bool changesFiles = false;           ///< the files that are read are those that are written
    std::vector<std::string> outputs{};  ///< the file that each piece makes; may be empty
  };

  /// Begins the results. Throws Failure when the report of --report cannot be begun.
  Batch(Session& session, const FileList& list, Work work);
  ~Batch();
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  /// Does some of the pieces, at most `jobs` at a time. Throws Failure "interrupted" when the
  /// process is asked to end: what is done is reported then, and no other piece is started.
  void run(const std::vector<std::size_t>& pieces, std::size_t jobs);
  /// Does all pieces.
  void run(std::size_t jobs);
  /// Ends the results. @param summarize  writes what follows the pieces: members of the JSON
  /// object, or text; not called with --report
  /// @param withReport  called with the whole report of --report; may be empty
  /// @return how the command ends
  ExitCode finish(const std::function<void()>& summarize,
                  const std::function<void(const MergedReport&)>& withReport = {});

  /// As many as --jobs says, or as the machine has processors.
  static std::size_t jobs(const Session& session);
  /// True when the results of pieces have to be JSON: of the session, or of its report.
  static bool wantsJson(const Session& session);

  std::size_t size() const noexcept { return reports_.size(); }
  /// Pieces with that outcome.
  std::size_t count(std::uint8_t outcome) const;

 private:
  PieceReport runForReport(std::size_t piece) const;
  PieceReport lose(std::size_t piece) const;
  RunEntry entryOf(std::size_t piece, const PieceReport& report) const;
  ExitCode exit() const;
  void take(std::size_t piece, PieceReport report);
  void show(const PieceReport& report);
  void showWarnings(const PieceReport& report);
  void showRest();

  Session& session_;
  Work work_;
  std::vector<std::string> files_;
  std::unique_ptr<RunLog> log_;  ///< of --report
  std::vector<std::optional<PieceReport>> reports_;
  std::size_t shown_ = 0;  ///< all before it were shown
  std::size_t done_ = 0;   ///< in this run or, by the report, in an earlier one
};

}  // namespace tool
