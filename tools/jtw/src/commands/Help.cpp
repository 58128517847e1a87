#include <algorithm>
#include <string>
#include <string_view>

#include "Command.h"
#include "Completion.h"
#include "ManPage.h"
#include "Session.h"

namespace tool {
namespace {

constexpr std::size_t kHelpColumn = 36;
constexpr std::size_t kWidth = 100;

/// The words of a text in lines of the terminal; all but the first one begin in the help column.
std::string wrapped(std::string_view text) {
  std::string lines;
  std::size_t column = kHelpColumn;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find_first_of(" \n"), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    const bool begins = column == kHelpColumn;
    if (!begins && column + 1 + word.size() > kWidth) {
      lines += "\n" + std::string(kHelpColumn, ' ');
      column = kHelpColumn;
    } else if (!begins) {
      lines += ' ';
      ++column;
    }
    lines += word;
    column += word.size();
  }
  return lines;
}

void listOptions(Output& out, std::span<const Option> options) {
  for (const Option& option : options) {
    std::string form = option.letter ? std::string{'-', option.letter, ',', ' '} : "    ";
    form += std::string("--") + option.name;
    if (option.value) form += std::string(" ") + option.value;
    out.line("  " + padRight(form, kHelpColumn - 3) + " " + wrapped(option.help));
  }
}

void showProgram(Session& session) {
  Output& out = session.out();
  out.line("usage: jtw COMMAND ARGUMENTS [OPTIONS]\n");
  for (const CommandGroup group : kCommandGroups) {
    out.line(std::string(groupTitle(group)) + ":");
    for (const Command& command : commands())
      if (command.run && command.group == group)
        out.line("  " + padRight(command.name, 17) + command.summary);
    out.line("");
  }
  out.line(std::string(kArgumentsHelp) + "\n");
  listOptions(out, globalOptions());
  out.line(std::string("\nexit codes:\n") + kExitCodesHelp);
  out.line("\n'jtw help COMMAND' explains one command.");
}

void showCommand(Session& session, const Command& command) {
  Output& out = session.out();
  out.line("usage: jtw " + std::string(command.name) + " " + command.usage + "\n");
  out.line(std::string(command.summary) + ".");
  if (*command.details) out.line(command.details);
  if (!command.options.empty()) {
    out.line("");
    listOptions(out, command.options);
  }
  out.line(std::string("\nexample: ") + command.example);
}

void writeOptions(JsonWriter& json, std::span<const Option> options) {
  json.key("options");
  json.beginArray();
  for (const Option& option : options) {
    json.beginObject(JsonWriter::Layout::line);
    json.member("name", option.name);
    json.textOrNull("letter", option.letter ? std::string_view(&option.letter, 1) : "");
    json.textOrNull("value", option.value ? option.value : "");
    json.member("help", option.help);
    json.end();
  }
  json.end();
}

void writeCommand(JsonWriter& json, const Command& command) {
  json.beginObject();
  json.member("name", command.name);
  json.member("usage", command.usage);
  json.member("summary", command.summary);
  json.member("group", groupTitle(command.group));
  json.member("example", command.example);
  writeOptions(json, command.options);
  json.end();
}

}  // namespace

void showHelp(Session& session, const Command* command) {
  if (command && !command->run)
    failUsage("'" + std::string(command->name) + "' is not available yet");
  if (!session.wantsJson()) {
    if (command)
      showCommand(session, *command);
    else
      showProgram(session);
    return;
  }
  JsonWriter& json = session.json();
  json.beginObject();
  json.member("schema", "jtw.help/1");
  json.key("commands");
  json.beginArray();
  for (const Command& row : commands())
    if (row.run && (!command || command == &row)) writeCommand(json, row);
  json.end();
  writeOptions(json, globalOptions());
  json.end();
}

ExitCode runHelp(Session& session) {
  const auto& names = session.arguments().positional();
  const Command* command = names.empty() ? nullptr : &findCommand(names[0]);
  if (!session.arguments().has("man"))
    showHelp(session, command);
  else if (session.wantsJson())
    failUsage("a manual page has no form in JSON; leave out --json or --man");
  else
    session.out().write(manPage(command));
  return ExitCode::done;
}

ExitCode runCompletion(Session& session) {
  if (session.wantsJson()) failUsage("a script has no form in JSON; leave out --json");
  session.out().write(completionScript(session.argument(0)));
  return ExitCode::done;
}

}  // namespace tool
