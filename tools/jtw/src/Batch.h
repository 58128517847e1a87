#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"

namespace tool {

class Progress;
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

/// Many pieces of one kind of work, each in a process of its own. Results appear in the order of
/// the pieces, as soon as they are there: text is written to the session's results, JSON objects
/// into the list that the caller has begun.
class Batch {
 public:
  struct Work {
    const char* label = "";  ///< of the progress display
    /// Does a piece, in a copy of this process. An exception loses the piece.
    std::function<PieceReport(std::size_t piece)> run;
    /// The report of a piece whose process broke off or could not be started.
    std::function<PieceReport(std::size_t piece)> lost;
    /// Called in this process when a piece is done; may be empty.
    std::function<void(std::size_t piece, const PieceReport& report)> done;
    bool isAlwaysShown = false;  ///< --quiet leaves no results out
  };

  Batch(Session& session, std::size_t count, Work work);

  /// Does some of the pieces, at most `jobs` at a time. Throws Failure "interrupted" when the
  /// process is asked to end: what is done is reported then, and no other piece is started.
  void run(const std::vector<std::size_t>& pieces, std::size_t jobs);
  /// As many as --jobs says, or as the machine has processors.
  static std::size_t jobs(const Session& session);

  std::size_t size() const noexcept { return reports_.size(); }
  /// Pieces with that outcome.
  std::size_t count(std::uint8_t outcome) const;
  /// 0 when all are done, the code of the failures when all failed alike, else 1.
  ExitCode exit() const;

 private:
  void take(std::size_t piece, PieceReport report);
  void show(const PieceReport& report);
  void showRest();

  Session& session_;
  Work work_;
  std::vector<std::optional<PieceReport>> reports_;
  std::size_t shown_ = 0;  ///< all before it were shown
  std::size_t done_ = 0;
};

}  // namespace tool
