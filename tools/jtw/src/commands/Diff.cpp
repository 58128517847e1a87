#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Assembly.h"
#include "Command.h"
#include "Component.h"
#include "DifferenceText.h"
#include "InputFile.h"
#include "JtCompare.h"
#include "JtInspect.h"
#include "JtwEditError.h"
#include "JtwTree.h"
#include "MeshInput.h"
#include "Progress.h"
#include "SelectedAssembly.h"
#include "Session.h"
#include "picture/DiffPicture.h"

namespace tool {
namespace {

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

/// Keys of the host are numbers.
void writeKey(JsonWriter& json, const std::string& key) {
  long number = 0;
  const char* const last = key.data() + key.size();
  const auto [end, error] = std::from_chars(key.data(), last, number);
  if (!key.empty() && error == std::errc() && end == last)
    json.member("key", number);
  else
    json.textOrNull("key", key);
}

void writeCounts(JsonWriter& json, const std::vector<jt::ComparedCount>& counts) {
  if (counts.empty()) return json.nullMember("counts");
  json.key("counts");
  json.beginObject();
  for (const jt::ComparedCount& count : counts) {
    json.key(count.name);
    json.beginObject();
    json.member("a", count.a);
    json.member("b", count.b);
    json.end();
  }
  json.end();
}

void writeMotion(JsonWriter& json, const std::optional<jt::PlacementChange>& moved) {
  if (!moved) return json.nullMember("moved");
  json.key("moved");
  json.beginObject();
  // In the precision of most files: more digits are noise.
  const auto single = [](const std::array<double, 3>& vector) {
    std::array<float, 3> parts{};
    std::ranges::transform(vector, parts.begin(), [](double x) { return static_cast<float>(x); });
    return parts;
  };
  json.numbers("translate", single(moved->translation));
  json.member("degrees", static_cast<float>(moved->degrees));
  json.numbers("axis", single(moved->axis));
  json.end();
}

/// The option --ignore: kinds of differences, with commas between them.
std::vector<jt::DifferenceKind> ignoredKinds(const Arguments& arguments) {
  std::vector<jt::DifferenceKind> kinds;
  for (const std::string& list : arguments.values("ignore"))
    for (const std::string& name : commaList(list)) kinds.push_back(kindNamed(name, "--ignore: "));
  return kinds;
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
    writeKey(json, difference.key);
    writeCounts(json, difference.counts);
    writeMotion(json, difference.moved);
    json.end();
  }
  json.end();
  if (session.arguments().has("summary")) {
    json.key("summary");
    json.beginObject(JsonWriter::Layout::line);
    const auto names = kindNames();
    for (std::size_t kind = 0; kind < names.size(); ++kind)
      json.member(names[kind], answer.result.byKind[kind]);
    json.end();
  }
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

void showAnswer(Session& session, const Answer& answer) {
  Output& out = session.out();
  if (session.arguments().has("summary")) {
    const auto names = kindNames();
    for (std::size_t kind = 0; kind < names.size(); ++kind)
      if (const std::uint64_t count = answer.result.byKind[kind]; count > 0)
        out.line(padRight(names[kind], 10) + std::to_string(count));
  } else {
    showDifferences(session, answer.differences);
    const auto listed = static_cast<std::uint64_t>(answer.differences.size());
    if (listed < answer.result.differences)
      out.line("... and " + std::to_string(answer.result.differences - listed) + " more");
  }
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
  options.ignored = ignoredKinds(arguments);
  options.maxDifferences =
      static_cast<std::size_t>(arguments.positiveNumber("limit").value_or(options.maxDifferences));
  checkDiffPicture(arguments);
  const Library library(session);  // knows the host's buffers
  const std::string& pathA = session.argument(0);
  const std::string& pathB = session.argument(1);
  if (arguments.has("segments") && arguments.has("select"))
    failUsage("--segments compares whole files; --select leaves most of them out");
  // One name for the components that are made of mesh files: those of the files do not count.
  MeshInputs meshes;
  const std::string name = std::filesystem::path(pathA).stem().string();
  // An object that is missing on one side is a difference.
  const SelectedAssembly a(session, meshes.jtFileFor(pathA, name),
                           SelectedAssembly::Empty::allowed);
  const SelectedAssembly b(session, meshes.jtFileFor(pathB, name),
                           SelectedAssembly::Empty::allowed);
  if (a.isEmpty() && b.isEmpty())
    jtw::failRefused({}, "unknown_key",
                     "no object of either file is selected by " + *arguments.value("select"));

  Answer answer;
  jt::DifferenceList list;
  {
    Progress progress(session, "comparing");
    options.progress = [&progress](double share) { progress.update(share); };
    answer.result = jt::compare(a.top(), b.top(), options, list);
  }
  answer.differences = std::move(list.all);
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
