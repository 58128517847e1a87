#pragma once

#include <utility>

#include "ApiSysFilePath.h"
#include "HostExport.h"
#include "RWClassic.h"

/// The name of a file, with or without folders; see ApiSysFilePath for separators.
class HOST_API ApiSysFileName {
 public:
  ApiSysFileName() = default;
  /// A name with or without folders in front, either separator.
  explicit ApiSysFileName(RWClassicCString text) : path_(std::move(text)) {}

  /// The text as given, as a path, whether it begins at a root, and what follows the last
  /// separator.
  const RWClassicCString& asString() const { return path_.asString(); }
  const ApiSysFilePath& path() const { return path_; }
  bool isFullPath() const { return path_.isFullPath(); }
  RWClassicCString fileName() const { return path_.fileName(); }

  friend bool operator==(const ApiSysFileName&, const ApiSysFileName&) = default;

 private:
  ApiSysFilePath path_;
};

/// The two names with exactly one separator between them, '/' unless one is there already. An empty
/// name on either side gives the other.
HOST_API ApiSysFileName operator+(const ApiSysFileName& folder, const ApiSysFileName& name);
