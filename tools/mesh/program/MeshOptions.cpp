#include "MeshOptions.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include "JtwValueText.h"
#include "Limits.h"
#include "MeshFiles.h"
#include "MeshReport.h"
#include "Session.h"

namespace tool {
namespace {

std::optional<std::size_t> parseNumber(std::string_view text) {
  std::size_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

}  // namespace

std::optional<mesh::UpAxis> upAxis(const Arguments& arguments) {
  const std::string* text = arguments.value("up");
  if (!text) return std::nullopt;
  if (*text == "X" || *text == "x") return mesh::UpAxis::x;
  if (*text == "Y" || *text == "y") return mesh::UpAxis::y;
  if (*text == "Z" || *text == "z") return mesh::UpAxis::z;
  failUsage("--up is '" + *text + "', not X, Y or Z");
}

mesh::Scene loadMeshFile(Session& session, const std::string& path, const std::string& shown) {
  const Arguments& arguments = session.arguments();
  const std::string* unitName = arguments.value("unit");
  const double unit = unitName ? jtw::parseLengthUnit("--unit", *unitName).millimetres : 0;
  const auto up = upAxis(arguments);
  const ReaderLimits limits(path, arguments.byteCount("max-memory"),
                            arguments.positiveNumber("max-seconds"));
  try {
    mesh::Scene scene = mesh::loadScene(path, unit, up);
    showNotes(session, shown, scene);
    return scene;
  } catch (const JtFormatError& error) {
    jt::FilePosition where = error.where();
    if (where.file.empty() || where.file == path) where.file = shown;
    if (error.code() == "too_large")
      throw Failure(ExitCode::input, error.code(), error.message() + "; option: --max-memory",
                    where);
    throw readFailure({error.code(), error.message(), where}, shown);
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

namespace {

[[noreturn]] void failBits(const std::string& bits) {
  failUsage("--bits is '" + bits +
            "', not P[,N[,T]] with P from 0 to 24, N from 0 to 13 and T from 1 to 24");
}

}  // namespace

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
  if (!bits) {
    encoding.textureBits = jt::ShapeEncoding::kMostTextureBits;  // as fine as they are
    return encoding;
  }
  if (arguments.has("lossless")) failUsage("--lossless and --bits exclude each other");
  std::array<unsigned*, 3> numbers{&encoding.positionBits, &encoding.normalBits,
                                   &encoding.textureBits};
  constexpr std::array<unsigned, 3> kLeast{0, 0, 1};
  constexpr std::array<unsigned, 3> kMost{jt::ShapeEncoding::kMostPositionBits,
                                          jt::ShapeEncoding::kMostNormalBits,
                                          jt::ShapeEncoding::kMostTextureBits};
  const std::vector<std::string> parts = commaList(*bits);
  if (parts.size() > numbers.size()) failBits(*bits);
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto number = parseNumber(parts[i]);
    if (!number || *number < kLeast[i] || *number > kMost[i]) failBits(*bits);
    *numbers[i] = static_cast<unsigned>(*number);
  }
  return encoding;
}

}  // namespace tool
