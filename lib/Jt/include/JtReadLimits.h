#pragma once

#include <cstdint>
#include <optional>

#include "JtExport.h"

namespace jt {

/// How much a file may ask for. Each limit stops one kind of attack; raise it for a file that is
/// good.
struct ReadLimits {
  std::uint64_t maxSegmentBytes = 1ULL << 30;  ///< inflated bytes of one segment
  /// Memory that is held for one opened file: inflated segments and the objects, properties and
  /// decoded shapes that are made of them. Unset: what documentBytes says.
  std::optional<std::uint64_t> maxDocumentBytes;
  std::uint32_t maxZlibRatio = 1032;  ///< inflated bytes a stored byte
  std::uint32_t maxLzmaRatio = 8192;  ///< inflated bytes a stored byte
  /// Also open part files that a symbolic link leads out of the folder of the file that names them.
  bool followLinks = false;

  /// maxDocumentBytes, or what a file of that size may take without it: 128 MiB and 256 bytes for
  /// each of its own, at most 4 GiB.
  JT_API std::uint64_t documentBytes(std::uint64_t fileSize) const noexcept;
};

}  // namespace jt
