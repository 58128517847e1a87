#include "AssemblyPlan.h"

#define JSON_NO_IO
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <span>
#include <string_view>
#include <unordered_map>

#include "Failure.h"
#include "JsonInput.h"
#include "JtwEditError.h"
#include "JtwValueText.h"

namespace tool {
namespace {

using Json = nlohmann::json;

constexpr const char* kSchema = "jtw.plan/1";

[[noreturn]] void fail(const std::string& where, const std::string& what) {
  throw DocumentError{where + " " + what};
}

const Json& requireObject(const Json& value, const std::string& where) {
  if (!value.is_object()) fail(where, "is not an object");
  return value;
}

void checkMembers(const Json& object, const std::string& where,
                  std::span<const std::string_view> known) {
  for (const auto& [name, value] : object.items()) {
    if (std::ranges::find(known, name) != known.end()) continue;
    std::string problem = "has a member '";
    problem.append(name).append("'; known are");
    for (const std::string_view one : known) problem.append(" ").append(one);
    fail(where, problem);
  }
}

/// The member, or null when it is absent or null itself.
const Json* member(const Json& object, const char* name) {
  const auto found = object.find(name);
  return found == object.end() || found->is_null() ? nullptr : &*found;
}

std::string textOf(const Json& value, const std::string& where) {
  if (!value.is_string()) fail(where, "is not a text");
  return value.get<std::string>();
}

double numberOf(const Json& value, const std::string& where) {
  if (!value.is_number() || !std::isfinite(value.get<double>())) fail(where, "is not a number");
  return value.get<double>();
}

int wholeNumberOf(const Json& value, const std::string& where) {
  const double number = numberOf(value, where);
  if (number != std::floor(number) || std::abs(number) > std::numeric_limits<std::int32_t>::max())
    fail(where, "is not a whole number of 32 bits");
  return static_cast<int>(number);
}

std::vector<double> numbersOf(const Json& value, const std::string& where, std::size_t count) {
  if (!value.is_array() || value.size() != count)
    fail(where, "is not a list of " + std::to_string(count) + " numbers");
  std::vector<double> numbers;
  numbers.reserve(count);
  for (std::size_t i = 0; i < count; ++i)
    numbers.push_back(numberOf(value[i], where + "[" + std::to_string(i) + "]"));
  return numbers;
}

RTTran3D placeOf(const Json& value, const std::string& where) {
  RTTran3D place;
  if (value.is_array()) {
    const auto numbers = numbersOf(value, where, 16);
    place = RTTran3D(std::span<const double, 16>(numbers.data(), 16));
    if (!place.isAffine()) fail(where, "is no placement: its last row is not 0, 0, 0, 1");
    if (!place.tryInverse()) fail(where, "cannot be inverted");
  } else {
    constexpr std::array<std::string_view, 2> kMembers{"translate", "rotate"};
    if (!value.is_object()) fail(where, "is neither 16 numbers nor {translate, rotate}");
    checkMembers(value, where, kMembers);
    std::vector<double> move(3);
    std::vector<double> turn(3);
    if (const Json* given = member(value, "translate"))
      move = numbersOf(*given, where + ".translate", 3);
    if (const Json* given = member(value, "rotate")) turn = numbersOf(*given, where + ".rotate", 3);
    place = RTTran3D::fromPlacement(move[0], move[1], move[2], turn[0], turn[1], turn[2]);
  }
  if (!jtw::isStorable(place)) fail(where, "has a number that is too great");
  return place;
}

/// A value in the words of the command line.
template <class Parse>
auto parsed(const Json& value, const std::string& where, Parse parse) {
  const std::string text = textOf(value, where);
  try {
    return parse(where, text);
  } catch (const jtw::EditError& error) {
    throw DocumentError{error.what()};
  }
}

class PlanReader {
 public:
  AssemblyPlan read(const Json& root) {
    constexpr std::array<std::string_view, 4> kMembers{"schema", "name", "unit", "items"};
    requireObject(root, "the plan");
    checkMembers(root, "the plan", kMembers);
    const Json* schema = member(root, "schema");
    if (!schema || *schema != kSchema) fail("schema", std::string("is not \"") + kSchema + "\"");
    if (const Json* name = member(root, "name")) plan_.name = textOf(*name, "name");
    if (const Json* unit = member(root, "unit"))
      plan_.unitRatio = parsed(*unit, "unit", jtw::parseUnit);
    const Json* items = member(root, "items");
    if (!items || !items->is_array()) fail("items", "is not a list");
    plan_.items.reserve(items->size());
    for (std::size_t i = 0; i < items->size(); ++i)
      readItem((*items)[i], "items[" + std::to_string(i) + "]");
    return std::move(plan_);
  }

 private:
  void readItem(const Json& value, const std::string& where) {
    constexpr std::array<std::string_view, 8> kMembers{"id",    "parent", "source", "name",
                                                       "place", "color",  "layer",  "unit"};
    requireObject(value, where);
    checkMembers(value, where, kMembers);
    AssemblyPlan::Item item;
    if (const Json* id = member(value, "id")) item.id = textOf(*id, where + ".id");
    if (const Json* parent = member(value, "parent"))
      item.parent = parentOf(textOf(*parent, where + ".parent"), where + ".parent");
    if (const Json* source = member(value, "source")) {
      item.source = textOf(*source, where + ".source");
      if (item.source.empty()) fail(where + ".source", "is empty");
    }
    if (const Json* name = member(value, "name")) item.name = textOf(*name, where + ".name");
    if (const Json* place = member(value, "place")) item.place = placeOf(*place, where + ".place");
    if (const Json* color = member(value, "color"))
      item.color = parsed(*color, where + ".color", jtw::parseColor);
    if (const Json* layer = member(value, "layer"))
      item.layer = wholeNumberOf(*layer, where + ".layer");
    if (const Json* unit = member(value, "unit"))
      item.unitRatio = parsed(*unit, where + ".unit", jtw::parseUnit);
    if (!item.id.empty() && !indices_.emplace(item.id, plan_.items.size()).second)
      fail(where + ".id", "is '" + item.id + "', the id of an item above");
    plan_.items.push_back(std::move(item));
  }

  std::size_t parentOf(const std::string& id, const std::string& where) const {
    const auto found = indices_.find(id);
    if (found == indices_.end()) fail(where, "is '" + id + "', the id of no item above");
    if (!plan_.items[found->second].source.empty())
      fail(where, "is '" + id + "', which has a source and is no assembly");
    return found->second;
  }

  AssemblyPlan plan_;
  std::unordered_map<std::string, std::size_t> indices_;
};

}  // namespace

AssemblyPlan readPlan(const std::string& text, const std::string& file) {
  try {
    return PlanReader().read(parseDocument(text, "the plan", file));
  } catch (const DocumentError& error) {
    throw Failure(ExitCode::refused, "bad_plan", error.message, {.file = file});
  }
}

}  // namespace tool
