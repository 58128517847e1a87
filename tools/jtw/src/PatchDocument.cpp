#include "PatchDocument.h"

#define JSON_NO_IO
#include <array>
#include <charconv>
#include <limits>
#include <nlohmann/json.hpp>
#include <utility>
#include <vector>

#include "Failure.h"
#include "JsonInput.h"
#include "JtwNearestName.h"
#include "Output.h"

namespace tool {
namespace {

using Json = nlohmann::json;

constexpr const char* kSchema = "jtw.patch/1";

[[noreturn]] void fail(const std::string& where, const std::string& what) {
  throw DocumentError{where + " " + what};
}

jtw::PatchValue readValue(const Json& value, const std::string& where) {
  if (value.is_null()) return {};
  if (value.is_boolean()) return value.get<bool>();
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number_unsigned() &&
      value.get<std::uint64_t>() > std::uint64_t{std::numeric_limits<std::int64_t>::max()})
    fail(where, "is too large");
  if (value.is_number_integer()) return value.get<std::int64_t>();
  if (!value.is_array()) fail(where, "is neither a text, a whole number, a truth, a list nor null");
  std::vector<double> numbers;
  numbers.reserve(value.size());
  for (const Json& item : value) {
    if (!item.is_number()) fail(where, "is a list of other things than numbers");
    numbers.push_back(item.get<double>());
  }
  return numbers;
}

/// Places are texts where the library has them, and numbers too here.
std::string readPlace(const Json& value, const std::string& where) {
  if (value.is_string()) return value.get<std::string>();
  if (value.is_number_integer()) return std::to_string(value.get<std::int64_t>());
  fail(where, "is neither a key nor a text");
}

jtw::PatchWhat readWhat(const Json& value, const std::string& where) {
  static constexpr std::array kAll{jtw::PatchWhat::object, jtw::PatchWhat::parent,
                                   jtw::PatchWhat::order, jtw::PatchWhat::value,
                                   jtw::PatchWhat::property};
  if (!value.is_string()) fail(where, "is not a text");
  const auto text = value.get<std::string>();
  std::array<const char*, kAll.size()> names{};
  for (std::size_t i = 0; i < kAll.size(); ++i) {
    names[i] = jtw::patchWhatName(kAll[i]);
    if (text == names[i]) return kAll[i];
  }
  fail(where, "is '" + text + "'" + jtw::suggestion(text, names, "it is one of"));
}

jtw::PatchChange readChange(const Json& value, const std::string& where) {
  if (!value.is_object()) fail(where, "is not an object");
  jtw::PatchChange change;
  for (const char* name : {"at", "what", "old", "new"})
    if (!value.contains(name)) fail(where, std::string("has no \"") + name + "\"");
  for (const auto& [name, content] : value.items()) {
    std::string place = where;
    place.append(".").append(name);
    if (name == "at") {
      change.at = readPlace(content, place);
    } else if (name == "what") {
      change.what = readWhat(content, place);
    } else if (name == "name") {
      if (!content.is_string() && !content.is_null()) fail(place, "is not a text");
      if (content.is_string()) change.name = content.get<std::string>();
    } else if (name == "old" || name == "new") {
      (name == "old" ? change.before : change.after) = readValue(content, place);
    } else {
      fail(where, "has a member '" + name + "'; known are at, what, name, old, new");
    }
  }
  if (change.what == jtw::PatchWhat::parent)
    for (jtw::PatchValue* side : {&change.before, &change.after})
      if (const auto* key = std::get_if<std::int64_t>(side)) *side = std::to_string(*key);
  return change;
}

jtw::Patch readChanges(const Json& root) {
  if (!root.is_object()) fail("the patch", "is not an object");
  for (const auto& [name, value] : root.items())
    if (name != "schema" && name != "base" && name != "changes")
      fail("the patch", "has a member '" + name + "'; known are schema, base, changes");
  const auto schema = root.find("schema");
  if (schema == root.end() || *schema != kSchema)
    fail("schema", std::string("is not \"") + kSchema + "\"");
  jtw::Patch patch;
  if (const auto base = root.find("base"); base != root.end() && !base->is_null()) {
    if (!base->is_string()) fail("base", "is not a text");
    patch.base = base->get<std::string>();
  }
  const auto changes = root.find("changes");
  if (changes == root.end() || !changes->is_array()) fail("changes", "is not a list");
  patch.changes.reserve(changes->size());
  for (std::size_t i = 0; i < changes->size(); ++i)
    patch.changes.push_back(readChange((*changes)[i], "changes[" + std::to_string(i) + "]"));
  return patch;
}

}  // namespace

void writePatchValue(JsonWriter& json, const jtw::PatchValue& value, const std::string& name) {
  const bool isExact = name == "place";
  if (const bool* truth = std::get_if<bool>(&value)) return json.value(*truth);
  if (const auto* number = std::get_if<std::int64_t>(&value)) return json.value(*number);
  if (const auto* text = std::get_if<std::string>(&value)) return json.value(*text);
  const auto* numbers = std::get_if<std::vector<double>>(&value);
  if (!numbers) return json.null();
  json.beginArray(JsonWriter::Layout::line);
  for (const double number : *numbers) isExact ? json.value(number) : json.storedValue(number);
  json.end();
}

void writePatchPlace(JsonWriter& json, const std::string& at) {
  long key = 0;
  const auto [end, error] = std::from_chars(at.data(), at.data() + at.size(), key);
  if (error == std::errc() && end == at.data() + at.size())
    json.value(key);
  else
    json.value(at);
}

std::string patchText(const jtw::Patch& patch) {
  Output text;
  JsonWriter json(text);
  json.beginObject();
  json.member("schema", kSchema);
  json.textOrNull("base", patch.base);
  json.key("changes");
  json.beginArray();
  for (const jtw::PatchChange& change : patch.changes) {
    const auto writeSide = [&](const char* name, const jtw::PatchValue& value) {
      json.key(name);
      const auto* place = std::get_if<std::string>(&value);
      if (place && change.what == jtw::PatchWhat::parent)
        writePatchPlace(json, *place);
      else
        writePatchValue(json, value, change.name);
    };
    json.beginObject(JsonWriter::Layout::line);
    json.key("at");
    writePatchPlace(json, change.at);
    json.member("what", jtw::patchWhatName(change.what));
    json.textOrNull("name", change.name);
    writeSide("old", change.before);
    writeSide("new", change.after);
    json.end();
  }
  json.end();
  json.end();
  return text.take();
}

jtw::Patch readPatch(std::string_view text, const std::string& file) {
  try {
    return readChanges(parseDocument(text, "the patch", file));
  } catch (const DocumentError& error) {
    throw Failure(ExitCode::refused, "bad_patch", error.message, {.file = file});
  }
}

}  // namespace tool
