#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <vector>

#include "Drawing.h"
#include "Scene.h"

namespace tool {

class JsonWriter;

/// How many shapes, each where it occurs, are what in a picture of two files.
struct ComparedShapes {
  std::size_t added = 0;
  std::size_t removed = 0;
  std::size_t moved = 0;
  std::size_t changed = 0;  ///< have another form or color
  std::size_t same = 0;
};

/// What SceneRequest::labelOf has to be for scenes that are compared: keys of the host's objects,
/// or names, from below the root down.
std::function<std::string(std::span<JtNode* const>)> comparedLabels();

/// Finds the shapes of two scenes that are the same object: by their place in the tree, else by the
/// last key above them. Colors what was added green, removed red, moved blue and changed otherwise
/// orange; the rest becomes gray glass. Both scenes are to be drawn then: of the old one only what
/// was removed stays, and a shade of what was moved, at the place (Item::place) that it has in the
/// new one. It takes on the unit of the new one.
/// @param tolerance how far apart places may be, in millimetres
/// @pre decoded, with comparedLabels()
ComparedShapes markDifferences(Scene& before, Scene& after, double tolerance);

/// Writes the numbers as members of the object that is open.
void writeShapes(JsonWriter& json, const ComparedShapes& shapes);

/// What the colors mean.
std::vector<Caption> legendOf(const ComparedShapes& shapes);

}  // namespace tool
