#pragma once

#include "JtGroup.h"
#include "JtPartition.h"
#include "JtkHierarchy.h"
#include "JtkPart.h"
#include "VisPartNode.h"

// Nodes of a hierarchy as nodes of the scene graph.

namespace jtk {

/// The name that the scene graph has for a part.
const JtString& sceneNameOf(const JtkPart& part);
/// What a node has of its own: name, unit, properties, PMI, the mark of hidden nodes.
void writeValues(JtkHierarchy& from, JtNode& to);
/// Placement and appearance.
void writeAttributes(const JtkHierarchy& from, JtNode& to);
/// The shapes of a part below `to`, levels of detail below an LOD node.
void writeShapes(const JtkPart& from, JtGroup& to);
/// The precise geometry of a part as properties: of `to`, or of a node of its own below `to` where
/// it is placed or hidden, and where the key is in use.
void writeBreps(const JtkPart& from, JtGroup& to);

/// Triangles of the finest level of detail.
std::uint64_t triangleCount(const JtkPart& part);
/// About how many bytes of memory the geometry takes when it is decoded.
std::uint64_t sizeOf(const JtkPart& part);
/// How much geometry is to go into the next file of a spool. The system maps some 65,000 files: the
/// more is stored, the larger a file gets, so that no disk has room for as many.
constexpr std::uint64_t spoolGroupSize(std::uint64_t stored) {
  constexpr std::uint64_t kLeast = 4U << 20U;
  constexpr std::uint64_t kFilesOfLeast = 8192;
  return std::max(kLeast, stored / kFilesOfLeast);
}

}  // namespace jtk
