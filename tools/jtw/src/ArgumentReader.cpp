// The command line, read against the table of commands. Apart from what asks for arguments, so that
// what only does so can be linked without all commands.

#include <algorithm>
#include <string>
#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "Failure.h"
#include "JtwNearestName.h"

namespace tool {

/// Walks over the words of a command line.
class ArgumentReader {
 public:
  explicit ArgumentReader(std::span<const char* const> words) : words_(words) {}

  CommandLine read() {
    line_.words = words_;
    bool optionsEnded = false;
    while (next_ < words_.size()) {
      const std::string_view word = words_[next_++];
      if (!optionsEnded && word == "--")
        optionsEnded = true;
      else if (!optionsEnded && word.starts_with("--"))
        readLong(word.substr(2));
      else if (!optionsEnded && isShort(word))
        readShort(word.substr(1));
      else if (!line_.command)
        line_.command = &findCommand(word);
      else
        line_.arguments.positional_.emplace_back(word);
    }
    return std::move(line_);
  }

 private:
  /// "-" represents a stream, "-5" a key unless there is an option with that digit.
  bool isShort(std::string_view word) const {
    if (word.size() < 2 || word[0] != '-') return false;
    const char letter = word[1];
    return letter < '0' || letter > '9' ||
           find([letter](const Option& option) { return option.letter == letter; });
  }

  template <class Matches>
  const Option* find(const Matches& matches) const {
    if (line_.command)
      for (const Option& option : line_.command->options)
        if (matches(option)) return &option;
    for (const Option& option : globalOptions())
      if (matches(option)) return &option;
    return nullptr;
  }

  [[noreturn]] void failUnknown(std::string_view name) const {
    std::vector<const char*> names;
    if (line_.command)
      for (const Option& option : line_.command->options) names.push_back(option.name);
    for (const Option& option : globalOptions()) names.push_back(option.name);
    std::string others;
    for (const Command& command : commands())
      if (std::ranges::any_of(command.options, [&](const Option& o) { return name == o.name; }))
        others += (others.empty() ? "" : ", ") + std::string(command.name);
    if (line_.command && !others.empty())
      failUsage(std::string(line_.command->name) + " has no option '--" + std::string(name) +
                "'; commands that have it: " + others);
    const char* nearest = jtw::nearestName(name, names);
    failUsage("unknown option '--" + std::string(name) + "'" +
              (nearest ? "; did you mean '--" + std::string(nearest) + "'?" : std::string()));
  }

  void readLong(std::string_view word) {
    const std::size_t equals = word.find('=');
    const std::string_view name = word.substr(0, equals);
    const Option* option = find([name](const Option& candidate) { return name == candidate.name; });
    if (!option) failUnknown(name);
    if (!option->value) {
      if (equals != std::string_view::npos) failUsage("--" + std::string(name) + " takes no value");
      add(*option, {});
    } else if (equals != std::string_view::npos) {
      add(*option, word.substr(equals + 1));
    } else {
      add(*option, takeValue(*option));
    }
  }

  /// Letters may be combined; the rest behind one that takes a value is the value.
  void readShort(std::string_view letters) {
    while (!letters.empty()) {
      const char letter = letters[0];
      letters.remove_prefix(1);
      const Option* option =
          find([letter](const Option& candidate) { return candidate.letter == letter; });
      if (!option) failUsage("unknown option '-" + std::string(1, letter) + "'");
      if (!option->value) {
        add(*option, {});
      } else {
        add(*option, letters.empty() ? takeValue(*option) : letters);
        letters = {};
      }
    }
  }

  std::string_view takeValue(const Option& option) {
    const bool isMissing =
        next_ == words_.size() || std::string_view(words_[next_]).starts_with("--");
    if (isMissing) failUsage("--" + std::string(option.name) + " needs a value: " + option.value);
    return words_[next_++];
  }

  void add(const Option& option, std::string_view value) {
    line_.arguments.given_.push_back({&option, std::string(value)});
  }

  std::span<const char* const> words_;
  std::size_t next_ = 0;
  CommandLine line_;
};

CommandLine readCommandLine(std::span<const char* const> words) {
  return ArgumentReader(words).read();
}

}  // namespace tool
