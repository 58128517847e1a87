#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ApiSysFileAccess.h"
#include "ApiSysFilePath.h"
#include "Command.h"
#include "InputFile.h"
#include "Session.h"

namespace tool {
namespace {

constexpr std::string_view kAttributes = "*.jt diff=jtw merge=jtw";

/// A word for the shell.
std::string quoted(const std::string& text) {
  std::string word = "'";
  for (const char c : text) word += c == '\'' ? "'\\''" : std::string(1, c);
  return word + "'";
}

struct GitAnswer {
  int exit = -1;
  std::string text;  ///< the first line on standard output
};

GitAnswer git(const std::string& arguments) {
  const auto close = [](std::FILE* file) { return pclose(file); };
  std::FILE* pipe = popen(("git " + arguments + " 2>/dev/null").c_str(), "r");
  if (!pipe) return {};
  GitAnswer answer;
  std::array<char, 4096> buffer{};
  while (std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe))
    answer.text.append(buffer.data(), count);
  answer.exit = close(pipe);
  answer.text.resize(std::min(answer.text.find('\n'), answer.text.size()));
  return answer;
}

[[noreturn]] void failGit(const std::string& message) {
  throw Failure(ExitCode::output, "git_failed", message);
}

/// Sets a value where it is another one. @return whether it was
bool configure(const char* scope, const std::string& name, const std::string& value) {
  if (git("config " + std::string(scope) + " --get " + name).text == value) return false;
  if (git("config " + std::string(scope) + " " + name + " " + quoted(value)).exit != 0)
    failGit("git config " + name + " failed");
  return true;
}

std::string attributesFile(bool global) {
  if (!global) {
    const GitAnswer top = git("rev-parse --show-toplevel");
    if (top.exit != 0 || top.text.empty())
      failGit("this folder is in no git repository, or git is missing");
    return top.text + "/.gitattributes";
  }
  const GitAnswer set = git("config --global --type=path --get core.attributesFile");
  if (set.exit == 0 && !set.text.empty()) return set.text;
  const char* home = std::getenv("HOME");
  if (!home) failGit("there is no home folder");
  std::string file = std::string(home) + "/.gitattributes";
  configure("--global", "core.attributesFile", file);
  return file;
}

/// Adds the line for JT files. @return whether it was missing
bool addAttributes(const std::string& file) {
  std::string text;
  if (ApiSysFilePath(file).exists()) {
    const std::vector<std::byte> bytes = readBytes(file);
    text.assign(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
  for (std::size_t first = 0; first < text.size();) {
    const std::size_t end = std::min(text.find('\n', first), text.size());
    if (std::string_view(text).substr(first, end - first) == kAttributes) return false;
    first = end + 1;
  }
  if (!text.empty() && text.back() != '\n') text += '\n';
  text.append(kAttributes).append("\n");
  writeBytes(file, std::as_bytes(std::span(text)));
  return true;
}

}  // namespace

ExitCode runGitSetup(Session& session) {
  const bool global = session.arguments().has("global");
  const char* scope = global ? "--global" : "--local";
  const std::string file = attributesFile(global);
  const std::string program = quoted(ApiSysFileAccess::programFolder() + "jtw");
  const std::vector<std::pair<std::string, std::string>> values{
      {"diff.jtw.textconv", program + " get --select \"key or not key\""},
      {"merge.jtw.name", "JT components, object by object"},
      {"merge.jtw.driver", program + " merge %O %A %B %A"}};
  std::vector<std::string> written;
  for (const auto& [name, value] : values)
    if (configure(scope, name, value)) written.push_back(name);
  const bool hasLine = !addAttributes(file);
  if (!session.wantsJson()) {
    for (const auto& [name, value] : values) {
      std::string line = "git config ";
      line.append(scope).append(" ").append(name).append(" = ").append(value);
      session.out().line(printable(line));
    }
    session.out().line(
        printable(file + (hasLine ? " has: " : ": added ") + std::string(kAttributes)));
    return ExitCode::done;
  }
  session.beginResult();
  JsonWriter& json = session.json();
  json.member("attributesFile", file);
  json.member("attributesAdded", !hasLine);
  json.key("written");
  json.beginArray();
  for (const std::string& name : written) json.value(name);
  json.end();
  session.endResult();
  return ExitCode::done;
}

}  // namespace tool
