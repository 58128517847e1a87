// From the command line to an exit code: every failure ends here.

#include <cstdio>
#include <exception>
#include <new>
#include <span>
#include <string_view>

#include "Command.h"
#include "InputFile.h"
#include "JtwEditError.h"
#include "Session.h"
#include "SourceDate.h"

namespace tool {
namespace {

constexpr const char* kNoMemory = "jtw: error: out of memory\n";

/// What was asked beside the commands: help, version, or nothing at all.
ExitCode runWithoutCommand(Session& session) {
  if (session.arguments().has("help")) {
    showHelp(session, nullptr);
    return ExitCode::done;
  }
  if (!session.arguments().has("version")) failUsage("a command is missing");
  if (session.wantsJson()) {
    session.beginResult();
    session.json().member("version", JTW_VERSION);
    session.endResult();
  } else {
    session.out().line("jtw " JTW_VERSION);
  }
  return ExitCode::done;
}

bool hasOwnVersionOption(const Command& command) {
  for (const Option& option : command.options)
    if (std::string_view(option.name) == "version") return true;
  return false;
}

ExitCode run(Session& session) {
  const Command* command = session.command();
  const Arguments& arguments = session.arguments();
  if (const auto most = arguments.byteCount("max-input")) limitStandardInput(*most);
  if (!command) return runWithoutCommand(session);
  if (arguments.has("help")) {
    showHelp(session, command);
    return ExitCode::done;
  }
  if (arguments.has("version") && !hasOwnVersionOption(*command))
    failUsage("--version takes nothing else: jtw --version");
  if (!command->run) failUsage("'" + std::string(command->name) + "' is not available yet");
  requireArguments(session, command->minArguments, command->maxArguments);
  useSourceDate();
  return command->run(session);
}

/// The failure behind the exception that is being handled.
Failure caughtFailure() {
  try {
    throw;
  } catch (const Failure& failure) {
    return failure;
  } catch (const jtw::EditError& error) {
    return editFailure(error);
  } catch (const JtFormatError& error) {
    return readFailure(error, {});
  } catch (const std::bad_alloc&) {
    return {ExitCode::input, "out_of_memory", "out of memory"};
  } catch (const std::exception& error) {
    return {ExitCode::input, "internal", error.what()};
  } catch (...) {
    return {ExitCode::input, "internal", "an error of an unknown kind"};
  }
}

/// As caughtFailure, unless a file changed meanwhile: then that is the cause.
Failure currentFailure(const Session& session) {
  Failure failure = caughtFailure();
  if (const auto change = session.inputChange(); change && failure.code() != change->code())
    return readFailure(*change, {});
  return failure;
}

bool asksForJson(std::span<const char* const> words) {
  for (const std::string_view word : words)
    if (word == "--json") return true;
  return false;
}

/// Runs `work`; a failure of any kind is reported and becomes the exit code.
template <class Work>
ExitCode guarded(Session& session, const Work& work) {
  try {
    const ExitCode exit = work();
    if (const auto change = session.inputChange()) throw JtFormatError(*change);
    return exit;
  } catch (...) {
    ExitCode exit = session.exitAfter(ExitCode::input);
    try {
      const Failure failure = currentFailure(session);
      exit = session.exitAfter(failure.exit());
      session.report(failure);
    } catch (...) {
      // No memory for a message with a place.
      std::fputs(session.hasWritten() ? "jtw: error: out of memory; the save is done\n" : kNoMemory,
                 stderr);
    }
    return exit;
  }
}

}  // namespace

void requireArguments(const Session& session, std::size_t least, std::size_t most) {
  const std::vector<std::string>& given = session.arguments().positional();
  const Command& command = *session.command();
  if (given.size() < least)
    failUsage("an argument is missing: jtw " + std::string(command.name) + " " + command.usage);
  if (given.size() > most) failUsage("'" + given[most] + "' is one argument too many");
}

int runProgram(std::span<const char* const> words) try {
  std::optional<Session> session;
  ExitCode exit = ExitCode::done;
  try {
    session.emplace(readCommandLine(words));
  } catch (const Failure& failure) {
    session.emplace(asksForJson(words));
    session->report(failure);
    exit = failure.exit();
  }
  if (exit == ExitCode::done) exit = guarded(*session, [&] { return run(*session); });
  const ExitCode finished = guarded(*session, [&] {
    session->finish();
    return ExitCode::done;
  });
  return static_cast<int>(finished == ExitCode::done ? exit : finished);
} catch (...) {
  // No memory even to begin with.
  std::fputs(kNoMemory, stderr);
  return static_cast<int>(ExitCode::input);
}

}  // namespace tool
