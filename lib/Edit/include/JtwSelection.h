#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "JtBounds.h"
#include "JtwExport.h"
#include "JtwObjects.h"

namespace jtw {

/// Objects by what they are, as an expression says:
///
///     expression = conjunction {"or" conjunction}
///     conjunction = factor {"and" factor}
///     factor = "not" factor | "(" expression ")" | field [operator value]
///     operator = "=" | "!=" | "<" | "<=" | ">" | ">="
///
/// A value is a word, or a text between quotation marks of either kind; there a backslash stands
/// before a mark or a backslash. `<` and its like are for numbers.
///
/// | field | holds for |
/// |---|---|
/// | `kind` | objects of that kind: component, block, link, sub-device, entity, frame, annotation |
/// | `name` | objects of that name; `*` is any text, `?` any character |
/// | `key` | objects with that key, or with one from `A..B`; without a value: with any key |
/// | `layer` | annotations on that layer, likewise |
/// | `unit`, `color` | objects with that unit or color, of their own or from above |
/// | `displayed`, `preserved` | true or false |
/// | `property.NAME` | objects whose JT node has that property, with that value; `*` and `?` as
/// above | | `below` | objects that are listed below the one with that address | | `within` |
/// objects that lie within a box: two corners, x,y,z,x,y,z in millimetres, or that of the object
/// with that address | | `attached` | objects that are attached to the one with that address;
/// without a value: to any |
class JTW_API Selection {
 public:
  /// Throws EditError "usage", with the offset of the fault in the text.
  explicit Selection(std::string_view expression);

  /// Indices of the objects that it holds for, ascending. Throws EditError for an address in the
  /// expression that names nothing.
  std::vector<std::size_t> of(const Objects& objects) const;
  /// The same, at least one: throws EditError "unknown_key" where it holds for nothing.
  std::vector<std::size_t> someOf(const Objects& objects) const;

  /// Whether an expression holds, for each object.
  using Evaluate = std::function<std::vector<bool>(const Objects&)>;

 private:
  std::string text_;
  Evaluate evaluate_;
};

/// True when a text matches a pattern: `*` is any text, `?` any byte, all else itself.
JTW_API bool matchesPattern(std::string_view text, std::string_view pattern) noexcept;

/// The extent of each listed object with everything below it, in millimetres, in the coordinates of
/// the component; nothing for what has no extent. A frame or annotation is a point. Nothing is
/// decoded.
JTW_API std::vector<std::optional<jt::Box>> extentsOf(const Objects& objects);

}  // namespace jtw
