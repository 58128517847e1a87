#include "ManPage.h"

#include <algorithm>
#include <string_view>

#include "Command.h"

namespace tool {
namespace {

/// Text as roff shows it literally.
std::string escaped(std::string_view text) {
  std::string roff;
  for (const char letter : text) {
    if (letter == '\\')
      roff += "\\e";
    else if (letter == '-')
      roff += "\\-";
    else
      roff += letter;
  }
  return roff;
}

/// One line of text: a dot or quotation mark in front would make it a request.
std::string textLine(std::string_view line) {
  const bool isRequest = line.starts_with('.') || line.starts_with('\'');
  return (isRequest ? "\\&" : "") + escaped(line) + "\n";
}

/// The text with a capital in front and a full stop behind.
std::string sentence(std::string_view text) {
  std::string line(text);
  if (line[0] >= 'a' && line[0] <= 'z') line[0] = static_cast<char>(line[0] - 'a' + 'A');
  return textLine(line + ".");
}

/// Lines of text; those that are indented are shown as they are.
std::string paragraphs(std::string_view text) {
  std::string roff;
  bool isVerbatim = false;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (line.starts_with(' ') != isVerbatim) roff += isVerbatim ? ".fi\n" : ".nf\n";
    isVerbatim = line.starts_with(' ');
    roff += line.empty() ? ".PP\n" : textLine(line);
  }
  return roff + (isVerbatim ? ".fi\n" : "");
}

std::string optionList(std::span<const Option> options) {
  std::string roff;
  for (const Option& option : options) {
    roff += ".TP\n";
    if (option.letter) roff += std::string("\\fB\\-") + option.letter + "\\fR, ";
    roff += "\\fB" + escaped(std::string("--") + option.name) + "\\fR";
    if (option.value) roff += " \\fI" + escaped(option.value) + "\\fR";
    roff += "\n" + paragraphs(option.help);
  }
  return roff;
}

std::string header(std::string_view title, const std::string& name, std::string_view summary) {
  return ".TH \"" + std::string(title) + "\" 1 \"\" \"jtw " JTW_VERSION "\" \"Jtw\"\n.SH NAME\n" +
         escaped(name) + " \\- " + escaped(summary) + "\n.SH SYNOPSIS\n";
}

std::string programPage() {
  std::string roff = header("JTW", "jtw", "read, edit and export components in JT files") +
                     "\\fBjtw\\fR \\fICOMMAND\\fR \\fIARGUMENTS\\fR [\\fIOPTIONS\\fR]\n" +
                     ".SH DESCRIPTION\n" + paragraphs(kArgumentsHelp) + ".SH COMMANDS\n";
  for (const CommandGroup group : kCommandGroups) {
    roff += ".SS " + escaped(groupTitle(group)) + "\n";
    for (const Command& command : commands())
      if (command.run && command.group == group)
        roff += ".TP\n\\fB" + escaped(std::string("jtw-") + command.name) + "\\fR(1)\n" +
                sentence(command.summary);
  }
  return roff + ".SH OPTIONS\n" + optionList(globalOptions()) + ".SH EXIT STATUS\n" +
         paragraphs(kExitCodesHelp);
}

std::string commandPage(const Command& command) {
  const std::string name = std::string("jtw-") + command.name;
  std::string title = name;
  std::ranges::transform(title, title.begin(), [](char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
  });
  std::string roff = header(title, name, command.summary) + "\\fBjtw " + escaped(command.name) +
                     "\\fR " + escaped(command.usage) + "\n.SH DESCRIPTION\n" +
                     sentence(command.summary) + paragraphs(command.details);
  if (!command.options.empty()) roff += ".SH OPTIONS\n" + optionList(command.options);
  return roff + ".PP\nThe options of all commands are listed in \\fBjtw\\fR(1).\n" +
         ".SH EXIT STATUS\n" + paragraphs(kExitCodesHelp) + ".SH EXAMPLES\n.nf\n" +
         textLine(command.example) + ".fi\n.SH SEE ALSO\n\\fBjtw\\fR(1)\n";
}

}  // namespace

std::string manPage(const Command* command) {
  return command ? commandPage(*command) : programPage();
}

}  // namespace tool
