#pragma once

#include "ApiKeyBase.h"

/// The host's prototype key of an object inside a component. JT metadata stores it in 32 bits;
/// whoever stores it checks the range.
class ApiProtoKey : public host::IntegerKey<ApiProtoKey> {
 public:
  using IntegerKey::IntegerKey;
};

template <>
struct std::hash<ApiProtoKey> {
  std::size_t operator()(const ApiProtoKey& key) const noexcept {
    return std::hash<long>{}(key.getAsLong());
  }
};
