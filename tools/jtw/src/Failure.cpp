#include "Failure.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "JtwEditError.h"

namespace tool {
namespace {

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& codes, const std::string& code) {
  return std::find(codes.begin(), codes.end(), code) != codes.end();
}

Failure fromFormatError(ExitCode exit, const JtFormatError& error, const std::string& file) {
  jt::FilePosition where = error.where();
  if (where.file.empty()) where.file = file;
  std::string message = error.message();
  const bool hasOwnOption = where.file == "standard input" && error.code() == "too_large";
  if (exit == ExitCode::input && !hasOwnOption) message += limitOptions(error.code());
  return {exit, error.code(), message, std::move(where)};
}

}  // namespace

ExitCode exitOfAll(std::span<const ExitCode> exits) {
  const auto isDone = [](ExitCode exit) { return exit == ExitCode::done; };
  if (std::ranges::all_of(exits, isDone)) return ExitCode::done;
  const ExitCode first = exits.front();
  const bool areAlike = std::ranges::all_of(exits, [&](ExitCode exit) { return exit == first; });
  return areAlike ? first : ExitCode::no;
}

void failUsage(const std::string& message) { throw Failure(ExitCode::usage, "usage", message); }

void failRefused(const std::string& document, const char* code, const std::string& message) {
  throw Failure(ExitCode::refused, code, message, {.file = document});
}

Failure editFailure(const jtw::EditError& error) {
  using Kind = jtw::EditError::Kind;
  const ExitCode exit = error.kind() == Kind::usage   ? ExitCode::usage
                        : error.kind() == Kind::input ? ExitCode::input
                                                      : ExitCode::refused;
  return {exit, error.code(), error.what(), {.file = error.document()}};
}

Failure readFailure(const JtFormatError& error, const std::string& file) {
  const ExitCode exit = error.code() == "no_segment" ? ExitCode::usage : ExitCode::input;
  return fromFormatError(exit, error, file);
}

Failure saveFailure(const JtFormatError& error, const std::string& file) {
  static constexpr std::array<std::string_view, 14> kOutputCodes{"read_only",
                                                                 "unwritable",
                                                                 "no_space",
                                                                 "write_failed",
                                                                 "verify_failed",
                                                                 "changed_on_disk",
                                                                 "closed",
                                                                 "exists",
                                                                 "unsupported_version",
                                                                 "attributes_not_copied",
                                                                 "not_convertible",
                                                                 "not_writable",
                                                                 "too_many_ids",
                                                                 "no_location"};
  const bool outputTooLarge = error.code() == "too_large" && error.where().segment.empty();
  const bool isOutput = outputTooLarge || contains(kOutputCodes, error.code());
  return fromFormatError(isOutput ? ExitCode::output : ExitCode::input, error, file);
}

const char* limitOptions(const std::string& code) {
  if (code == "too_large") return "; options: --max-segment, --max-document";
  if (code == "too_many_places") return "; option: --max-places";
  return "";
}

bool isUnreadable(const std::string& code) {
  static constexpr std::array<std::string_view, 6> kCodes{
      "not_found", "not_a_file", "unreadable", "empty", "not_jt", "unsupported_version"};
  return contains(kCodes, code);
}

std::string describe(const jt::FilePosition& where, const std::string& message) {
  std::string text = where.file;
  if (!where.segment.empty()) text += (text.empty() ? "segment " : ": segment ") + where.segment;
  if (where.offset)
    text += (text.empty() ? "offset " : ", offset ") + std::to_string(*where.offset);
  if (!where.element.empty()) text += (text.empty() ? "" : ", ") + where.element;
  return text.empty() ? message : text + ": " + message;
}

}  // namespace tool
