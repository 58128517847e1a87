#pragma once

// Probability contexts: the symbol statistics in front of arithmetic and prefix-tree code text.

#include <cstdint>
#include <vector>

#include "base/Bytes.h"

namespace jt::codec {

enum class PacketKind : std::uint8_t {
  mk1,  ///< 8.x everywhere; 9.x primitive sets
  mk2,  ///< 9.x shapes
  mk3,  ///< 10.x shapes
};

struct ContextEntry {
  bool escape = false;  ///< represents a value that is stored out of band
  std::uint32_t occurrences = 0;
  std::int32_t value = 0;
  std::uint32_t next = 0;  ///< Mk.1: table of the next symbol
};

struct ContextTable {
  std::vector<ContextEntry> entries;
  std::uint32_t total = 0;  ///< of the occurrences, at least 1
  bool hasEscape() const noexcept;
};

/// Reads the context tables of a packet: one, or up to two in Mk.1. Throws JtFormatError.
std::vector<ContextTable> readContexts(PacketKind kind, ByteCursor& cursor, Budget& budget);

}  // namespace jt::codec
