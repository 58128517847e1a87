#include "Arguments.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "Command.h"
#include "Failure.h"
#include "JtwNearestName.h"

namespace tool {
namespace {

constexpr Option kGlobalOptions[] = {
    {"json", 0, nullptr, "one JSON object on standard output instead of text"},
    {"quiet", 'q', nullptr, "no messages beside errors; of several files the failures only"},
    {"no-progress", 0, nullptr, "no progress display"},
    {"color", 0, "auto|always|never", "colors in text; auto: on a terminal without NO_COLOR"},
    {"jobs", 'j', "N", "threads for work that can be divided"},
    {"max-input", 0, "BYTES", "the most that is read from standard input (1G)"},
    {"version", 0, nullptr, "the version of the program"},
    {"help", 'h', nullptr, "help, of the program or of the command"},
};

std::optional<std::uint64_t> parseCount(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return number;
}

[[noreturn]] void failValue(std::string_view option, std::string_view value, const char* expected) {
  failUsage("--" + std::string(option) + " is '" + std::string(value) + "', not " + expected);
}

}  // namespace

std::vector<std::string> commaList(std::string_view text) {
  std::vector<std::string> parts;
  for (std::size_t start = 0; start <= text.size();) {
    const std::size_t end = std::min(text.find(',', start), text.size());
    parts.emplace_back(text.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

std::span<const Option> globalOptions() { return kGlobalOptions; }

const Arguments::Given* Arguments::find(std::string_view option) const {
  const auto found = std::find_if(given_.rbegin(), given_.rend(), [option](const Given& given) {
    return option == given.option->name;
  });
  return found == given_.rend() ? nullptr : &*found;
}

const std::string* Arguments::value(std::string_view option) const {
  const Given* given = find(option);
  return given ? &given->value : nullptr;
}

std::vector<std::string> Arguments::values(std::string_view option) const {
  std::vector<std::string> all;
  for (const Given& given : given_)
    if (option == given.option->name) all.push_back(given.value);
  return all;
}

std::vector<std::string> Arguments::optionWords(
    std::initializer_list<std::string_view> without) const {
  std::vector<std::string> words;
  for (const Given& given : given_) {
    if (std::ranges::find(without, given.option->name) != without.end()) continue;
    words.push_back(std::string("--") + given.option->name);
    if (given.option->value) words.back() += "=" + given.value;
  }
  return words;
}

std::optional<std::uint64_t> Arguments::byteCount(std::string_view option) const {
  const std::string* text = value(option);
  if (!text) return std::nullopt;
  constexpr const char* kExpected = "a number of bytes such as 4096, 64K, 2M or 1G";
  std::string_view digits = *text;
  unsigned shift = 0;
  if (!digits.empty()) {
    const std::size_t suffix = std::string_view("KMGkmg").find(digits.back());
    if (suffix != std::string_view::npos) {
      shift = static_cast<unsigned>(suffix % 3 + 1) * 10;
      digits.remove_suffix(1);
    }
  }
  const auto number = parseCount(digits);
  if (!number || *number > std::numeric_limits<std::uint64_t>::max() >> shift)
    failValue(option, *text, kExpected);
  return *number << shift;
}

std::optional<std::uint64_t> Arguments::positiveNumber(std::string_view option) const {
  const std::string* text = value(option);
  if (!text) return std::nullopt;
  const auto number = parseCount(*text);
  if (!number || *number == 0) failValue(option, *text, "a whole number from 1 on");
  return number;
}

std::optional<double> Arguments::tolerance(std::string_view option) const {
  const std::string* text = value(option);
  if (!text) return std::nullopt;
  double number = 0;
  const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
  // Written so that it catches what is not a number.
  if (error != std::errc() || end != text->data() + text->size() || !(number >= 0))
    failValue(option, *text, "a number from 0 on");
  return number;
}

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
    for (const Option& option : kGlobalOptions)
      if (matches(option)) return &option;
    return nullptr;
  }

  [[noreturn]] void failUnknown(std::string_view name) const {
    std::vector<const char*> names;
    if (line_.command)
      for (const Option& option : line_.command->options) names.push_back(option.name);
    for (const Option& option : kGlobalOptions) names.push_back(option.name);
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
