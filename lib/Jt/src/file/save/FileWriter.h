#pragma once

// A partition to a file: which segments are copied, which are written anew, and where they go.

#include <functional>
#include <vector>

#include "JtPartition.h"
#include "file/container/Container.h"
#include "file/save/SceneWriter.h"
#include "file/save/SegmentPlaces.h"

namespace jt::file {

class FileWriter {
 public:
  /// @param partition whose file the segments come from
  /// @param top       what becomes the scene graph: the partition itself, or a partition made for a
  ///                  part of it
  /// @param nodes     of `top`, as SceneWriter::nodesOf() lists them; must outlive the writer
  FileWriter(const JtPartition& partition, const JtPartition& top,
             const std::vector<const JtNode*>& nodes, const SaveOptions& options);

  /// Writes, unless the options ask for a dry run. Throws JtFormatError.
  SaveReport save(JtStorageLocation& location);
  /// The identity of the partition's own file after a save to it; nothing after other saves.
  const std::optional<FileIdentity>& savedAs() const noexcept { return savedAs_; }

 private:
  struct Segment {
    SegmentAction action;
    Buffer owned;  ///< when it is not copied
    std::span<const std::byte> bytes;
    const FileImage* source = nullptr;  ///< the opened file that the bytes are in; null: memory
    std::uint64_t offsetInSource = 0;
    std::uint64_t sourceOffset = 0;  ///< its place among the segments of the partition's own file
    bool isGap = false;              ///< bytes between segments: no row in the table of contents
  };

  void checkVersion() const;
  bool isUntouched(const std::vector<ChangedObject>& changedObjects) const;
  std::size_t planExisting(const EncodedScene& scene);
  Buffer planNew(const std::vector<NewSegment>& made, const std::function<Buffer()>& packScene);
  void planForeign();
  void addSegment(const JtGuid& id, std::int32_t type, Buffer bytes, std::string reason);
  void planGaps();
  Segment copied(const TocEntry& entry) const;
  Segment rewritten(const TocEntry& entry, Buffer bytes, std::string reason) const;
  Segment converted(const TocEntry& entry);
  Segment dropped(const TocEntry& entry, std::string reason) const;
  Buffer frontMatter();
  void store(JtStorageLocation& location, const std::vector<FilePiece>& pieces);
  std::string versionText() const;
  Buffer encodeNew(const NewSegment& segment, codec::Report& losses) const;
  void warn(const std::string& code, const std::string& message);
  void noteLostGeometry();
  void writeScene(SavePlan& plan);

  const JtPartition& partition_;
  const JtPartition& top_;
  const SaveOptions& options_;
  const Container* container_;
  SceneSource* source_;
  FileVersion version_;
  Format format_;
  ShapeEncoding encoding_;
  bool sameForm_;     // as the file that was read, but for the number of the version
  bool sameVersion_;  // and the number too
  const std::vector<const JtNode*>& nodes_;  // what is written
  bool isSceneChanged_;
  SegmentConverter converter_;
  SegmentPlaces places_;
  JtGuid sceneId_;
  std::string sceneReason_;
  std::vector<Segment> segments_;  // in the order of the table of contents
  std::vector<Segment> gaps_;
  SaveReport report_;
  std::optional<FileIdentity> savedAs_;
};

}  // namespace jt::file
