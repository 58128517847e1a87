#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "JtDiagnostic.h"
#include "JtFileVersion.h"
#include "JtGroup.h"
#include "JtLastError.h"
#include "JtReadLimits.h"
#include "JtSave.h"
#include "JtShape.h"
#include "JtShapeEncoding.h"
#include "JtStorageManager.h"

namespace jt {

/// Why the file that a partition represents is not open.
struct PartFailure {
  std::string file;  ///< path; as the partition names it when no path comes of that
  /// "external_missing", "external_outside", "external_cycle", "no_location", or that of the error
  /// which opening the file gave
  std::string code;
  std::string message;
};

namespace file {
class Container;
class FileWriter;
}  // namespace file
}  // namespace jt

/// The top of a JT file's scene graph, or the place where another file hangs into one. A partition
/// without file name holds its content itself; one with a file name represents that file.
class JT_API JtPartition : public JtGroup {
 public:
  /// A new, empty partition without storage location, version 10.0.
  JtPartition();
  /// The same; `parent` takes it as a child when not null. The flag is the state it starts with:
  /// true for content in memory.
  JtPartition(JtGroup* parent, bool resident);
  ~JtPartition() override;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// A partition with the same file name and extent and without content.
  jt::Ref<JtBase> clone() const override;

  // --- Opening

  /// Switches the loading of shapes in the background, for partitions opened from then on: all
  /// shapes of a file are decoded on the threads of the residency manager, within
  /// ReadLimits::maxDocumentBytes.
  static bool _autoLoadShapes;

  /// Opens the partition at a location: header, table of contents and scene graph are read, all
  /// else on demand. Throws JtFormatError when the bytes are not a JT file that can be read.
  /// @param parent takes the partition as a child; may be null
  /// @param out    the partition with one reference for the caller; null when nothing was opened
  static void openPartition(JtStorageLocation* location, JtGroup* parent, JtPartition*& out,
                            const jt::ReadLimits& limits = {});
  /// Opens the partitions below `partition` that represent other files, theirs too when
  /// `recursive`. Each file is opened once, however often it is named. Missing and damaged files,
  /// and those that only a link leads to, out of the folder, leave their partition without content;
  /// notes and partFailure() say why. False when any could not be opened; jt::lastError() has the
  /// reason of the last one.
  static bool openAllPartitions(JtPartition* partition, bool recursive);
  /// Drops the content: children and opened files. Nodes that somebody else holds stay usable, and
  /// background loads that still run keep what they read. What was not saved is lost, and a closed
  /// partition cannot be saved.
  void close();
  bool isClosed() const noexcept { return isClosed_; }
  /// How often the content was opened and not closed again; 0 for a closed partition.
  int openCount() const noexcept { return openCount_; }

  // --- Where and what

  /// The location that the partition was opened from or is to be saved to; null when there is none.
  JtStorageLocation* storageLocation() const noexcept { return location_.get(); }
  /// The partition takes a reference.
  void setStorageLocation(JtStorageLocation* location);
  /// The folder, with a trailing '/', of a file-system location; null for none or another kind.
  /// Valid until the location changes.
  const JtString* getDatastoreLocation() const;
  /// The file's name inside that folder.
  JtString datastoreName() const;

  /// The version that the file was read in, or the one that was set.
  jt::FileVersion version() const noexcept { return version_; }
  /// The version of the next save.
  void setVersion(jt::FileVersion version);
  /// The file that a partition inside a scene graph represents; empty for the content's own.
  const JtString& fileName() const noexcept { return fileName_; }
  void setFileName(const JtString& name);
  /// The opened file behind a partition with a file name; null when it is not open.
  JtPartition* externalPartition() const noexcept { return external_.get(); }
  /// Why it is not open after openAllPartitions; nothing when it is, or when nobody tried.
  const std::optional<jt::PartFailure>& partFailure() const noexcept { return partFailure_; }
  /// Extent of everything below; nothing when unknown.
  std::optional<jt::Box> bounds() const;
  void setBounds(const jt::Box& box);
  /// The extent that the boxes of the shapes below and the transforms above them give, without the
  /// partition's own transform; nothing when there is no shape with a box.
  std::optional<jt::Box> computeBounds() const;
  /// The stored extent enlarged by the computed one; nothing when that adds nothing. A save of a
  /// changed scene graph stores it: viewers leave out what lies outside.
  std::optional<jt::Box> grownBounds() const;
  /// Gives the partition the extent that a save would store.
  void growBounds() {
    if (const auto grown = grownBounds()) setBounds(*grown);
  }

