#pragma once

#include <array>
#include <cstdint>

namespace jt::codec {

/// What each vertex carries: the 64-bit field of 9.x and 10.x.
struct VertexBindings {
  static constexpr std::uint64_t kNormals = 1U << 3;
  static constexpr std::uint64_t kColors3 = 1U << 4;
  static constexpr std::uint64_t kColors4 = 1U << 5;
  static constexpr std::uint64_t kFlags = 1U << 6;
  static constexpr std::uint64_t kAuxiliary = std::uint64_t{1} << 63;
  static constexpr std::uint64_t kTextures = std::uint64_t{0xffffffff} << 8;
  static constexpr unsigned kChannels = 8;

  std::uint64_t bits = 2;  ///< three coordinates

  bool coordinates() const noexcept { return (bits & 7) != 0; }
  bool normals() const noexcept { return (bits & kNormals) != 0; }
  bool colors() const noexcept { return (bits & (kColors3 | kColors4)) != 0; }
  bool flags() const noexcept { return (bits & kFlags) != 0; }
  bool auxiliary() const noexcept { return (bits & kAuxiliary) != 0; }
  bool textures() const noexcept { return (bits & kTextures) != 0; }
  bool texture(unsigned channel) const noexcept { return (bits >> (8 + 4 * channel) & 15) != 0; }
  void setTexture(unsigned channel, unsigned components) noexcept {
    bits |= std::uint64_t{1} << (8 + 4 * channel + components - 1);
  }

  /// The form of 8.x: normal, texture coordinate, color; 1 is one a vertex.
  std::array<std::int32_t, 3> oldForm() const noexcept {
    return {normals() ? 1 : 0, texture(0) ? 1 : 0, colors() ? 1 : 0};
  }
  static VertexBindings fromOldForm(const std::array<std::int32_t, 3>& old) noexcept {
    VertexBindings bindings;
    if (old[0] != 0) bindings.bits |= kNormals;
    if (old[1] != 0) bindings.setTexture(0, 2);
    if (old[2] != 0) bindings.bits |= kColors3;
    return bindings;
  }
};

}  // namespace jt::codec
