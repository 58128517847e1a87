#include "Unified.h"

#include <meshoptimizer.h>

#include <numeric>

namespace mesh {
namespace {

/// Renumbers the indices in use, in the order of their first use, and moves the values along.
class Compaction {
 public:
  Compaction(std::vector<std::uint32_t>& indices, std::size_t count) : newIndex_(count, kUnused) {
    for (std::uint32_t& index : indices) {
      if (newIndex_[index] == kUnused) {
        newIndex_[index] = static_cast<std::uint32_t>(kept_.size());
        kept_.push_back(index);
      }
      index = newIndex_[index];
    }
  }

  template <class T>
  void apply(std::vector<T>& values, std::size_t width = 1) const {
    if (values.empty()) return;
    std::vector<T> result;
    result.reserve(kept_.size() * width);
    for (const std::uint32_t index : kept_)
      for (std::size_t i = 0; i < width; ++i) result.push_back(values[index * width + i]);
    values = std::move(result);
  }

 private:
  static constexpr std::uint32_t kUnused = 0xffffffffU;
  std::vector<std::uint32_t> newIndex_;
  std::vector<std::uint32_t> kept_;
};

}  // namespace

Welding weld(std::span<const Column> columns, std::size_t count) {
  std::vector<meshopt_Stream> streams;
  for (const Column& column : columns) streams.push_back({column.data, column.width, column.width});
  // It wants whole triangles: some things are named again.
  std::vector<std::uint32_t> names((count + 2) / 3 * 3, 0);
  std::iota(names.begin(), names.begin() + static_cast<std::ptrdiff_t>(count), 0U);
  Welding welding{std::vector<std::uint32_t>(count), 0};
  if (count > 0)
    welding.count = meshopt_generateVertexRemapMulti(
        welding.newIndex.data(), names.data(), names.size(), count, streams.data(), streams.size());
  return welding;
}

Unified unify(const jt::Mesh& mesh) {
  const std::size_t count = mesh.corners.size();
  const bool hasRecords = !mesh.records.empty();
  const Column columns[] = {{mesh.corners.data(), sizeof mesh.corners[0]},
                            {mesh.records.data(), sizeof mesh.corners[0]}};
  Welding welding = weld(std::span(columns, hasRecords ? 2 : 1), count);
  Unified unified;
  unified.indices = std::move(welding.newIndex);
  unified.positions.resize(welding.count);
  if (hasRecords) unified.records.resize(welding.count);
  for (std::size_t i = 0; i < count; ++i) {
    unified.positions[unified.indices[i]] = mesh.corners[i];
    if (hasRecords) unified.records[unified.indices[i]] = mesh.records[i];
  }
  return unified;
}

void compact(jt::Mesh& mesh) {
  const std::size_t records = mesh.recordCount();
  Compaction(mesh.corners, mesh.positions.size()).apply(mesh.positions);
  const Compaction compaction(mesh.records, records);
  compaction.apply(mesh.normals);
  compaction.apply(mesh.colors);
  compaction.apply(mesh.flags);
  for (auto& channel : mesh.textures)
    compaction.apply(channel.values, static_cast<std::size_t>(channel.components));
}

}  // namespace mesh
