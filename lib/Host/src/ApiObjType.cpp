#include "ApiObjType.h"

#include <algorithm>
#include <array>

namespace {

struct StoredType {
  ApiObjType::Kind kind;
  std::string_view text;
};

constexpr std::array<StoredType, 4> storedTypes{{
    {ApiObjType::COMPONENT, "KrComponent"},
    {ApiObjType::BLOCK, "KrBlock"},
    {ApiObjType::LINK, "KrLink"},
    {ApiObjType::SUB_DEVICE, "KrKinDevice"},
}};

}  // namespace

std::optional<ApiObjType> ApiObjType::fromKrObjType(std::string_view text) {
  const auto* found = std::find_if(storedTypes.begin(), storedTypes.end(),
                                   [text](const StoredType& type) { return type.text == text; });
  if (found == storedTypes.end()) return std::nullopt;
  return ApiObjType(found->kind);
}

std::string_view ApiObjType::text() const {
  const auto* found = std::find_if(storedTypes.begin(), storedTypes.end(),
                                   [this](const StoredType& type) { return type.kind == value_; });
  return found == storedTypes.end() ? std::string_view() : found->text;
}
