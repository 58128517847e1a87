#pragma once

#include <optional>
#include <string>
#include <vector>

#include "MeshScene.h"

// Mesh files. What goes wrong is a JtFormatError whose code says what: "not_found", "not_a_file",
// "unreadable", "unknown_format", "damaged", "no_geometry", "bad_positions", "too_large"; for
// writing also the codes of JtStorageManager::save.

namespace mesh {

/// Reads glTF, OBJ, STL, PLY, FBX and what else the import library knows, by the file's extension.
/// Files that it names (buffers, material lists) are read when they lie in the same folder or below
/// it. Polygons become triangles, segments that follow each other polylines.
/// A file that says nothing about its unit of length is taken to be in millimetres.
/// The scene is turned, by right angles and without rounding, until +z is up: glTF, X3D and VRML
/// have +y up, FBX and Collada state their axes, and all others are taken as they are.
/// @param millimetres in one unit of length, whatever the file says; 0: what the file says
/// @param up axis of the file that points up, whatever the file says
Scene loadScene(const std::string& path, double millimetres = 0,
                std::optional<UpAxis> up = std::nullopt);

/// A mesh format that can be written.
enum class Format { glb, obj, stl, ply };
/// By the extension of a path; throws JtFormatError "unknown_format".
Format formatOf(const std::string& path);
/// True for an extension that loadScene knows.
bool canLoad(const std::string& path);

/// The files that writeScene makes of a scene: `path` and, of an OBJ with materials, their list.
std::vector<std::string> filesOf(const Scene& scene, const std::string& path);

/// Writes a scene: all of it, or nothing and the old file stays.
///
/// GLB keeps the tree, names, instances, materials and properties (`extras`), in metres, with +y
/// up. The other formats hold one flat list of meshes in millimetres: OBJ with names and, in a file
/// beside it, materials, STL and PLY without; STL has triangles alone.
/// @param up axis that points up in a format that leaves it open: all but GLB
/// @return the files that were written
std::vector<std::string> writeScene(const Scene& scene, const std::string& path,
                                    UpAxis up = UpAxis::z);

}  // namespace mesh
