#pragma once

#include <string>

namespace tool {

/// Converts a mesh file to a JT file with the program that does so. Throws Failure.
void convertMeshFile(const std::string& mesh, const std::string& jtFile);

}  // namespace tool
