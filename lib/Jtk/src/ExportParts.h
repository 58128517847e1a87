#pragma once

#include <memory>
#include <string>

#include "ExportRecord.h"
#include "JtStorageLocation.h"

namespace jtk {

/// Encodes the geometry of parts, one after the other, before the file of the root is saved.
class ExportParts {
 public:
  ExportParts(const ExportParts&) = delete;
  ExportParts& operator=(const ExportParts&) = delete;
  virtual ~ExportParts() = default;

  /// The node that the file of the root has for a part. Its geometry is complete after flush().
  /// Throws JtFormatError when the export has to end.
  virtual jt::Ref<JtNode> write(JtkPart& part) = 0;
  /// Encodes what still waits.
  virtual void flush() {}
  /// Forgets a source that cannot come again.
  virtual void forget(const JtNode* source) = 0;
  /// The file of the root is saved: what was written stays.
  virtual void commit() noexcept {}
  /// Parts whose geometry is in the file of the root, of so many.
  virtual std::uint64_t partsInRootFile(std::uint64_t parts) const noexcept = 0;

 protected:
  ExportParts(ExportRecord& record, jt::Ref<JtFSStorageLocation> rootFile)
      : record_(record), rootFile_(std::move(rootFile)) {}

  const ExportSettings& settings() const noexcept { return record_.settings(); }
  /// Removes shapes whose geometry cannot be decoded. Throws JtFormatError when their file cannot
  /// be read.
  /// @param place the file that they will be in
  void checkGeometry(JtkPart& part, const JtStorageLocation& place);

  ExportRecord& record_;
  const jt::Ref<JtFSStorageLocation> rootFile_;
};

/// A file for each part, in a folder beside the file of the root.
std::unique_ptr<ExportParts> makePartFiles(ExportRecord& record,
                                           const jt::Ref<JtFSStorageLocation>& rootFile);
/// Files on disk with the geometry of many parts, from which the file of the root is saved.
std::unique_ptr<ExportParts> makePartSpool(ExportRecord& record,
                                           const jt::Ref<JtFSStorageLocation>& rootFile);

}  // namespace jtk
