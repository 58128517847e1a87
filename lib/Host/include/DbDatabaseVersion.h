#pragma once

#include <utility>

#include "HostExport.h"
#include "RWClassic.h"

/// The version of the host's database.
class ApiDocumentVersionData {
 public:
  ApiDocumentVersionData() = default;
  /// A version from its text.
  explicit ApiDocumentVersionData(RWClassicCString text) : text_(std::move(text)) {}

  /// The text of the version.
  const RWClassicCString& versionString() const { return text_; }

 private:
  RWClassicCString text_;
};

/// Asks for the version of the host's database. Safe from any thread.
class HOST_API DbDatabaseVersion {
 public:
  /// Always true; "1.0" unless setVersionData() was called.
  static bool getVersionData(ApiDocumentVersionData& data);
  static void setVersionData(ApiDocumentVersionData data);
};
