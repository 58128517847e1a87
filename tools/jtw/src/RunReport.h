#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Failure.h"
#include "Shard.h"

namespace tool {

// The report that a batch writes while it runs: lines of JSON, first the run's own and then one for
// each file that is done.

/// Size and time of modification of a file. They are compared to notice that it changed; both are
/// empty for a file that is not there.
struct FileState {
  std::optional<std::uint64_t> size;
  std::string modified;  ///< in UTC with nanoseconds

  /// Of the JT file of a document. Does not throw.
  static FileState of(const std::string& document) noexcept;
  bool operator==(const FileState&) const = default;
};

/// The first line: what was run, and on how much.
struct RunHeader {
  std::string command;
  std::string version;               ///< of the program
  std::vector<std::string> options;  ///< those that the results depend on, as words, sorted
  std::optional<Shard> shard;
  std::size_t files = 0;  ///< that this run or shard has
  std::size_t of = 0;     ///< of all shards together
  std::string list;       ///< what their names add up to
  std::size_t run = 1;    ///< how many times it was started
  std::string host;
  std::string started;  ///< in UTC

  /// Without its end.
  std::string line() const;
  /// As it comes back from its line: what is no UTF-8 is changed in JSON.
  RunHeader stored() const;
};

/// The line of a file.
struct RunEntry {
  std::string id;    ///< of its path, also of one that is no UTF-8
  std::string file;  ///< its path as JSON has it
  ExitCode exit = ExitCode::done;
  std::string outcome;
  bool lost = false;  ///< the process for it broke off
  double seconds = 0;
  FileState state;
  bool hasOutput = false;  ///< a file was made under the name that was expected

  std::string text;  ///< the whole line, without its end

  /// Makes the line. @param result  a JSON object, laid out as one likes
  /// @param output  the file that was made, or empty
  void format(const std::string& output, const std::string& result);
  /// The result in it: what the command prints for the file alone.
  nlohmann::json result() const;
};

/// A report as it was read.
struct RunReport {
  std::string path;
  std::optional<RunHeader> header;  ///< none: the run was ended before it had written a line
  std::vector<RunEntry> entries;
};

/// Reads a report; a last line that is not whole, as a killed run leaves it, does not count. Throws
/// Failure: "not_a_report" for a file that is something else, and "damaged".
RunReport readRunReport(const std::string& path);

/// The id of a file.
std::string idOf(const std::string& path);
/// The time in UTC.
std::string timeText(std::int64_t seconds, std::optional<std::int64_t> nanoseconds = {});

}  // namespace tool
