#pragma once

#include <cstddef>
#include <functional>

#include "JtPartition.h"
#include "JtwRoot.h"
#include "MeshScene.h"

namespace mesh {

struct BuildOptions {
  std::size_t levels = 1;  ///< of detail, see makeLevels
};

/// True when the host has a name for the unit of length of that many millimetres.
bool isHostUnit(double millimetres);

/// Fills an empty component: a node with a model and nothing below it becomes an entity, every
/// other one a block, each with a key. The scene's root is the component itself, unless it has a
/// placement or a model of its own. Models that several nodes use are stored once, below instance
/// nodes. A material that covers a whole entity lies on the entity, so that the host sees its
/// color.
///
/// The component gets the scene's unit when isHostUnit says so, else everything is
/// converted to millimetres.
/// @param root has a key and nothing below it
void buildComponent(Scene scene, JtwRoot& root, const BuildOptions& options = {});

/// What becomes polylines of the nodes that carry it.
struct SceneLines {
  bool ofAnnotations = false;  ///< the lines of PMI
  bool ofWires = false;        ///< the wires of parts without polyline sets
};

/// The tree of a JT file with all its geometry, other files that it hangs in included. Of
/// alternatives one is taken: of a switch the selected one, of levels of detail `level` or the
/// coarsest. Instances are merged with what they represent; hidden nodes are left out. Throws
/// JtFormatError for geometry that cannot be read, and "too_many_places" for a graph that unfolds
/// into more than it may.
/// @param mostPlaces objects and shapes, each as often as it occurs, with their properties
Scene sceneOf(JtPartition& partition, std::uint32_t level = 0, const SceneLines& lines = {},
              std::uint64_t mostPlaces = 1'000'000);

}  // namespace mesh
