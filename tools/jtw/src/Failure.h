#pragma once

#include <span>
#include <stdexcept>
#include <string>

#include "JtFormatError.h"

namespace jtw {
class EditError;
}

namespace tool {

/// How the program ends.
enum class ExitCode : int {
  done = 0,     ///< the answer is yes, same, sound
  no = 1,       ///< the answer is no, or some files of several could not be done
  usage = 2,    ///< wrong usage
  input = 3,    ///< an input cannot be read
  output = 4,   ///< an output cannot be written
  refused = 5,  ///< the model refuses
};

/// How work on several files ends: 0 when all are done, the code of the failures when all failed
/// alike, else 1.
ExitCode exitOfAll(std::span<const ExitCode> exits);

/// A command that cannot be done. `code()` is stable and meant for programs.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode exit, std::string code, const std::string& message, jt::FilePosition where = {})
      : std::runtime_error(message),
        exit_(exit),
        code_(std::move(code)),
        where_(std::move(where)) {}

  ExitCode exit() const noexcept { return exit_; }
  const std::string& code() const noexcept { return code_; }
  const jt::FilePosition& where() const noexcept { return where_; }

 private:
  ExitCode exit_;
  std::string code_;
  jt::FilePosition where_;
};

/// Wrong usage, with the code "usage".
[[noreturn]] void failUsage(const std::string& message);
/// The model refuses a change of that document.
[[noreturn]] void failRefused(const std::string& document, const char* code,
                              const std::string& message);

/// What a refused edit becomes.
Failure editFailure(const jtw::EditError& error);
/// What a failed read becomes. `file` replaces a file that the error does not name.
Failure readFailure(const JtFormatError& error, const std::string& file);
/// What a failed save becomes: the fault of the output, unless the error is about what was read.
Failure saveFailure(const JtFormatError& error, const std::string& file);

/// The end of a message: the options that raise the limit which an error with that code names.
/// Empty for other errors.
const char* limitOptions(const std::string& code);

/// True for a file that is missing, or no JT file at all, by the code of the error.
bool isUnreadable(const std::string& code);

/// Position and message in one human-readable line.
std::string describe(const jt::FilePosition& where, const std::string& message);

}  // namespace tool
