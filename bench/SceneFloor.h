#pragma once

// What opening a scene graph costs at least: inflate the segment and walk its elements into plain
// structs, without checks, reference counts or objects. Knows only what the generated assembly
// holds (9.5, little endian); the yardstick for opening, not a reader.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

struct FloorNode {
  std::int32_t id;
  std::uint32_t flags;
  std::uint32_t firstAttribute, attributeCount;
  std::uint32_t firstChild, childCount;
};

struct FloorText {
  std::int32_t id;
  std::uint32_t offset, length;  // in the arena
};

struct FloorScene {
  std::vector<FloorNode> nodes;
  std::vector<std::int32_t> links;
  std::vector<std::array<double, 16>> matrices;
  std::string arena;  // UTF-8
  std::vector<FloorText> texts;
  std::vector<std::int32_t> table;
  std::size_t inflatedBytes = 0;
};

FloorScene readFloor(const std::string& path);
/// The inflated scene graph segment alone.
std::vector<char> inflateScene(const std::string& path);

}  // namespace bench
