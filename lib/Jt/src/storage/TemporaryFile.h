#pragma once

#include <optional>
#include <string>

#include "JtTemporaryPath.h"
#include "storage/Descriptor.h"
#include "storage/SaveErrors.h"

namespace jt::storage {

/// The new content of a file on its way: a file beside the target with a
/// temporary name, locked for as long as it is open, removed with its owner
/// unless `moveTo` gave it its final name.
class TemporaryFile {
 public:
  /// Creates the file, empty, readable and writable for the owner only.
  /// @param folder descriptor of the folder; must outlive the object
  /// @param target name of the file to be replaced
  TemporaryFile(int folder, const std::string& target, const SaveErrors& errors);
  ~TemporaryFile() = default;
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;

  int descriptor() const noexcept { return file_.get(); }
  /// Closes the file, which must be done before it is moved; a failure is an error of the save.
  void close();
  /// Puts the file in the place of the target, in one step. Once it is there nothing is thrown.
  /// @param createOnly fail with "exists" when there is a file of that name
  /// @param keepsOld the old file takes the temporary name, if the file system can exchange names,
  ///                 and is removed with this object
  void moveTo(const std::string& target, bool createOnly, bool keepsOld);
  /// After moveTo with `keepsOld`: puts the old file back in its place, or removes the new one
  /// where there was none. Does nothing when the old file was not kept.
  void moveBack(const std::string& target) noexcept;
  /// Of the closed file, and so of the target after the move.
  const FileIdentity& identity() const noexcept { return identity_; }

  /// Removes the files and folders of that name that killed saves and exports, of whatever target,
  /// left. What belongs to a process that still runs, here or on another machine, stays. What
  /// cannot be removed stays too.
  static void removeAbandoned(int folder) noexcept;

 private:
  int rename(const std::string& target, unsigned flags) const noexcept;

  const int folder_;
  const SaveErrors& errors_;
  std::optional<TemporaryPath> name_;  ///< in the folder
  Descriptor file_;
  FileIdentity identity_;  ///< once it is closed
  enum class Move { none, made, exchanged, replaced } move_ = Move::none;
};

}  // namespace jt::storage
