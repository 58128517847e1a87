#pragma once

#include <optional>

#include "JtExport.h"
#include "JtFileVersion.h"
#include "JtMesh.h"
#include "JtPartition.h"
#include "JtShapeEncoding.h"

namespace jt {

/// The largest distance between a vertex that a primitive uses and its place as it is stored, in
/// the length unit of the mesh; 0 for a lossless encoding and for vertices that are not finite.
/// @param version of the file that is written
JT_API double roundingOf(const Mesh& mesh, const ShapeEncoding& encoding,
                         const FileVersion& version);

/// The largest one of all shapes with decodable geometry of an assembly, in millimetres. Decodes
/// each shape.
/// @param version of the files that are written; null: each file keeps its own
JT_API double largestRounding(const JtPartition& top, const ShapeEncoding& encoding,
                              const std::optional<FileVersion>& version);

}  // namespace jt
