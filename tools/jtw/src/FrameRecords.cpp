#include "FrameRecords.h"

#define JSON_NO_IO
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>

#include "ApiSysStringConvertors.h"
#include "Failure.h"
#include "JsonInput.h"
#include "JsonWriter.h"
#include "NodeView.h"

namespace tool {
namespace {

using Json = nlohmann::json;

// --- Values. `where` names the value in messages: "frame 2: color.r"

std::string within(const std::string& where, const std::string& name) { return where + "." + name; }

[[noreturn]] void failMember(const std::string& where, const std::string& name, const char* known) {
  throw DocumentError{where + " has a member '" + name + "'; known are " + known};
}

std::int32_t readWhole(const Json& value, const std::string& where) {
  if (value.is_number_integer() &&
      !(value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{1} << 62)) {
    const auto number = value.get<std::int64_t>();
    if (number >= std::numeric_limits<std::int32_t>::min() &&
        number <= std::numeric_limits<std::int32_t>::max())
      return static_cast<std::int32_t>(number);
  }
  throw DocumentError{where + " is not a whole number of 32 bits"};
}

std::string readText(const Json& value, const std::string& where) {
  if (!value.is_string()) throw DocumentError{where + " is not a text"};
  return value.get<std::string>();
}

double readNumber(const Json& value, const std::string& where) {
  if (!value.is_number() || !std::isfinite(value.get<double>()))
    throw DocumentError{where + " is not a number"};
  return value.get<double>();
}

RTTran3D readLocation(const Json& value, const std::string& where) {
  std::vector<double> numbers;
  if (value.is_array())
    for (const Json& number : value) numbers.push_back(readNumber(number, where));
  if (numbers.size() == 3) return RTTran3D::fromTranslation({numbers[0], numbers[1], numbers[2]});
  if (numbers.size() == 6)
    return RTTran3D::fromPlacement(numbers[0], numbers[1], numbers[2], numbers[3], numbers[4],
                                   numbers[5]);
  if (numbers.size() == 16) return RTTran3D(std::span<const double, 16>(numbers.data(), 16));
  throw DocumentError{where + " is not a list of 3, 6 or 16 numbers"};
}

float readPart(const Json& value, const std::string& where) {
  const double number = readNumber(value, where);
  if (number < 0 || number > 1) throw DocumentError{where + " is not within 0 and 1"};
  return static_cast<float>(number);
}

ApiGraColor readColor(const Json& value, const std::string& where) {
  std::array<float, 4> parts{0, 0, 0, 1};
  if (!value.is_object()) throw DocumentError{where + " is not an object {r, g, b, a}"};
  for (const auto& [name, part] : value.items()) {
    const std::size_t index = std::string_view("rgba").find(name);
    if (name.size() != 1 || index == std::string_view::npos) failMember(where, name, "r, g, b, a");
    parts[index] = readPart(part, within(where, name));
  }
  return ApiGraColor::fromUnit(parts[0], parts[1], parts[2], parts[3]);
}

void readAttachment(const Json& value, const std::string& where, JtFrame& frame) {
  if (!value.is_object()) throw DocumentError{where + " is not an object {parent, type}"};
  for (const auto& [name, part] : value.items()) {
    if (name == "parent" && part.is_null()) continue;
    const auto number = readWhole(part, within(where, name));
    if (name == "parent")
      frame.secondKey = ApiProtoKey(number);
    else if (name == "type")
      frame.number = number;
    else
      failMember(where, name, "parent, type");
  }
}

// --- Records

void readMember(const std::string& name, const Json& value, const std::string& where,
                JtFrame& frame) {
  if (name == "key") {
    frame.key = ApiProtoKey(readWhole(value, where));
  } else if (name == "name") {
    frame.name = ApiSysStringConvertors::RWCStringToUnicode(readText(value, where));
  } else if (name == "displayed") {
    if (!value.is_boolean()) throw DocumentError{where + " is neither true nor false"};
    frame.colorSet = value.get<bool>();
  } else if (name == "relLoc") {
    frame.location = readLocation(value, where);
  } else if (name == "color") {
    frame.color = readColor(value, where);
  } else if (name == "attributes") {
    frame.text = readText(value, where);
  } else if (name == "uniqueId") {
    frame.globalUniqueId = ApiGlobalUniqueId(readText(value, where));
  } else if (name == "attachment") {
    readAttachment(value, where, frame);
  } else {
    throw DocumentError{where +
                        " is unknown: a frame has key, name, displayed, relLoc, color, attributes, "
                        "uniqueId, attachment"};
  }
}

JtFrame readRecord(const Json& record, std::size_t number) {
  const std::string frameName = "frame " + std::to_string(number);
  if (!record.is_object()) throw DocumentError{frameName + " is not an object"};
  const std::string where = frameName + ": ";
  JtFrame frame;
  frame.colorSet = true;
  for (const auto& [name, value] : record.items())
    if (!value.is_null()) readMember(name, value, where + name, frame);
  return frame;
}

}  // namespace

std::vector<JtFrame> readFrameRecords(std::string_view text, const std::string& file) try {
  const Json document = parseDocument(text, "the list", file);
  const bool isResult = document.is_object() && document.contains("frames");
  const Json& list = isResult ? document.at("frames") : document;
  if (!list.is_array())
    throw DocumentError{"this is neither a list of frames nor holds \"frames\""};
  std::vector<JtFrame> frames;
  for (const Json& record : list) frames.push_back(readRecord(record, frames.size() + 1));
  return frames;
} catch (const Failure& failure) {
  throw Failure(failure.exit(), "bad_frames", failure.what(), {.file = file});
} catch (const DocumentError& error) {
  throw Failure(ExitCode::input, "bad_frames", error.message, {.file = file});
}

void writeFrameRecords(JsonWriter& json, const std::vector<JtFrame>& frames) {
  json.key("frames");
  json.beginArray();
  for (const JtFrame& frame : frames) {
    json.beginObject();
    json.member("key", keyNumber(frame.key));
    json.textOrNull("name", ApiSysStringConvertors::UnicodeToRWCString(frame.name));
    json.member("displayed", frame.colorSet);
    json.numbers("relLoc", frame.location.values());
    writeColor(json, frame.color);
    json.textOrNull("attributes", frame.text);
    json.textOrNull("uniqueId", frame.globalUniqueId.getAsString());
    json.key("attachment");
    if (frame.secondKey.isNull() && frame.number == 0) {
      json.null();
    } else {
      json.beginObject(JsonWriter::Layout::line);
      json.member("parent", frame.secondKey.getAsLong());
      json.member("type", frame.number);
      json.end();
    }
    json.end();
  }
  json.end();
}

}  // namespace tool
