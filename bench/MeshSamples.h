#pragma once

// Meshes to measure codecs with.

#include <string>
#include <vector>

#include "JtMesh.h"

namespace bench {

struct MeshSample {
  std::string name;
  jt::Mesh mesh;  ///< triangles with a normal in each corner

  double triangles() const { return static_cast<double>(mesh.corners.size() / 3); }
};

/// A torus of steps x steps squares with jittered vertices and diagonals at random.
MeshSample smoothTorus(unsigned steps);
/// A plate of cells x cells drilled and stepped bosses of about 480 triangles, with hard edges.
MeshSample bossPlate(const std::string& name, unsigned cells);
/// Six faces, twelve triangles.
MeshSample box();
/// Positions and faces of an OFF file, with smooth normals. Throws std::runtime_error.
MeshSample readOff(const std::string& path);

/// The same without normals.
jt::Mesh withoutNormals(const jt::Mesh& mesh);

/// An indexed mesh of vertices that have one normal each, as graphics libraries want it.
struct FlatMesh {
  std::vector<std::uint32_t> indices;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> vertices;  ///< position and record
};
FlatMesh flatten(const jt::Mesh& mesh);

}  // namespace bench
