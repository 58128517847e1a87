#include <meshoptimizer.h>

#include <algorithm>
#include <numeric>

#include "MeshScene.h"
#include "Unified.h"

namespace mesh {
namespace {

/// Chooses a record for each corner of triangles that the simplifier has left. It works on
/// positions alone: seams between records would stop it, and a mesh with facets has nothing but
/// seams.
class RecordChooser {
 public:
  explicit RecordChooser(const jt::Mesh& mesh) : mesh_(mesh), first_(mesh.positions.size() + 1, 0) {
    if (mesh.records.empty()) return;
    for (const std::uint32_t corner : mesh.corners) ++first_[corner + 1];
    std::partial_sum(first_.begin(), first_.end(), first_.begin());
    records_.resize(mesh.corners.size());
    std::vector<std::uint32_t> next = first_;
    for (std::size_t i = 0; i < mesh.corners.size(); ++i)
      records_[next[mesh.corners[i]]++] = mesh.records[i];
  }

  /// Of the records at a position the one whose normal is nearest to `direction`.
  std::uint32_t choose(std::uint32_t position, const jt::Vec3f& direction) const {
    std::uint32_t best = records_[first_[position]];
    if (mesh_.normals.empty()) return best;
    for (std::uint32_t i = first_[position]; i < first_[position + 1]; ++i)
      if (along(records_[i], direction) > along(best, direction)) best = records_[i];
    return best;
  }

 private:
  float along(std::uint32_t record, const jt::Vec3f& direction) const {
    const jt::Vec3f& normal = mesh_.normals[record];
    return normal[0] * direction[0] + normal[1] * direction[1] + normal[2] * direction[2];
  }

  const jt::Mesh& mesh_;
  std::vector<std::uint32_t> first_;    // of each position: where its records begin
  std::vector<std::uint32_t> records_;  // of each corner, by position
};

jt::Vec3f facing(const jt::Vec3f& a, const jt::Vec3f& b, const jt::Vec3f& c) {
  const jt::Vec3f u{b[0] - a[0], b[1] - a[1], b[2] - a[2]};
  const jt::Vec3f v{c[0] - a[0], c[1] - a[1], c[2] - a[2]};
  return {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
}

/// A mesh of triangles between some positions of another one.
std::shared_ptr<const jt::Mesh> subset(const jt::Mesh& mesh, const RecordChooser& chooser,
                                       std::vector<std::uint32_t> corners) {
  auto level = std::make_shared<jt::Mesh>(mesh);
  level->groups.clear();
  level->records.clear();
  const auto& points = mesh.positions;
  for (std::size_t i = 0; i < corners.size() && !mesh.records.empty(); i += 3) {
    const jt::Vec3f normal =
        facing(points[corners[i]], points[corners[i + 1]], points[corners[i + 2]]);
    for (std::size_t k = i; k < i + 3; ++k)
      level->records.push_back(chooser.choose(corners[k], normal));
  }
  level->corners = std::move(corners);
  compact(*level);
  return level;
}

}  // namespace

std::vector<std::shared_ptr<const jt::Mesh>> makeLevels(
    const std::shared_ptr<const jt::Mesh>& finest, std::size_t count) {
  std::vector<std::shared_ptr<const jt::Mesh>> levels{finest};
  if (count < 2 || finest->kind != jt::Mesh::Kind::triangles || finest->corners.empty())
    return levels;
  const RecordChooser chooser(*finest);
  const auto& positions = finest->positions;
  std::vector<std::uint32_t> indices = finest->corners;
  // The further a level is from the eye, the more it may be off: shares of the extent.
  float error = 0.005F;
  for (std::size_t i = 1; i < count; ++i, error = std::min(error * 2, 0.1F)) {
    std::vector<std::uint32_t> coarser(indices.size());
    const std::size_t target = indices.size() / 6 * 3;
    coarser.resize(meshopt_simplify(coarser.data(), indices.data(), indices.size(),
                                    positions[0].data(), positions.size(), sizeof(jt::Vec3f),
                                    target, error));
    // A level that saves next to nothing costs more than it brings.
    if (coarser.empty() || coarser.size() * 10 > indices.size() * 9) break;
    levels.push_back(subset(*finest, chooser, coarser));
    indices = std::move(coarser);
  }
  return levels;
}

}  // namespace mesh
