#include "Session.h"

#include <poll.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "Command.h"
#include "JtFileGuard.h"

namespace tool {
namespace {

bool isPipeClosed(int file) {
  pollfd state{.fd = file, .events = 0, .revents = 0};
  return poll(&state, 1, 0) == 1 && (state.revents & POLLERR) != 0;
}

}  // namespace

Session::Session(CommandLine line)
    : line_(std::move(line)),
      standardOutput_(stdout),
      standardError_(stderr),
      json_(arguments().has("json")),
      quiet_(arguments().has("quiet")),
      progress_(!quiet_ && !arguments().has("no-progress") && standardError_.isTerminal()) {
  if (const std::string* color = arguments().value("color")) color_ = *color;
  if (color_ != "auto" && color_ != "always" && color_ != "never")
    failUsage("--color is '" + color_ + "', not auto, always or never");
  arguments().positiveNumber("jobs");
  writer_.emplace(*results_);
  style_ = styleFor(*results_);
}

Session::Session(bool json)
    : standardOutput_(stdout),
      standardError_(stderr),
      json_(json),
      quiet_(false),
      progress_(false) {
  writer_.emplace(*results_);
}

Style Session::styleFor(const Output& output) const {
  if (color_ != "auto") return Style(color_ == "always");
  const char* noColor = std::getenv("NO_COLOR");
  const char* terminal = std::getenv("TERM");
  const bool isDumb = terminal && std::string_view(terminal) == "dumb";
  return Style(output.isTerminal() && !(noColor && *noColor) && !isDumb);
}

void Session::resultsToStandardError() {
  results_ = &standardError_;
  writer_.emplace(*results_);
  style_ = styleFor(*results_);
}

void Session::beginResult(std::string_view name) {
  if (name.empty()) name = command() ? command()->name : "version";
  json().beginObject();
  json().member("schema", "jtw." + std::string(name) + "/1");
}

void Session::endResult() {
  // While the object is open, the failure becomes a member of it.
  if (const auto change = inputChange()) throw JtFormatError(*change);
  json().key("warnings");
  json().beginArray();
  for (const Warning& warning : warnings_) {
    json().beginObject(JsonWriter::Layout::line);
    json().textOrNull("code", warning.code);
    json().member("message", warning.message);
    json().end();
  }
  json().end();
  json().end();
}

void Session::message(Ink ink, const char* label, const std::string& text) {
  try {
    const Style style = styleFor(standardError_);
    const std::string head = *label ? style.paint(ink, label) + " " : std::string();
    standardError_.line("jtw: " + head + printable(text));
    standardError_.flush();
  } catch (const Failure&) {
    // Nowhere left to say it.
  }
}

void Session::warn(const std::string& message, const std::string& code) {
  if (json_) warnings_.push_back({code, message});
  if (!quiet_) this->message(Ink::yellow, "warning:", message);
}

void Session::reportJson(const Failure& failure) {
  // Results that are partly out are closed, with the error as their last member, so that what was
  // printed is one object all the same.
  const bool isPartlyOut = results_->hasWritten() && json().depth() > 0;
  if (isPartlyOut) {
    json().endAllButOne();
    json().key("error");
  } else {
    results_->discard();
    writer_.emplace(*results_);
  }
  const jt::FilePosition& where = failure.where();
  json().beginObject();
  json().member("schema", "jtw.error/1");
  json().member("code", failure.code());
  json().member("message", failure.what());
  json().textOrNull("file", where.file);
  json().textOrNull("segment", where.segment);
  json().member("offset", where.offset);
  json().end();
  if (isPartlyOut) json().end();
}

void Session::noteWritten(const std::string& file) noexcept {
  if (writtenCount_ > 0 && file == firstWritten_) return;
  if (++writtenCount_ > 1) return;
  try {
    firstWritten_ = file;
  } catch (...) {
    // The count is what matters.
  }
}

ExitCode Session::exitAfter(ExitCode failure) const noexcept {
  return writtenCount_ > 0 && failure == ExitCode::input ? ExitCode::output : failure;
}

std::optional<JtFormatError> Session::inputChange() const {
  return writtenCount_ > 0 ? std::nullopt : jt::takeFileChange();
}

/// The failure as it is, unless a file was written: then it says so, since the exit code cannot.
Failure Session::withWritten(const Failure& failure) const {
  if (writtenCount_ == 0) return failure;
  std::string message = failure.what() + ("; the save is done: " + firstWritten_);
  if (writtenCount_ > 1) message += " and " + counted(writtenCount_ - 1, "more file");
  return {exitAfter(failure.exit()), failure.code(), message, failure.where()};
}

void Session::report(const Failure& found) {
  // Who closed the pipe knows, unless there is a save to report.
  if (found.exit() == ExitCode::output && writtenCount_ == 0 && isPipeClosed(STDOUT_FILENO)) return;
  const Failure failure = withWritten(found);
  message(Ink::red, "error:", describe(failure.where(), failure.what()));
  if (failure.code() == "usage") {
    const bool hasHelp = command() && command()->run;
    const std::string topic = hasHelp ? std::string(" ") + command()->name : std::string();
    message(Ink::plain, "", "try 'jtw help" + topic + "'");
  }
  if (results_->hasFailed()) return;
  if (json_)
    reportJson(failure);
  else if (!results_->hasWritten())
    results_->discard();
}

void Session::finish() {
  if (results_ == &standardError_) standardError_.flush();
  standardOutput_.close();
}

}  // namespace tool
