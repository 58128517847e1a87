#include "DocumentSettings.h"

#define JSON_NO_IO
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>

#include "ApiSysStringConvertors.h"

namespace host {
namespace {

using Json = nlohmann::json;

constexpr int kDepthLimit = 8;
constexpr std::size_t kReleaseLabelLimit = 4;

/// What is wrong with the settings, as one line.
struct SettingsError {
  RWClassicCString message;
};

/// The parser's text without its "[id] ". It quotes the input, so bytes that are no UTF-8 go.
RWClassicCString messageOf(const Json::exception& error) {
  std::string_view what = error.what();
  const std::size_t from = what.find("] ");
  if (from != std::string_view::npos) what.remove_prefix(from + 2);
  return ApiSysStringConvertors::UnicodeToRWCString(
      ApiSysStringConvertors::RWCStringToUnicode(what));
}

Json parse(std::string_view text) {
  const auto watchDepth = [](int depth, Json::parse_event_t, Json&) {
    if (depth > kDepthLimit) throw SettingsError{"nested too deeply"};
    return true;
  };
  try {
    return Json::parse(text, watchDepth);
  } catch (const Json::parse_error& error) {
    throw SettingsError{"offset " + std::to_string(error.byte) + ": " + messageOf(error)};
  } catch (const Json::exception& error) {  // a number that no double can hold
    throw SettingsError{messageOf(error)};
  }
}

std::int32_t readInt32(const Json& value, const RWClassicCString& where) {
  std::optional<std::int32_t> number;
  if (value.is_number_unsigned()) {
    const auto wide = value.get<std::uint64_t>();
    if (wide <= 0x7FFFFFFFU) number = static_cast<std::int32_t>(wide);
  } else if (value.is_number_integer()) {
    const auto wide = value.get<std::int64_t>();
    if (wide >= std::numeric_limits<std::int32_t>::min()) number = static_cast<std::int32_t>(wide);
  }
  if (!number) throw SettingsError{where + " is not a whole number of 32 bits"};
  return *number;
}

const Json& requireArray(const Json& value, const RWClassicCString& where) {
  if (!value.is_array()) throw SettingsError{where + " is not a list"};
  return value;
}

ApiGraJtReleaseLabels readLabels(const Json& value) {
  if (value.is_string()) return {.label2 = value.get<std::string>(), .label1 = {}};
  if (value.is_array() && value.size() == 2 && value[0].is_string() && value[1].is_string()) {
    return {.label2 = value[0].get<std::string>(), .label1 = value[1].get<std::string>()};
  }
  throw SettingsError{"an entry of \"releaseLabels\" is neither a text nor a pair of texts"};
}

void readMember(const RWClassicCString& name, const Json& value, ApiDocument& document) {
  if (name == "kind") {
    document.setKind(readInt32(value, "\"kind\""));
  } else if (name == "properties") {
    for (const Json& property : requireArray(value, "\"properties\"")) {
      const std::int32_t number = readInt32(property, "an entry of \"properties\"");
      document.setProperty(static_cast<ApiDocument::DocProperty>(number), true);
    }
  } else if (name == "releaseLabels") {
    if (requireArray(value, "\"releaseLabels\"").size() > kReleaseLabelLimit) {
      throw SettingsError{"\"releaseLabels\" has more than 4 entries"};
    }
    RWClassicTValOrderedVector<ApiGraJtReleaseLabels> labels;
    for (const Json& entry : value) labels.push_back(readLabels(entry));
    document.setReleaseLabels(std::move(labels));
  } else {
    throw SettingsError{"unknown member \"" + name + "\""};
  }
}

}  // namespace

RWClassicCString readDocumentSettings(std::string_view json, ApiDocument& document) {
  try {
    ApiDocument changed = document;
    const Json settings = parse(json);
    if (!settings.is_object()) throw SettingsError{"offset 0: expected an object"};
    for (const auto& [name, value] : settings.items()) readMember(name, value, changed);
    document = std::move(changed);
    return {};
  } catch (const SettingsError& error) {
    return error.message;
  }
}

}  // namespace host
