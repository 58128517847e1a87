#pragma once

#include <cstdint>

#include "ApiSysFilePath.h"
#include "HostExport.h"
#include "RWClassic.h"

/// Access to the file system.
class HOST_API ApiSysFileAccess {
 public:
  /// Lists the names (without folder) in `folder` that `pattern` is found in, sorted by their bytes
  /// so that the order is the same every time.
  /// @param list what it held is replaced; its capacity is kept.
  /// @param filesOnly only regular files and links to them
  /// @return false when the folder cannot be read; `list` is then empty.
  static bool listDir(const ApiSysFilePath& folder, const RWCRegexp& pattern,
                      RWClassicTValOrderedVector<RWClassicCString>& list, bool filesOnly);

  /// When the file was last written, in nanoseconds since 1970-01-01 UTC, as fine as the file
  /// system keeps it.
  /// @return false when that cannot be determined; `nanoseconds` is then unchanged.
  static bool lastWriteTime(const ApiSysFilePath& path, std::int64_t& nanoseconds);

  /// True when both paths lead to one file that exists, by links or otherwise.
  static bool isSameFile(const ApiSysFilePath& a, const ApiSysFilePath& b);

  /// Brings the entries of a folder to the medium, so that what was made in it is still there after
  /// a power cut.
  /// @return false when that failed or the folder cannot be read
  static bool syncDir(const ApiSysFilePath& folder);

  /// The folder of the program that the process runs, with a trailing separator; empty when that
  /// is unknown.
  static RWClassicCString programFolder();
};
