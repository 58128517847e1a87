#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "JtFileVersion.h"
#include "JtGuid.h"
#include "JtShapeEncoding.h"
#include "JtStorageManager.h"

namespace jt {

/// What a save did, or would do, with one segment.
struct SegmentAction {
  enum class Kind { copied, rewritten, added, dropped };
  JtGuid id;
  std::int32_t type = 0;
  Kind kind = Kind::copied;
  std::string reason;  ///< why it was not copied
};

/// How a partition is saved.
struct SaveOptions {
  std::optional<FileVersion> version;  ///< another version than the partition's own
  bool dryRun = false;                 ///< work everything out, write nothing
  bool rewriteSceneGraph = false;      ///< encode the scene graph anew although nothing changed
  int compressionLevel = 6;            ///< zlib level, 1 to 12
  std::optional<ShapeEncoding> shapeEncoding;  ///< for a partition that has none of its own
  /// Also save the opened part files that were changed, to their own places.
  bool partFiles = true;
  StorageSaveOptions storage;
};

/// Exact geometry of a part that a save leaves out.
struct LostGeometry {
  std::string part;         ///< name of the part's node; may be empty
  std::int32_t nodeId = 0;  ///< in the file that the node was read from; 0: none
  JtGuid segment;
  std::int32_t type = 0;  ///< of the segment: 2, 17, 18, ...
  std::string reason;
};

/// What a save did, or would do.
struct SaveReport {
  std::string file;
  std::uint64_t bytes = 0;  ///< length of the file; 0 in a dry run
  FileVersion version;
  std::vector<SegmentAction> segments;
  std::vector<Diagnostic> warnings;
  std::vector<LostGeometry> lostGeometry;  ///< of every part; its segments are dropped
  std::vector<SaveReport> alsoSaved;       ///< of the part files that were saved first
};

}  // namespace jt
