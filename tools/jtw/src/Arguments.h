#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

struct Command;

/// One option of the program or of a command.
struct Option {
  const char* name;   ///< without the dashes
  char letter;        ///< of the short form; 0: none
  const char* value;  ///< what its value is called in the help; null: it takes none
  const char* help;
};

/// The options that every command has.
std::span<const Option> globalOptions();

/// The parts of a text with commas between them, at least one; each may be empty.
std::vector<std::string> commaList(std::string_view text);

/// What was said on the command line, checked against the tables.
class Arguments {
 public:
  const std::vector<std::string>& positional() const noexcept { return positional_; }
  bool has(std::string_view option) const { return find(option) != nullptr; }
  /// The value of an option, the last one when it was given twice; null when it was not given.
  const std::string* value(std::string_view option) const;
  /// All values of an option that may be given several times, in order.
  std::vector<std::string> values(std::string_view option) const;
  /// The options as words of a command line, all but those of these names.
  std::vector<std::string> optionWords(std::initializer_list<std::string_view> without) const;
  /// A number of bytes such as 4096, 64K, 2M or 1G. Throws Failure "usage".
  std::optional<std::uint64_t> byteCount(std::string_view option) const;
  /// A whole number from 1 on. Throws Failure "usage".
  std::optional<std::uint64_t> positiveNumber(std::string_view option) const;
  /// A number from 0 on. Throws Failure "usage".
  std::optional<double> tolerance(std::string_view option) const;

 private:
  friend class ArgumentReader;
  struct Given {
    const Option* option;
    std::string value;
  };
  const Given* find(std::string_view option) const;

  std::vector<std::string> positional_;
  std::vector<Given> given_;
};

struct CommandLine {
  std::span<const char* const> words;  ///< as they were given
  const Command* command = nullptr;    ///< null when none was named
  Arguments arguments;
};

/// Reads the command line, without the program's own name. Options may come before or after the
/// command, "--" ends them; an option of a command wins over a global one of the same name. Throws
/// Failure "usage". How many arguments there are is not checked here.
CommandLine readCommandLine(std::span<const char* const> words);

}  // namespace tool
