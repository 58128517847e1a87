#include "JtMesh.h"

#include <algorithm>

namespace jt {

std::size_t Mesh::primitiveCount() const noexcept {
  if (kind == Kind::triangles) return corners.size() / 3;
  return starts.empty() ? 0 : starts.size() - 1;
}

std::size_t Mesh::recordCount() const noexcept {
  if (!normals.empty()) return normals.size();
  if (!colors.empty()) return colors.size();
  if (!textures.empty() && textures[0].components > 0)
    return textures[0].values.size() / static_cast<std::size_t>(textures[0].components);
  return flags.size();
}

std::string Mesh::flaw() const {
  const auto outside = [](const std::vector<std::uint32_t>& indices, std::size_t count) {
    // An index is out of range when its top bit is set, or that of `last - index`. There is no
    // early exit, so that the loop is vectorized.
    constexpr std::uint32_t kTop = 0x80000000U;
    const auto last = static_cast<std::uint32_t>(std::min<std::size_t>(count, kTop)) - 1;
    std::uint32_t any = 0;
    for (const std::uint32_t index : indices) any |= index | (last - index);
    return (any & kTop) != 0;
  };
  if (kind == Kind::triangles) {
    if (corners.size() % 3 != 0) return "the corners are not three a triangle";
    if (!starts.empty()) return "triangles have no starts";
  } else if (starts.empty() ? !corners.empty()
                            : starts.front() != 0 || starts.back() != corners.size() ||
                                  !std::ranges::is_sorted(starts)) {
    return "the starts do not cover the corners in ascending order";
  }
  if (!groups.empty() && groups.size() != primitiveCount())
    return "there is not one face group a primitive";
  if (outside(corners, positions.size())) return "a corner names a position that does not exist";
  const std::size_t count = recordCount();
  if (records.size() != (count > 0 ? corners.size() : 0))
    return "there is not one record index a corner";
  if (outside(records, count)) return "a corner names a record that does not exist";
  const auto misfits = [count](std::size_t size) { return size != 0 && size != count; };
  if (misfits(normals.size()) || misfits(colors.size()) || misfits(flags.size()))
    return "the attribute arrays differ in size";
  for (const TextureChannel& texture : textures) {
    if (texture.channel < 0 || texture.channel > 7 || texture.components < 1 ||
        texture.components > 4)
      return "a texture channel that does not exist";
    if (texture.values.size() != count * static_cast<std::size_t>(texture.components))
      return "the attribute arrays differ in size";
  }
  return {};
}

}  // namespace jt
