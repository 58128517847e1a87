#pragma once

#include <utility>

#include "HostExport.h"
#include "RWClassic.h"

/// A path on disk, as text. '/' and '\' both separate; the text is kept as given, and every access
/// to the disk takes either for a separator. A file whose own name holds a '\' can thus not be
/// reached.
class HOST_API ApiSysFilePath {
 public:
  ApiSysFilePath() = default;
  /// A path, with either separator.
  explicit ApiSysFilePath(RWClassicCString text) : text_(std::move(text)) {}

  /// The text as given.
  const RWClassicCString& asString() const { return text_; }

  /// The path with '/' for every separator: what the operating system is to be given.
  RWClassicCString asNativeString() const;

  /// True when the path starts at a root: with a separator, or with a drive letter, ':' and a
  /// separator.
  bool isFullPath() const;

  /// The path without its last part and the one separator before it; empty when there is no folder
  /// part. Separators at the end are not counted as parts: the hosting folder of "/x/gear.kpak/" is
  /// "/x". For a path without such separators, hosting folder + separator + fileName() is the path.
  ApiSysFilePath hostingDirPath() const;

  /// The last part; separators at the end are left out.
  RWClassicCString fileName() const;

  /// The text after the last '.' of the last part, in lower case (A to Z only); empty without a
  /// '.'.
  RWClassicCString extension() const;

  /// True when something (file, folder, ...) is there.
  bool exists() const;
  bool isDirectory() const;

  /// The path from the root, without "." and ".." parts, with '/' separators. Two texts for one
  /// place give the same result, as far as that can be determined without following links.
  ApiSysFilePath absolute() const;

  friend bool operator==(const ApiSysFilePath&, const ApiSysFilePath&) = default;

 private:
  RWClassicCString text_;
};
