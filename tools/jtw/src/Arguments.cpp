#include "Arguments.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "Failure.h"

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

}  // namespace tool
