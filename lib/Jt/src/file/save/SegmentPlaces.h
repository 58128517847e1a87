#pragma once

// Under which ids a new file has the segments that its scene graph names.

#include <unordered_set>
#include <vector>

#include "file/save/SegmentConversion.h"

namespace jt::file {

/// Segments of the file that is saved keep their ids. Others keep theirs where it is free; else one
/// of another file, that a node came from, is shared when both hold the same bytes, or gets a new
/// id.
class SegmentPlaces {
 public:
  /// A segment of another file that the new file is to have.
  struct Foreign {
    const Container* from = nullptr;
    const TocEntry* entry = nullptr;
    JtGuid id;  ///< in the new file
  };

  /// @param own the file that is saved; may be null
  SegmentPlaces(const Container* own, SegmentConverter& converter)
      : own_(own), converter_(converter) {}

  /// The id of a segment in the new file; nothing when that will not have it.
  /// @param wanted the element that matters; null: any
  std::optional<JtGuid> idOf(const Container& from, const TocEntry& entry, const JtType* wanted);
  /// The id of a segment that no file has yet. It follows from the file that is saved, so that the
  /// same change gives the same bytes. @param id what a new file names it @param atom object id of
  /// the value that names it
  JtGuid idOfNew(const JtGuid& id, std::int32_t atom);
  /// Those of other files that idOf was asked for, each once, also those that cannot be converted.
  const std::vector<Foreign>& foreign() const noexcept { return foreign_; }

 private:
  JtGuid place(const Container& from, const TocEntry& entry);
  std::span<const std::byte> bytesOf(const Container& from, const TocEntry& entry);
  bool take(const JtGuid& id);
  JtGuid takeFree(JtGuid id);
  bool isSame(const Container& a, const TocEntry& entryA, const Container& b,
              const TocEntry& entryB);

  const Container* own_;
  SegmentConverter& converter_;
  std::vector<Foreign> foreign_;
  std::unordered_map<const TocEntry*, JtGuid> placed_;
  std::unordered_set<JtGuid> taken_;                              // but for those of own_
  std::unordered_map<JtGuid, std::vector<std::size_t>> byOldId_;  // indices of foreign_
};

}  // namespace jt::file
