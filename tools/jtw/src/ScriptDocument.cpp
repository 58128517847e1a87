#include "ScriptDocument.h"

#define JSON_NO_IO
#include <array>
#include <charconv>
#include <nlohmann/json.hpp>
#include <string_view>

#include "Failure.h"
#include "JsonInput.h"
#include "JtwNearestName.h"

namespace tool {
namespace {

using Json = nlohmann::json;

constexpr const char* kSchema = "jtw.script/1";

[[noreturn]] void fail(const std::string& where, const std::string& what) {
  throw DocumentError{where + " " + what};
}

std::string numberText(const Json& value) {
  std::array<char, 32> digits{};
  char* const last = digits.data() + digits.size();
  const auto end = value.is_number_integer()
                       ? std::to_chars(digits.data(), last, value.get<std::int64_t>())
                       : std::to_chars(digits.data(), last, value.get<double>());
  return {digits.data(), end.ptr};
}

/// Numbers with commas between them, or lines.
std::string listText(const Json& list, const std::string& where) {
  std::string text;
  for (std::size_t i = 0; i < list.size(); ++i) {
    const Json& item = list[i];
    const bool isLine = item.is_string();
    if ((!isLine && !item.is_number()) || isLine != list[0].is_string())
      fail(where, "is neither a list of numbers nor of texts");
    if (i > 0) text += isLine ? "\n" : ",";
    text += isLine ? item.get<std::string>() : numberText(item);
  }
  return text;
}

std::string colorText(const Json& color, const std::string& where) {
  std::string text;
  std::size_t known = 0;
  for (const char* name : {"r", "g", "b", "a"}) {
    const auto part = color.find(name);
    if (part == color.end()) continue;
    if (!part->is_number()) fail(where + "." + name, "is not a number");
    text += (known++ > 0 ? "," : "") + numberText(*part);
  }
  if (known != color.size() || !color.contains("r") || !color.contains("g") || !color.contains("b"))
    fail(where, "is an object that is no color {r, g, b, a}");
  return text;
}

std::string valueText(const Json& value, const std::string& where) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number()) return numberText(value);
  if (value.is_boolean()) return value.get<bool>() ? "true" : "false";
  if (value.is_array()) return listText(value, where);
  if (value.is_object()) return colorText(value, where);
  fail(where, "is null");
}

jtw::ScriptStep readStep(const Json& value, const std::string& where) {
  if (!value.is_object()) fail(where, "is not an object");
  jtw::ScriptStep step;
  for (const auto& [name, content] : value.items()) {
    if (name != "do") {
      std::string place = where;
      place.append(".").append(name);
      step.arguments.push_back({name, valueText(content, place)});
      continue;
    }
    if (!content.is_string()) fail(where + ".do", "is not a text");
    step.verb = content.get<std::string>();
  }
  std::string verbs;
  bool isKnown = false;
  for (const char* verb : jtw::scriptVerbs()) {
    isKnown = isKnown || step.verb == verb;
    if (!verbs.empty()) verbs += ", ";
    verbs += verb;
  }
  if (step.verb.empty()) fail(where, "has no \"do\"; it is one of " + verbs);
  if (!isKnown)
    fail(where + ".do", "is '" + step.verb + "'" + jtw::suggestion(step.verb, jtw::scriptVerbs()) +
                            "; it is one of " + verbs);
  return step;
}

std::vector<jtw::ScriptStep> readSteps(const Json& root) {
  if (!root.is_object()) fail("the script", "is not an object");
  for (const auto& [name, value] : root.items())
    if (name != "schema" && name != "steps")
      fail("the script", "has a member '" + name + "'; known are schema, steps");
  const auto schema = root.find("schema");
  if (schema == root.end() || *schema != kSchema)
    fail("schema", std::string("is not \"") + kSchema + "\"");
  const auto steps = root.find("steps");
  if (steps == root.end() || !steps->is_array()) fail("steps", "is not a list");
  std::vector<jtw::ScriptStep> read;
  read.reserve(steps->size());
  for (std::size_t i = 0; i < steps->size(); ++i)
    read.push_back(readStep((*steps)[i], "steps[" + std::to_string(i) + "]"));
  return read;
}

}  // namespace

std::vector<jtw::ScriptStep> readScript(std::string_view text, const std::string& file) {
  try {
    return readSteps(parseDocument(text, "the script", file));
  } catch (const DocumentError& error) {
    throw Failure(ExitCode::refused, "bad_script", error.message, {.file = file});
  }
}

}  // namespace tool
