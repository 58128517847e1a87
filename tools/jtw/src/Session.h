#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Arguments.h"
#include "Failure.h"
#include "JsonWriter.h"
#include "Output.h"

namespace tool {

struct Command;

/// One run of the program: what was asked and where the answers go.
class Session {
 public:
  /// Throws Failure "usage" when a global option has a bad value.
  explicit Session(CommandLine line);
  /// For the report of a command line that cannot be read.
  explicit Session(bool json);
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  const Command* command() const noexcept { return line_.command; }
  const Arguments& arguments() const noexcept { return line_.arguments; }
  /// The command line as it was given, without the program's own name.
  std::span<const char* const> words() const noexcept { return line_.words; }
  /// The argument of that index; @pre the table of commands asks for it
  const std::string& argument(std::size_t index) const { return arguments().positional()[index]; }

  bool wantsJson() const noexcept { return json_; }
  /// --quiet: no messages, and of a batch the failures only.
  bool isQuiet() const noexcept { return quiet_; }
  /// Where results go: standard output, or standard error after resultsToStandardError().
  Output& out() noexcept { return *results_; }
  /// Where a command that writes says what it wrote: out(), with --quiet nowhere.
  Output& report() noexcept { return quiet_ ? silence_ : *results_; }
  JsonWriter& json() noexcept { return *writer_; }
  /// Colors for out().
  const Style& style() const noexcept { return style_; }
  /// To be called when a file is written to standard output.
  void resultsToStandardError();

  /// Begins the one object of the results, with the schema of the command, or of another one.
  void beginResult(std::string_view name = {});
  /// Ends it, with the warnings so far as its last member.
  void endResult();

  /// A message on standard error, unless --quiet, and a member of the results.
  /// @param code stable name of the reason, for programs; empty when there is none
  void warn(const std::string& message, const std::string& code = {});
  /// To be called when a file was written: a failure after that is one of the report alone.
  void noteWritten(const std::string& file) noexcept;
  /// The change of a file that was read, once; see jt::takeFileChange. Nothing after a write: what
  /// was written was read before, and checked.
  std::optional<JtFormatError> inputChange() const;
  /// How the program ends after a failure: once a file was written, never with the code for inputs.
  ExitCode exitAfter(ExitCode failure) const noexcept;
  bool hasWritten() const noexcept { return writtenCount_ > 0; }
  /// Reports a failure: as text on standard error and, with --json, as JSON where results go.
  void report(const Failure& failure);
  /// Hands everything over; throws Failure "write_failed".
  void finish();

  /// True when progress may be shown.
  bool showsProgress() const noexcept { return progress_; }

 private:
  Style styleFor(const Output& output) const;
  void message(Ink ink, const char* label, const std::string& text);
  void reportJson(const Failure& failure);
  Failure withWritten(const Failure& failure) const;

  struct Warning {
    std::string code;
    std::string message;
  };

  CommandLine line_;
  Output standardOutput_;
  Output standardError_;
  Output* results_ = &standardOutput_;
  std::optional<JsonWriter> writer_;
  bool json_;
  Output silence_;  // what is not to be read
  bool quiet_;
  bool progress_;
  std::vector<Warning> warnings_;
  std::size_t writtenCount_ = 0;
  std::string firstWritten_;
  std::string color_ = "auto";
  Style style_;
};

/// Runs the program. @param words the command line without the program's own name
int runProgram(std::span<const char* const> words);

}  // namespace tool
