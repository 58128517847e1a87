#pragma once

#include <optional>
#include <string>
#include <vector>

#include "ApiGraColor.h"
#include "RTTran3D.h"

namespace tool {

/// What an assembly is to be put together of, read from a plan (see schemas/plan-1.json).
struct AssemblyPlan {
  struct Item {
    std::string id;
    std::optional<std::size_t> parent;  ///< index of an item above; nothing: the root
    std::string source;                 ///< as the plan has it; empty: the item is an assembly
    std::string name;
    RTTran3D place;
    std::optional<ApiGraColor> color;
    std::optional<int> layer;
    std::optional<float> unitRatio;  ///< millimetres in the unit of the label
  };

  std::string name;
  std::optional<float> unitRatio;
  std::vector<Item> items;
};

/// Throws Failure: exit code 3 for what is no JSON, 5 for a plan that is wrong; the message names
/// the item and the member.
/// @param file for messages
AssemblyPlan readPlan(const std::string& text, const std::string& file);

}  // namespace tool
