#pragma once

#include "ApiKeyBase.h"

/// The host's key of an object in an export.
class ApiKey : public host::IntegerKey<ApiKey> {
 public:
  using IntegerKey::IntegerKey;
};

template <>
struct std::hash<ApiKey> {
  std::size_t operator()(const ApiKey& key) const noexcept {
    return std::hash<long>{}(key.getAsLong());
  }
};
