#include "RunReport.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string_view>

#include "Component.h"
#include "InputFile.h"
#include "JsonInput.h"
#include "JsonWriter.h"
#include "Output.h"

namespace tool {
namespace {

using Json = nlohmann::json;

constexpr std::string_view kBeginning = R"({"schema": "jtw.run/1")";

std::string withoutEnd(std::string line) {
  line.erase(line.find_last_not_of('\n') + 1);
  return line;
}

/// A JSON object without line breaks. Those that are in it are of its layout, since a text has
/// none.
std::string onOneLine(std::string_view json) {
  std::string line;
  line.reserve(json.size());
  for (std::size_t at = 0; at < json.size();) {
    const std::size_t end = std::min(json.find('\n', at), json.size());
    line.append(json.substr(at, end - at));
    at = std::min(json.find_first_not_of(" \n", end), json.size());
  }
  return line;
}

/// Copying and comparing of JSON values go as deep as these are.
bool isTooDeep(std::string_view json) {
  constexpr int kMostLevels = 100;
  int depth = 0;
  bool isInText = false;
  for (std::size_t i = 0; i < json.size(); ++i) {
    const char letter = json[i];
    if (letter == '"')
      isInText = !isInText;
    else if (isInText)
      i += letter == '\\' ? 1 : 0;
    else if (letter == '{' || letter == '[')
      ++depth;
    else if (letter == '}' || letter == ']')
      --depth;
    if (depth > kMostLevels) return true;
  }
  return false;
}

[[noreturn]] void failLine(const std::string& path, std::size_t offset, const std::string& what) {
  throw Failure(ExitCode::input, "damaged", what,
                {.file = path, .segment = {}, .element = {}, .offset = offset});
}

RunHeader headerOf(const Json& line) {
  RunHeader header;
  header.command = line.at("command");
  header.version = line.at("version");
  header.options = line.at("options").get<std::vector<std::string>>();
  if (!line.at("shard").is_null()) {
    header.shard = Shard{.index = line.at("shard"), .count = line.at("shards")};
    if (!header.shard->isValid()) throw DocumentError{"there is no such shard"};
  }
  header.files = line.at("files");
  header.of = line.at("of");
  header.list = line.at("list");
  header.run = line.at("run");
  header.host = line.at("host");
  header.started = line.at("started");
  return header;
}

RunEntry entryOf(const Json& line, std::string_view text) {
  constexpr int kGreatestCode = static_cast<int>(ExitCode::refused);
  const int exit = line.at("exit");
  if (exit < 0 || exit > kGreatestCode) throw DocumentError{"there is no such exit code"};
  RunEntry entry;
  entry.id = line.at("id");
  entry.file = line.at("file");
  entry.exit = static_cast<ExitCode>(exit);
  entry.outcome = line.at("outcome");
  entry.lost = line.at("lost");
  entry.seconds = line.at("seconds");
  if (!line.at("size").is_null()) entry.state.size = line.at("size").get<std::uint64_t>();
  if (!line.at("modified").is_null()) entry.state.modified = line.at("modified");
  entry.hasOutput = !line.at("output").is_null();
  if (!line.at("result").is_object() && !line.at("result").is_null())
    throw DocumentError{"the result is no object"};
  entry.text = text;
  return entry;
}

}  // namespace

std::string idOf(const std::string& path) {
  std::array<char, 17> digits{};
  const std::string name = std::filesystem::path(path).lexically_normal().string();
  std::snprintf(digits.data(), digits.size(), "%016llx",
                static_cast<unsigned long long>(stableHash(name)));
  return digits.data();
}

std::string timeText(std::int64_t seconds, std::optional<std::int64_t> nanoseconds) {
  const std::time_t time = seconds;
  std::tm parts{};
  gmtime_r(&time, &parts);
  std::array<char, 64> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts);
  std::string all = text.data();
  if (nanoseconds) {
    std::snprintf(text.data(), text.size(), ".%09lld", static_cast<long long>(*nanoseconds));
    all += text.data();
  }
  return all + "Z";
}

FileState FileState::of(const std::string& document) noexcept try {
  struct stat found {};
  if (::stat(jtFileOf(DocumentName(document).path).c_str(), &found) != 0) return {};
  return {.size = static_cast<std::uint64_t>(found.st_size),
          .modified = timeText(found.st_mtim.tv_sec, found.st_mtim.tv_nsec)};
} catch (...) {
  return {};
}

std::string RunHeader::line() const {
  Output out;
  JsonWriter json(out);
  json.beginObject(JsonWriter::Layout::line);
  json.member("schema", "jtw.run/1");
  json.member("command", command);
  json.member("version", version);
  json.key("options");
  json.beginArray();
  for (const std::string& option : options) json.value(option);
  json.end();
  json.key("shard");
  json.value(shard ? std::optional(shard->index) : std::nullopt);
  json.key("shards");
  json.value(shard ? std::optional(shard->count) : std::nullopt);
  json.member("files", files);
  json.member("of", of);
  json.member("list", list);
  json.member("run", run);
  json.member("host", host);
  json.member("started", started);
  json.end();
  return withoutEnd(out.take());
}

RunHeader RunHeader::stored() const { return headerOf(Json::parse(line())); }

void RunEntry::format(const std::string& output, const std::string& result) {
  Output out;
  JsonWriter json(out);
  json.beginObject(JsonWriter::Layout::line);
  json.member("id", id);
  json.member("file", file);
  json.member("exit", static_cast<int>(exit));
  json.member("outcome", outcome);
  json.member("lost", lost);
  json.member("seconds", seconds);
  json.member("size", state.size);
  json.textOrNull("modified", state.modified);
  json.textOrNull("output", output);
  json.key("result");
  json.raw(onOneLine(result));
  json.end();
  hasOutput = !output.empty();
  text = withoutEnd(out.take());
}

Json RunEntry::result() const { return Json::parse(text).at("result"); }

RunReport readRunReport(const std::string& path) {
  RunReport report{.path = path, .header = {}, .entries = {}};
  const std::vector<std::byte> bytes = readBytes(path);
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const std::string_view beginning = text.substr(0, kBeginning.size());
  if (!kBeginning.starts_with(beginning))
    throw Failure(ExitCode::input, "not_a_report",
                  "this is no report that a command wrote with --report", {.file = path});
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = text.find('\n', at);
    if (end == std::string_view::npos) break;  // the run was ended while it wrote this line
    const std::string_view line = text.substr(at, end - at);
    try {
      if (isTooDeep(line)) throw DocumentError{"this is nested too deep"};
      const Json object = Json::parse(line);
      if (report.header)
        report.entries.push_back(entryOf(object, line));
      else
        report.header = headerOf(object);
    } catch (const Json::exception&) {
      failLine(path, at, "this is no line of a report");
    } catch (const DocumentError& error) {
      failLine(path, at, error.message);
    }
    at = end + 1;
  }
  return report;
}

}  // namespace tool
