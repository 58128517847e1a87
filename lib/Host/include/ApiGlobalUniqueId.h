#pragma once

#include <compare>
#include <utility>

#include "HostExport.h"
#include "RWClassic.h"

/// The host's unique id of an object: a text, kept as it was given. The empty text is the null id.
class HOST_API ApiGlobalUniqueId {
 public:
  ApiGlobalUniqueId() = default;
  /// An id from its text; the empty text is the null id.
  explicit ApiGlobalUniqueId(RWClassicCString text) : text_(std::move(text)) {}

  /// A new random id (UUID version 4), 36 characters in lower case. Safe from any thread.
  static ApiGlobalUniqueId create();

  /// The id as text; empty for the null id.
  const RWClassicCString& getAsString() const { return text_; }
  bool isNull() const { return text_.empty(); }

  friend auto operator<=>(const ApiGlobalUniqueId&, const ApiGlobalUniqueId&) = default;

 private:
  RWClassicCString text_;
};

template <>
struct std::hash<ApiGlobalUniqueId> {
  std::size_t operator()(const ApiGlobalUniqueId& id) const noexcept {
    return std::hash<std::string>{}(id.getAsString());
  }
};