  /// What was noticed while reading.
  const std::vector<jt::Diagnostic>& notes() const;
  /// The opened file; null for a partition made in memory.
  const jt::file::Container* container() const noexcept;

  // --- Saving

  /// How a save stores geometry that was set on shapes. Without one of its own, a partition that is
  /// saved along with the one that refers to it takes that one's; else lossless in the compatible
  /// profile.
  const std::optional<jt::ShapeEncoding>& shapeEncoding() const noexcept { return shapeEncoding_; }
  /// Throws JtFormatError "bad_encoding" when a number of bits is out of range, without effect
  /// then. Shapes that nobody changed keep the bytes that they have.
  void setShapeEncoding(const std::optional<jt::ShapeEncoding>& encoding);
  /// Writes the partition to `location` (null: its own). Untouched segments are copied byte for
  /// byte, the scene graph is encoded only when something in it changed. Either everything is
  /// written or the old bytes stay. Part files that were changed are saved to their own locations
  /// first, unless the options say otherwise; everything is worked out before the first of several
  /// files is written. Throws JtFormatError: "closed" for a closed partition, "no_location", and
  /// what JtStorageManager::save throws.
  jt::SaveReport save(JtStorageLocation* location = nullptr, const jt::SaveOptions& options = {});
  /// Writes the partition to its own location, and partitions below that represent other files and
  /// were changed to theirs. Throws JtFormatError.
  jt::SaveReport saveAllPartitions(const jt::SaveOptions& options = {}) {
    return save(nullptr, options);
  }
  /// Writes `root` as the content of a new file at `location`: what is below it, under a partition
  /// of its own, with the segments that it needs.
  jt::SaveReport saveAs(JtNode* root, JtStorageLocation* location,
                        const jt::SaveOptions& options = {});
  /// True when the scene graph, or metadata or PMI of a node, differs from the opened file. Files
  /// that partitions below represent do not count. False for a closed partition.
  bool isContentModified() const;

  int numChildren() const noexcept override;
  JtNode* child(int index) const noexcept override;

 protected:
  /// Element data, attributes and properties; without children, files and location.
  JtPartition(const JtPartition& other);
  void releaseChildren(Dismantler& out) noexcept override;

 private:
  void requireOpen(const JtStorageLocation& target) const;
  jt::SaveReport saveOwn(JtStorageLocation& location, const std::vector<const JtNode*>& nodes,
                         const jt::SaveOptions& options);
  std::vector<jt::SaveReport> savePartFiles(JtStorageLocation& target,
                                            const std::vector<const JtNode*>& nodes,
                                            const jt::SaveOptions& options);
  void attachExternal(jt::Ref<JtPartition> opened);
  bool openExternal(const JtPartition& referencing, struct JtExternalFiles& files);

  friend struct jt::file::FieldAccess;

  int openCount_ = 0;
  bool isClosed_ = false;
  jt::FileVersion version_;
  jt::Ref<JtStorageLocation> location_;
  mutable JtString datastoreLocation_;
  jt::Ref<jt::file::SceneSource> scene_;
  jt::Ref<JtPartition> external_;
  // What its saves left, by path: a file that has not changed since is still its own.
  std::map<std::string, std::optional<jt::FileIdentity>> savedAs_;
  std::optional<jt::PartFailure> partFailure_;
  std::vector<jt::Diagnostic> notes_;
  std::optional<jt::ShapeEncoding> shapeEncoding_;

  // Element data.
  std::optional<std::uint8_t> partitionVersion_;  // 10.5 form
  std::int32_t partitionFlags_ = 1;
  JtString fileName_;
  jt::Box box1_;
  std::optional<jt::Box> box2BeforeArea_;
  float area_ = 0;
  jt::CountRange vertexRange_;
  jt::CountRange nodeRange_;
  jt::CountRange polygonRange_;
  std::optional<jt::Box> untransformedBox_;
};

namespace jt {

/// How many children a node has in its own file. Those of a partition that represents another file
/// are without what that file holds, whether or not it is open.
JT_API int numOwnChildren(const JtNode& node) noexcept;
/// The child of that index in the node's own file, or null.
JT_API JtNode* ownChild(const JtNode& node, int index) noexcept;

}  // namespace jt
