#pragma once

// The kinds of elements of a scene graph segment: object type id, name, class and field list, one
// line each. To add an element: a class, a field list, a line in ElementTable.cpp.

#include <span>

#include "JtSceneObject.h"
#include "file/archive/Archive.h"
#include "file/archive/FieldLister.h"

namespace jt::file {

enum class ElementClass : std::uint8_t { node, attribute, atom };

struct ElementKind {
  JtGuid guid;
  const char* name;  ///< as ISO 14306 names the element
  std::uint8_t baseType;
  ElementClass elementClass;
  const JtType* type;
  std::size_t size;  ///< of an object
  Ref<JtSceneObject> (*create)();
  void (*read)(Reader&, JtSceneObject&);
  void (*trace)(TracingReader&, JtSceneObject&);
  void (*write)(Writer&, const JtSceneObject&);
  void (*list)(FieldLister&, const JtSceneObject&);
};

/// The kind with that object type id, or null.
const ElementKind* findElementKind(const JtGuid& guid);
/// The kind whose class is exactly `type`, or null.
const ElementKind* findElementKind(const JtType* type);

/// Base types of elements without children and with children.
inline constexpr std::uint8_t kNodeBaseType = 0;
inline constexpr std::uint8_t kGroupBaseType = 1;

/// Kinds that replace elements that are not in the table or cannot be read.
const ElementKind&
unknownNodeKind() noexcept;  ///< JtNode: base node data, the rest is trailing bytes
const ElementKind& unknownGroupKind() noexcept;  ///< JtGroup: with children
const ElementKind& unknownAttributeKind() noexcept;
const ElementKind& unknownAtomKind() noexcept;

/// Classification of an element by the base type byte of its frame, for ids that are not known.
ElementClass classOfBaseType(std::uint8_t baseType) noexcept;

}  // namespace jt::file
