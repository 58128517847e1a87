#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "JtDiagnostic.h"
#include "JtRefCounted.h"
#include "JtStorageLocation.h"

namespace jt {

namespace storage {
class FolderNames;
}

/// What distinguishes one state of a file from another.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint64_t size = 0;
  std::int64_t modifiedNs = 0;  ///< modification time, nanoseconds since 1970

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

/// The bytes of an opened file or stream, readable for as long as the object lives, whatever
/// happens to the name of the file meanwhile.
class JT_API FileImage : public JtRefCounted {
 public:
  /// All bytes. A file is mapped: bytes that nobody looks at are never read from disk.
  virtual std::span<const std::byte> bytes() const = 0;
  /// Identity at the time of opening; nothing for a stream.
  virtual std::optional<FileIdentity> identity() const = 0;
  /// Throws JtFormatError "changed_on_disk" when the file got shorter since it was opened, so that
  /// a mapped page is not touched that no longer exists. Cheap: call it before reading a segment.
  virtual void checkPresent() const = 0;
  /// Path of a file, or a name for a stream: for messages.
  virtual std::string name() const = 0;
  /// Gives the memory back that bytes took which were looked at, where they can be read anew when
  /// they are looked at again: of a mapped file. Spans stay valid.
  virtual void releasePages() const noexcept {}
};

/// A run of bytes of a file to be written. The bytes must stay valid until the save is over.
struct FilePiece {
  std::span<const std::byte> bytes;
  /// When the bytes are part of an opened file: that file, so that the system can copy them without
  /// bringing them into memory.
  const FileImage* source = nullptr;
  std::uint64_t sourceOffset = 0;
};

/// How bytes are stored.
struct StorageSaveOptions {
  bool readBack = true;  ///< read the new file back and compare before it replaces the old one
  bool strictAttributes = false;  ///< what cannot be copied of owner, mode, attributes is an error
  /// The file that was opened; when the target is no longer this one the save fails with
  /// "changed_on_disk" and replaces nothing. Nothing: no check (a new file, another target).
  std::optional<FileIdentity> expected;
  /// The save makes a new file: when there is one already it fails with "exists".
  bool createOnly = false;
};

/// What storing them came to.
struct StorageSaveResult {
  /// "saved_not_durable", "saved_not_reopened", "links_broken", "attributes_not_copied"
  std::vector<Diagnostic> warnings;
  /// Of the file that was written; nothing for a stream.
  std::optional<FileIdentity> identity;
};

}  // namespace jt

/// Opens and writes storage locations. The base class serves file-system locations; a host derives
/// from it to serve places of its own and hands the rest to the base.
class JT_API JtStorageManager : public JtRefCounted {
 public:
  JtStorageManager();
  ~JtStorageManager() override;

  /// The bytes at a location. Throws JtFormatError: "not_found", "not_a_file", "unreadable".
  virtual jt::Ref<jt::FileImage> open(const JtStorageLocation& location);

  /// Replaces what lies at the location by the pieces, one after the other: afterwards the place
  /// holds either all of them or exactly what was there before. Throws JtFormatError with the codes
  /// "read_only", "unwritable", "no_space", "write_failed", "changed_on_disk", "exists",
  /// "verify_failed". Once the place holds the new pieces nothing is thrown any more.
  virtual jt::StorageSaveResult save(const JtStorageLocation& location,
                                     std::span<const jt::FilePiece> pieces,
                                     const jt::StorageSaveOptions& options);

  /// The location of a file that a partition names by a path relative to itself; null when this
  /// manager cannot form one. The base class resolves against the folder of a file-system location:
  /// both separators are accepted, then a case-insensitive match, then the last component in the
  /// same folder. Absolute paths, drive letters, URLs and results outside the folder tree of
  /// `base` are refused (null).
  virtual jt::Ref<JtStorageLocation> resolve(const JtStorageLocation& base,
                                             const JtString& relativePath);

  /// The manager in use: the installed one, or the base class's own.
  static jt::Ref<JtStorageManager> current();

 private:
  std::unique_ptr<jt::storage::FolderNames> folderNames_;  // of the folder that resolve() read
};

/// The storage manager that the library uses; null: the default one. Owns one reference on it. Set
/// it with jt::installStorageManager.
extern JT_API JtStorageManager* g_pInstanceJtStorageManager;

namespace jt {

/// Puts `manager` (null: the default) in the place of the one in use: the new one gains a
/// reference, the old one loses its own and is destroyed with the last.
JT_API void installStorageManager(JtStorageManager* manager);

}  // namespace jt
