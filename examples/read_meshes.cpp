// Reads the geometry of a JT file as a viewer shows it, without a host: each shape where it occurs.
//
//   read_meshes stand.kpak/stand.jt

#include <Jt.h>
#include <JtDrawing.h>
#include <JtFormatError.h>
#include <JtLastError.h>
#include <JtMesh.h>
#include <JtPartition.h>
#include <JtStorageLocation.h>

#include <cstddef>
#include <cstdio>
#include <limits>

namespace {

/// Lowest and highest corner, after the shape was put into its place: points are row vectors.
struct Extent {
  double min[3] = {1e300, 1e300, 1e300};
  double max[3] = {-1e300, -1e300, -1e300};

  void add(const jt::Vec3f& point, const jt::Matrix4& toRoot) {
    for (std::size_t to = 0; to < 3; ++to) {
      double value = toRoot[12 + to];
      for (std::size_t from = 0; from < 3; ++from) value += point[from] * toRoot[4 * from + to];
      if (value < min[to]) min[to] = value;
      if (value > max[to]) max[to] = value;
    }
  }
};

bool show(const jt::DrawnShape& drawn) {
  const auto mesh = drawn.shape->mesh();
  if (!mesh) {
    std::fprintf(stderr, "a shape is damaged: %s\n", jt::lastError().c_str());
    return true;
  }
  Extent extent;
  for (const jt::Vec3f& position : mesh->positions) extent.add(position, *drawn.toRoot);
  const std::string name = drawn.part ? Jt::name(drawn.part).stringToMbs() : std::string();
  std::printf("%s: %zu primitives from %g %g %g to %g %g %g\n", name.c_str(),
              mesh->primitiveCount(), extent.min[0], extent.min[1], extent.min[2], extent.max[0],
              extent.max[1], extent.max[2]);
  return true;
}

int run(const char* path) try {
  const auto location = jt::make<JtFSStorageLocation>(path);
  JtPartition* opened = nullptr;
  JtPartition::openPartition(location.get(), nullptr, opened);
  const auto file = jt::Ref<JtPartition>::adopt(opened);
  JtPartition::openAllPartitions(file.get(), true);  // the part files of an assembly
  return jt::visitDrawnShapes(*file, {}, show) ? 0 : 1;
} catch (const JtFormatError& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: read_meshes FILE\n");
    return 2;
  }
  return run(argv[1]);
}
