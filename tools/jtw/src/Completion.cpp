#include "Completion.h"

#include <algorithm>
#include <vector>

#include "Command.h"
#include "Failure.h"

namespace tool {
namespace {

/// The words that a form such as "auto|always|never" lists; none when it is a placeholder.
std::string choicesOf(std::string_view form) {
  const bool isList =
      form.find('|') != std::string_view::npos && std::ranges::all_of(form, [](char letter) {
        return (letter >= 'a' && letter <= 'z') || letter == '|' || letter == '-';
      });
  std::string words(isList ? form : std::string_view());
  std::ranges::replace(words, '|', ' ');
  return words;
}

bool takesFile(const Option& option) {
  const std::string_view value = option.value;
  return std::ranges::any_of(std::initializer_list<std::string_view>{"FILE", "DIR", "LIST"},
                             [&](std::string_view name) { return value.starts_with(name); });
}

std::string joined(const std::vector<std::string>& words, const char* separator) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
  return text;
}

std::vector<std::string> commandNames() {
  std::vector<std::string> names;
  for (const Command& command : commands())
    if (command.run) names.emplace_back(command.name);
  return names;
}

/// What can be an argument of a command, beside files.
std::string argumentChoices(const Command& command) {
  std::string_view usage = command.usage;
  std::string choices;
  while (!usage.empty()) {
    const std::size_t end = std::min(usage.find_first_of(" []"), usage.size());
    const std::string_view word = usage.substr(0, end);
    const std::string some = word == "COMMAND" ? joined(commandNames(), " ") : choicesOf(word);
    if (!some.empty()) choices += (choices.empty() ? "" : " ") + some;
    usage.remove_prefix(std::min(end + 1, usage.size()));
  }
  return choices;
}

/// The options of a command, and those of all commands that it has not got itself; of the program
/// for null.
std::vector<Option> optionsOf(const Command* command) {
  std::vector<Option> all;
  if (command) all.assign(command->options.begin(), command->options.end());
  const std::size_t own = all.size();
  for (const Option& option : globalOptions())
    if (std::none_of(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(own),
                     [&](const Option& one) { return std::string_view(one.name) == option.name; }))
      all.push_back(option);
  return all;
}

// --- bash

std::string bashOptions(const std::vector<Option>& options) {
  std::string words;
  for (const Option& option : options) {
    words += (words.empty() ? "--" : " --") + std::string(option.name);
    if (option.letter) words += std::string(" -") + option.letter;
  }
  return words;
}

/// A branch for the word behind an option that takes a value.
std::string bashValue(const std::string& command, const Option& option) {
  if (!option.value) return {};
  std::string branch = "    " + command + ":--" + option.name;
  if (option.letter) branch += " | " + command + ":-" + option.letter;
  const std::string choices = choicesOf(option.value);
  return branch + ") options= arguments='" + choices + "' files=" + (takesFile(option) ? "1" : "") +
         " ;;\n";
}

std::string bashScript() {
  std::string options;
  std::string values;
  for (const Command& command : commands()) {
    if (!command.run) continue;
    options += std::string("    ") + command.name + ") options='" +
               bashOptions(optionsOf(&command)) + "' arguments='" + argumentChoices(command) +
               "' files=1 ;;\n";
    for (const Option& option : command.options) values += bashValue(command.name, option);
  }
  for (const Option& option : globalOptions()) values += bashValue("*", option);
  const std::vector<std::string> names = commandNames();
  return "# Completion of jtw for bash.\n"
         "_jtw() {\n"
         "  local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]}\n"
         "  local command= options= arguments= files= i\n"
         "  # bash takes --name=value apart.\n"
         "  if [[ $cur == '=' ]]; then cur=\n"
         "  elif [[ $prev == '=' ]]; then prev=${COMP_WORDS[COMP_CWORD-2]}; fi\n"
         "  for ((i = 1; i < COMP_CWORD; ++i)); do\n"
         "    case ${COMP_WORDS[i]} in\n      " +
         joined(names, " | ") +
         ") command=${COMP_WORDS[i]}; break ;;\n"
         "    esac\n"
         "  done\n"
         "  case $command in\n    '') options='" +
         bashOptions(optionsOf(nullptr)) + "' arguments='" + joined(names, " ") + "' ;;\n" +
         options + "  esac\n  case $command:$prev in\n" + values +
         "  esac\n"
         "  if [[ $cur == -* ]]; then arguments=$options files=; fi\n"
         "  COMPREPLY=($(compgen -W \"$arguments\" -- \"$cur\"))\n"
         "  [[ $files ]] || compopt +o default 2> /dev/null\n"
         "}\n"
         "complete -o default -F _jtw jtw\n";
}

// --- zsh

/// Help of an option on one line, with a backslash before each of `special`.
std::string helpLine(std::string_view help, std::string_view special) {
  std::string line;
  for (const char letter : help) {
    if (special.find(letter) != std::string_view::npos) line += '\\';
    line += letter == '\n' ? ' ' : letter;
  }
  return line;
}

/// Between single quotes.
std::string zshQuoted(std::string_view text) {
  std::string word = "'";
  for (const char letter : text)
    word += letter == '\'' ? std::string("'\\''") : std::string{letter};
  return word + "'";
}

std::string zshOption(const Option& option) {
  const std::string name = std::string("--") + option.name;
  std::string rest = "[" + helpLine(option.help, "\\[]:") + "]";
  if (option.value) {
    const std::string choices = choicesOf(option.value);
    rest += ":" + helpLine(option.value, "\\:") + ":";
    rest += !choices.empty() ? "(" + choices + ")" : takesFile(option) ? "_files" : " ";
  }
  const char* equals = option.value ? "=" : "";
  std::string text = "      " + zshQuoted(name + equals + rest) + " \\\n";
  if (option.letter)
    text += "      " +
            zshQuoted(std::string{'-', option.letter} + (option.value ? "+" : "") + rest) + " \\\n";
  return text;
}

std::string zshScript() {
  std::string names;
  std::string branches;
  for (const Command& command : commands()) {
    if (!command.run) continue;
    names += "        " +
             zshQuoted(std::string(command.name) + ":" + helpLine(command.summary, "\\:")) + "\n";
    branches += std::string("        ") + command.name + ") _arguments -s \\\n";
    for (const Option& option : optionsOf(&command)) branches += zshOption(option);
    const std::string choices = argumentChoices(command);
    branches += "      " +
                zshQuoted(choices.empty() ? "*:file:_files"
                                          : "*:argument:{ compadd " + choices + "; _files }") +
                " ;;\n";
  }
  std::string globals;
  for (const Option& option : optionsOf(nullptr)) globals += zshOption(option);
  return "#compdef jtw\n"
         "_jtw() {\n"
         "  local curcontext=$curcontext state line\n"
         "  typeset -A opt_args\n"
         "  _arguments -C -s \\\n" +
         globals +
         "      ':command:->command' '*::argument:->argument'\n"
         "  case $state in\n"
         "    command)\n      local -a names\n      names=(\n" +
         names +
         "      )\n      _describe command names ;;\n"
         "    argument)\n      case $words[1] in\n" +
         branches +
         "      esac ;;\n  esac\n}\n"
         "if [ \"$funcstack[1]\" = _jtw ]; then _jtw \"$@\"; else compdef _jtw jtw; fi\n";
}

// --- fish

std::string fishQuoted(std::string_view text) { return "'" + helpLine(text, "\\'") + "'"; }

std::string fishOption(const std::string& condition, const Option& option) {
  std::string line = "complete -c jtw -n " + fishQuoted(condition) + " -l " + option.name;
  if (option.letter) line += std::string(" -s ") + option.letter;
  if (option.value) {
    const std::string choices = choicesOf(option.value);
    line += !choices.empty() ? " -xa " + fishQuoted(choices) : takesFile(option) ? " -rF" : " -x";
  }
  return line + " -d " + fishQuoted(option.help) + "\n";
}

std::string fishScript() {
  const std::string none = "not __fish_seen_subcommand_from " + joined(commandNames(), " ");
  std::string script = "# Completion of jtw for fish.\n";
  for (const Command& command : commands())
    if (command.run)
      script += "complete -c jtw -f -n " + fishQuoted(none) + " -a " + command.name + " -d " +
                fishQuoted(command.summary) + "\n";
  for (const Option& option : optionsOf(nullptr)) script += fishOption(none, option);
  for (const Command& command : commands()) {
    if (!command.run) continue;
    const std::string seen = std::string("__fish_seen_subcommand_from ") + command.name;
    const std::string choices = argumentChoices(command);
    if (!choices.empty())
      script += "complete -c jtw -n " + fishQuoted(seen) + " -a " + fishQuoted(choices) + "\n";
    for (const Option& option : optionsOf(&command)) script += fishOption(seen, option);
  }
  return script;
}

}  // namespace

std::string completionScript(std::string_view shell) {
  if (shell == "bash") return bashScript();
  if (shell == "zsh") return zshScript();
  if (shell == "fish") return fishScript();
  failUsage("'" + std::string(shell) + "' is not bash, zsh or fish");
}

}  // namespace tool
