#pragma once

#include <string>

#include "storage/Descriptor.h"
#include "storage/SaveErrors.h"

namespace jt::storage {

/// The new content of a file on its way: a file beside the target, named
/// ".<target>.jtw-<process>-<random>.tmp", locked for as long as it is open, removed with its owner
/// unless `moveTo` gave it its final name.
class TemporaryFile {
 public:
  /// Creates the file, empty, readable and writable for the owner only.
  /// @param folder descriptor of the folder; must outlive the object
  /// @param target name of the file to be replaced
  TemporaryFile(int folder, const std::string& target, const SaveErrors& errors);
  ~TemporaryFile();
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  int descriptor() const noexcept { return file_.get(); }
  /// Closes the file, which must be done before it is moved; a failure is an error of the save.
  void close();
  /// Puts the file in the place of the target, in one step. Once it is there nothing is thrown.
  /// @param createOnly fail with "exists" when there is a file of that name
  void moveTo(const std::string& target, bool createOnly);
  /// Of the closed file, and so of the target after the move.
  const FileIdentity& identity() const noexcept { return identity_; }

  /// Removes what killed saves of the same target left in the folder. A file of a save that still
  /// runs, here or on another machine, stays. What cannot be removed stays too.
  static void removeAbandoned(int folder, const std::string& target) noexcept;

 private:
  const int folder_;
  const SaveErrors& errors_;
  std::string name_;  ///< empty once there is nothing to remove
  Descriptor file_;
  FileIdentity identity_;  ///< once it is closed
};

}  // namespace jt::storage
