#include <optional>
#include <string>
#include <vector>

#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "InputFile.h"
#include "JtCompare.h"
#include "JtInspect.h"
#include "JtwEditError.h"
#include "JtwTree.h"
#include "Progress.h"
#include "SelectedAssembly.h"
#include "Session.h"
#include "picture/DiffPicture.h"

namespace tool {
namespace {

/// Keeps the differences, since the answer comes first.
class Collector : public jt::CompareSink {
 public:
  void difference(const jt::Difference& difference) override { all_.push_back(difference); }
  const std::vector<jt::Difference>& all() const noexcept { return all_; }

 private:
  std::vector<jt::Difference> all_;
};

struct Answer {
  jt::CompareResult result;
  std::vector<jt::Difference> differences;
  std::vector<jt::ComparedSegment> segments;
  std::vector<jt::PartFile> parts;  ///< of both sides
  std::optional<ComparedShapes> picture;

  bool isWhole() const { return exitCodeOf(parts) == ExitCode::done; }
  /// Files that could not be compared may differ.
  bool isSame() const { return result.isSame() && isWhole(); }
};

/// Matrices are for row vectors in the scene graph and for column vectors here.
std::vector<double> shownNumbers(const jt::Difference& difference, std::vector<double> numbers) {
  if (!difference.name.ends_with(".matrix") || numbers.size() != 16) return numbers;
  for (std::size_t row = 0; row < 4; ++row)
    for (std::size_t column = row + 1; column < 4; ++column)
      std::swap(numbers[4 * row + column], numbers[4 * column + row]);
  return numbers;
}

void writeSide(JsonWriter& json, const char* name, const jt::Difference& difference,
               const jt::ComparedValue& side) {
  if (const auto* text = std::get_if<std::string>(&side))
    json.member(name, *text);
  else if (const auto* integer = std::get_if<std::int64_t>(&side))
    json.member(name, *integer);
  else if (const auto* number = std::get_if<double>(&side))
    json.member(name, *number);
  else if (const auto* numbers = std::get_if<std::vector<double>>(&side))
    json.numbers(name, shownNumbers(difference, *numbers));
  else
    json.nullMember(name);
}

std::string sideText(const jt::Difference& difference, const jt::ComparedValue& side) {
  if (const auto* text = std::get_if<std::string>(&side)) return "\"" + printable(*text) + "\"";
  if (const auto* integer = std::get_if<std::int64_t>(&side)) return std::to_string(*integer);
  if (const auto* number = std::get_if<double>(&side)) return numberText(*number);
  const auto* numbers = std::get_if<std::vector<double>>(&side);
  if (!numbers) return "nothing";
  std::string text;
  for (const double number : shownNumbers(difference, *numbers))
    text += (text.empty() ? "(" : " ") + numberText(number);
  return text.empty() ? "()" : text + ")";
}

const char* stateName(jt::SegmentState state) {
  switch (state) {
    case jt::SegmentState::same:
      return "same";
    case jt::SegmentState::changed:
      return "changed";
    case jt::SegmentState::added:
      return "added";
    case jt::SegmentState::gone:
      return "gone";
  }
  return "";
}

void writeAnswer(Session& session, const Answer& answer) {
  JsonWriter& json = session.json();
  session.beginResult();
  json.member("same", answer.isSame());
  json.member("count", answer.result.differences);
  json.member("skipped", answer.result.skipped);
  json.key("differences");
  json.beginArray();
  for (const jt::Difference& difference : answer.differences) {
    json.beginObject(JsonWriter::Layout::line);
    json.textOrNull("path", difference.path);
    json.member("what", jt::differenceName(difference.kind));
    json.textOrNull("name", difference.name);
    writeSide(json, "a", difference, difference.a);
    writeSide(json, "b", difference, difference.b);
    json.end();
  }
  json.end();
  if (session.arguments().has("segments")) {
    json.key("segments");
    json.beginArray();
    for (const jt::ComparedSegment& segment : answer.segments) {
      json.beginObject(JsonWriter::Layout::line);
      json.member("id", segment.id.text());
      json.member("type", segment.type);
      json.member("name", jt::segmentName(segment.type));
      json.member("state", stateName(segment.state));
      json.end();
    }
    json.end();
  }
  writeDiffPicture(json, session.arguments(), answer.picture);
  writeFiles(json, answer.parts);
  session.endResult();
}

void showDifference(Session& session, const jt::Difference& difference) {
  const Style& style = session.style();
  Output& out = session.out();
  const std::string path = printable(difference.path);
  if (difference.kind == jt::DifferenceKind::node) {
    const bool isGone = std::holds_alternative<std::monostate>(difference.b);
    const std::string type = sideText(difference, isGone ? difference.a : difference.b);
    out.line(style.paint(isGone ? Ink::red : Ink::green, isGone ? "- " : "+ ") + path + "  " +
             type);
    return;
  }
  std::string what = jt::differenceName(difference.kind);
  // The key of the name says nothing beside it.
  if (!difference.name.empty() && difference.kind != jt::DifferenceKind::name)
    what += " " + printable(difference.name);
  out.line(style.paint(Ink::yellow, "~ ") + (path.empty() ? "" : path + "  ") + what + ": " +
           sideText(difference, difference.a) + " -> " + sideText(difference, difference.b));
}

void showAnswer(Session& session, const Answer& answer) {
  Output& out = session.out();
  for (const jt::Difference& difference : answer.differences) showDifference(session, difference);
  const auto listed = static_cast<std::uint64_t>(answer.differences.size());
  if (listed < answer.result.differences)
    out.line("... and " + std::to_string(answer.result.differences - listed) + " more");
  for (const jt::ComparedSegment& segment : answer.segments)
    out.line("segment " + segment.id.text() + "  " + padRight(stateName(segment.state), 7) + "  " +
             jt::segmentName(segment.type));
  showDiffPicture(session, answer.picture);
  const std::size_t count = answer.result.differences;
  out.line(answer.isSame() ? session.style().paint(Ink::green, "same")
                           : counted(count, "difference") +
                                 (answer.isWhole() ? "" : ", and part files that cannot be read"));
}

}  // namespace

ExitCode runDiff(Session& session) {
  const Arguments& arguments = session.arguments();
  if (arguments.has("patch")) return runDiffPatch(session);
  if (arguments.value("output")) failUsage("--output is for --patch");
  jt::CompareOptions options;
  options.tolerance = arguments.tolerance("tolerance").value_or(0);
  options.identityKeys = {jtw::keyProperty()};
  options.maxDifferences =
      static_cast<std::size_t>(arguments.positiveNumber("limit").value_or(options.maxDifferences));
  checkDiffPicture(arguments);
  const Library library(session);  // knows the host's buffers
  const std::string& pathA = session.argument(0);
  const std::string& pathB = session.argument(1);
  if (arguments.has("segments") && arguments.has("select"))
    failUsage("--segments compares whole files; --select leaves most of them out");
  // An object that is missing on one side is a difference.
  const SelectedAssembly a(session, pathA, SelectedAssembly::Empty::allowed);
  const SelectedAssembly b(session, pathB, SelectedAssembly::Empty::allowed);
  if (a.isEmpty() && b.isEmpty())
    jtw::failRefused({}, "unknown_key",
                     "no object of either file is selected by " + *arguments.value("select"));

  Answer answer;
  Collector collector;
  {
    Progress progress(session, "comparing");
    options.progress = [&progress](double share) { progress.update(share); };
    answer.result = jt::compare(a.top(), b.top(), options, collector);
  }
  answer.differences = collector.all();
  if (arguments.has("segments")) answer.segments = jt::compareSegments(a.top(), b.top());
  if (answer.result.skipped > 0)
    session.warn(counted(static_cast<std::size_t>(answer.result.skipped), "thing") +
                 " of unknown meaning not compared, since the files have different versions");
  answer.picture = drawDiffPicture(session, a.top(), b.top(), options.tolerance);
  answer.parts = a.parts();
  answer.parts.insert(answer.parts.end(), b.parts().begin(), b.parts().end());
  if (session.wantsJson())
    writeAnswer(session, answer);
  else
    showAnswer(session, answer);
  return answer.isSame() ? ExitCode::done : ExitCode::no;
}

}  // namespace tool
