#include "MeshOptions.h"

#include <charconv>
#include <string_view>

#include "Limits.h"
#include "MeshFiles.h"
#include "MeshReport.h"
#include "Session.h"

namespace tool {
namespace {

struct UnitName {
  std::string_view name;
  std::string_view letters;
  double millimetres;
};
constexpr UnitName kUnits[] = {
    {"micrometers", "um", 0.001}, {"millimeters", "mm", 1}, {"centimeters", "cm", 10},
    {"decimeters", "dm", 100},    {"meters", "m", 1000},    {"kilometers", "km", 1'000'000},
    {"inches", "in", 25.4},       {"feet", "ft", 304.8},    {"yards", "yd", 914.4},
    {"miles", "mi", 1'609'344},
};

double unitOption(const Session& session) {
  const std::string* text = session.arguments().value("unit");
  if (!text) return 0;
  std::string lower = *text;
  for (char& letter : lower)
    if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
  for (const UnitName& unit : kUnits)
    if (lower == unit.name || lower == unit.letters) return unit.millimetres;
  failUsage("--unit is '" + *text + "', not a unit: um, mm, cm, dm, m, km, in, ft, yd or mi");
}

std::optional<std::size_t> parseNumber(std::string_view text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

mesh::Scene loadMeshFile(Session& session, const std::string& path) {
  const double unit = unitOption(session);
  const Arguments& arguments = session.arguments();
  const ReaderLimits limits(path, arguments.byteCount("max-memory"),
                            arguments.positiveNumber("max-seconds"));
  try {
    mesh::Scene scene = mesh::loadScene(path, unit);
    showNotes(session, path, scene);
    return scene;
  } catch (const JtFormatError& error) {
    if (error.code() == "too_large")
      throw Failure(ExitCode::input, error.code(), error.message() + "; option: --max-memory",
                    error.where());
    throw readFailure(error, path);
  }
}

std::size_t levelCount(const Session& session) {
  constexpr std::uint64_t kMost = 16;
  const std::uint64_t count = session.arguments().positiveNumber("lods").value_or(1);
  if (count > kMost) failUsage("--lods is " + std::to_string(count) + ", more than 16");
  return count;
}

std::optional<std::uint32_t> chosenLevel(const Session& session) {
  const std::string* text = session.arguments().value("lod");
  if (!text) return std::nullopt;
  const auto level = parseNumber(*text);
  if (!level) failUsage("--lod is '" + *text + "', not a whole number from 0 on");
  return static_cast<std::uint32_t>(std::min<std::uint64_t>(*level, UINT32_MAX));
}

jt::ShapeEncoding encoding(const Session& session) {
  jt::ShapeEncoding encoding;
  const Arguments& arguments = session.arguments();
  if (const std::string* profile = arguments.value("profile")) {
    if (*profile == "compact")
      encoding.profile = jt::ShapeEncoding::Profile::compact;
    else if (*profile != "compatible")
      failUsage("--profile is '" + *profile + "', not compatible or compact");
  }
  const std::string* bits = arguments.value("bits");
  if (!bits) return encoding;
  if (arguments.has("lossless")) failUsage("--lossless and --bits exclude each other");
  const std::string_view text = *bits;
  const std::size_t comma = text.find(',');
  const auto positions = parseNumber(text.substr(0, comma));
  const auto normals = parseNumber(comma == text.npos ? "" : text.substr(comma + 1));
  const auto most = jt::ShapeEncoding::kMostPositionBits;
  if (!positions || !normals || *positions > most || *normals > jt::ShapeEncoding::kMostNormalBits)
    failUsage("--bits is '" + *bits + "', not P,N with P from 0 to 24 and N from 0 to 13");
  encoding.positionBits = static_cast<unsigned>(*positions);
  encoding.normalBits = static_cast<unsigned>(*normals);
  return encoding;
}

}  // namespace tool
