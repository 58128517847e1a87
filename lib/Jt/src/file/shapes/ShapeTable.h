#pragma once

// The kinds of elements of shape segments, one line each. To add one: a field list in
// ShapeFields.h, a line in ShapeTable.cpp.

#include "file/archive/Archive.h"
#include "file/shapes/ShapeElement.h"

namespace jt::file {

struct ShapeKind {
  JtGuid guid;
  const char* name;  ///< as ISO 14306 names the element
  Mesh::Kind kind;
  bool hasMesh;         ///< false: fields are reported, but they do not make a mesh
  bool isPrimitives;    ///< parameters of primitives, which are made a mesh
  bool convertsFields;  ///< the field list alone puts it into another version
  void (*read)(Reader&, ShapeElement&);
  void (*trace)(TracingReader&, ShapeElement&);
  void (*write)(Writer&, ShapeElement&);
};

/// The kind with that object type id, or null.
const ShapeKind* findShapeKind(const JtGuid& guid) noexcept;
/// The kind that meshes of a kind are written as.
const ShapeKind& shapeKindOf(Mesh::Kind kind) noexcept;

}  // namespace jt::file
