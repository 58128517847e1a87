#include "ApiObjType.h"

#include <algorithm>
#include <array>

namespace {

struct StoredType {
  ApiObjType::Kind kind;
  std::string_view text;
};

constexpr std::array<StoredType, 4> kStoredTypes{{
    {ApiObjType::COMPONENT, "KrComponent"},
    {ApiObjType::BLOCK, "KrBlock"},
    {ApiObjType::LINK, "KrLink"},
    {ApiObjType::SUB_DEVICE, "KrKinDevice"},
}};

}  // namespace

std::optional<ApiObjType> ApiObjType::fromKrObjType(std::string_view text) {
  const auto* found = std::find_if(kStoredTypes.begin(), kStoredTypes.end(),
                                   [text](const StoredType& type) { return type.text == text; });
  if (found == kStoredTypes.end()) return std::nullopt;
  return ApiObjType(found->kind);
}

std::string_view ApiObjType::text() const {
  const auto* found = std::find_if(kStoredTypes.begin(), kStoredTypes.end(),
                                   [this](const StoredType& type) { return type.kind == value_; });
  return found == kStoredTypes.end() ? std::string_view() : found->text;
}
