#pragma once

#include <string>

#include "JtBase.h"
#include "JtByteText.h"
#include "JtString.h"

/// Where the bytes of a partition lie. What the place is (a file, a stream of a document) is the
/// business of the derived classes and of the storage manager that serves them.
class JT_API JtStorageLocation : public JtBase {
 public:
  static const JtType* classTypeID();

  /// Text for messages and for resolving neighbours: the path of a file, a name for a stream.
  virtual JtString displayName() const = 0;
};

/// A file: a folder and a name inside it.
class JT_API JtFSStorageLocation : public JtStorageLocation {
 public:
  /// @param location the folder, with or without a trailing separator; empty when `name` is a path
  /// @param name     the file's name inside the folder, or a whole path
  JtFSStorageLocation(JtString location, JtString name);
  /// @param path a whole path, bytes of any kind
  explicit JtFSStorageLocation(std::string_view path);

  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  JtString displayName() const override { return jt::textOfBytes(fullFilePath()); }

  /// The folder and the name as they were given.
  const JtString& location() const noexcept { return location_; }
  const JtString& name() const noexcept { return name_; }
  /// Folder and name put together, with '/' as separator: the bytes that they were made of by
  /// jt::textOfBytes(), UTF-8 as a rule.
  std::string fullFilePath() const;

 private:
  JtString location_;
  JtString name_;
};
