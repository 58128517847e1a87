#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "JtShapeEncoding.h"
#include "MeshScene.h"

namespace tool {

class Arguments;
class Session;

// The options that import and convert have in common; a bad value throws Failure "usage".

/// --up: the axis of a mesh file that points up.
std::optional<mesh::UpAxis> upAxis(const Arguments& arguments);
/// Reads a mesh file with --unit and --up. Throws Failure.
/// @param shown its name in messages
mesh::Scene loadMeshFile(Session& session, const std::string& path, const std::string& shown);
/// --lods: levels of detail in all.
std::size_t levelCount(const Session& session);
/// --lod: the level of detail to take.
std::optional<std::uint32_t> chosenLevel(const Session& session);
/// --lossless, --bits, --profile.
jt::ShapeEncoding encoding(const Session& session);

}  // namespace tool
