#pragma once

#include <optional>
#include <string_view>

#include "HostExport.h"

/// The host's type of an object. Every number is a type; those with a name here are the kinds that
/// occur in components.
class HOST_API ApiObjType {
 public:
  enum Kind : int {
    NONE = 0,
    COMPONENT = 1,
    BLOCK = 2,
    LINK = 3,
    SUB_DEVICE = 4,
    ENTITY = 5,
    FRAME = 6,
    ANNOTATION = 230,
  };

  constexpr ApiObjType() = default;
  /// A type from its number.
  constexpr explicit ApiObjType(int value) : value_(value) {}

  /// The number of the type.
  constexpr int value() const { return value_; }

  /// True when this is the given type. Types have no hierarchy.
  constexpr bool isOfType(ApiObjType type) const { return value_ == type.value_; }

  /// The type that a "KrObjType" property names, or nothing for any other text. Case counts.
  static std::optional<ApiObjType> fromKrObjType(std::string_view text);

  /// The text of this type in a "KrObjType" property; empty for types that are not stored so.
  std::string_view text() const;

  friend constexpr bool operator==(ApiObjType, ApiObjType) = default;

 private:
  int value_ = NONE;
};
