#pragma once

// Decodes the stored contents of shape elements to the neutral mesh.

#include "JtMesh.h"
#include "codec/shape/ShapeData.h"

namespace jt::codec {

/// Safe on untrusted data: throw JtFormatError when the contents do not make a mesh whose indices
/// are in range; lesser flaws are warnings.

/// Polygons become fans of triangles, caps are left out.
/// @param choice variants of the walk that the file allows; narrowed when this shape rules some out
Mesh decodeTopology(const TopologyData& data, Generation generation, VariantChoice& choice,
                    Budget& budget, Report& report);

/// @param kind polylines or points
Mesh decodeLists(const ListData& data, Generation generation, Mesh::Kind kind, Budget& budget,
                 Report& report);

/// @param records the plain records of lossless data, unpacked by the caller; else empty
Mesh decodeStrips(const StripData& data, std::span<const std::byte> records, bool bigEndian,
                  Mesh::Kind kind, Budget& budget, Report& report);

}  // namespace jt::codec
