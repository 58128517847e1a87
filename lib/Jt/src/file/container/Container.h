#pragma once

// A JT file as a container: header, table of contents, segments. Nothing of a segment is read
// before it is asked for.

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "JtPartition.h"
#include "JtStorageManager.h"
#include "base/Once.h"
#include "base/WorkArray.h"
#include "file/archive/Archive.h"
#include "file/archive/Format.h"
#include "file/container/Compression.h"

namespace jt::file {

inline constexpr std::size_t kVersionTextSize = 80;
inline constexpr std::size_t kSegmentHeaderSize = 24;
inline constexpr std::size_t kPackingHeaderSize = 9;

/// The file header behind the version text.
struct FileHeader {
  std::uint8_t byteOrder = 0;
  std::int32_t reserved = 0;
  std::uint64_t tocOffset = 0;
  JtGuid sceneId;

  static std::size_t size(const Format& format) { return format.has(Feature::wideToc) ? 109 : 105; }
};

template <class Ar>
void fields(Ar& ar, FileHeader& header) {
  ar("byteOrder", header.byteOrder);
  ar("reserved", header.reserved);
  if (ar.has(Feature::wideToc)) {
    ar("tocOffset", header.tocOffset);
  } else {
    ar.template as<std::int32_t>("tocOffset", header.tocOffset);
  }
  ar("lsgSegmentId", header.sceneId);
}

/// One row of the table of contents.
struct TocEntry {
  JtGuid id;
  std::uint64_t offset = 0;
  std::uint32_t length = 0;
  std::uint32_t attributes = 0;

  std::int32_t type() const noexcept { return static_cast<std::int32_t>(attributes >> 24); }
  static std::size_t size(const Format& format) { return format.has(Feature::wideToc) ? 32 : 28; }
};

template <class Ar>
void fields(Ar& ar, TocEntry& entry) {
  ar("segmentId", entry.id);
  if (ar.has(Feature::wideToc)) {
    ar("segmentOffset", entry.offset);
  } else {
    ar.template as<std::int32_t>("segmentOffset", entry.offset);
  }
  ar("segmentLength", entry.length);
  ar("segmentAttributes", entry.attributes);
}

/// The segments of one type.
struct SegmentTotal {
  std::size_t count = 0;
  std::uint64_t bytes = 0;
};

/// What every segment begins with.
struct SegmentHeader {
  JtGuid id;
  std::int32_t type = 0;
  std::int32_t length = 0;
};

template <class Ar>
void fields(Ar& ar, SegmentHeader& header) {
  ar("segmentId", header.id);
  ar("segmentType", header.type);
  ar("segmentLength", header.length);
}

/// How a segment is packed; is between segment header and first element.
struct PackingHeader {
  std::uint32_t flag = 0;
  std::int32_t length = 0;  ///< of the stream, and the algorithm byte
  std::uint8_t algorithm = 1;
};

template <class Ar>
void fields(Ar& ar, PackingHeader& header) {
  ar("compressionFlag", header.flag);
  ar("compressedDataLength", header.length);
  ar("compressionAlgorithm", header.algorithm);
}

/// The type of the scene graph's segment.
inline constexpr std::int32_t kSceneSegment = 1;

/// Types whose segments are shapes; those are never packed as a whole.
inline bool isShapeSegment(std::int32_t type) noexcept { return type >= 6 && type <= 16; }

/// Name of a segment type, such as "Logical Scene Graph".
const char* segmentTypeName(std::int32_t type) noexcept;

/// The unpacked content of a segment: bytes of its own, or a view into the file.
struct SegmentContent {
  std::span<const std::byte> bytes;
  Buffer owned;         ///< where `bytes` lies when the segment was packed
  bool packed = false;  ///< offsets count in the unpacked bytes
  Packing packing = Packing::stored;
  std::size_t fileOffset = 0;  ///< of the content when it is not packed
  MemoryShare memory;          ///< of `owned`
};

class Container : public JtRefCounted {
 public:
  /// Reads header and table of contents. Throws JtFormatError.
  static Ref<Container> open(Ref<FileImage> image, const ReadLimits& limits);

  const FileImage& image() const noexcept { return *image_; }
  const Format& format() const noexcept { return format_; }
  const ReadLimits& limits() const noexcept { return limits_; }
  /// What may be held for the file.
  MemoryBudget& memory() const noexcept { return *memory_; }
  /// A share of that with nothing taken yet.
  MemoryShare share() const noexcept { return MemoryShare(memory_); }
  const FileHeader& header() const noexcept { return header_; }
  /// The 80 bytes in front, as they are.
  std::string versionText() const;
  /// The rows of the table of contents, which are kept from the first call on: opening has checked
  /// them, and most of what is asked of a file needs the totals alone. Throws JtFormatError when
  /// the file has changed since.
  std::span<const TocEntry> toc() const;
  std::size_t segmentCount() const noexcept { return segmentCount_; }
  /// What the table of contents amounts to, by segment type.
  const std::array<SegmentTotal, 256>& totals() const noexcept { return totals_; }
  const std::vector<Diagnostic>& notes() const noexcept { return notes_; }

  /// The scene graph's row, a copy of the one in toc(). Throws JtFormatError when there is none.
  const TocEntry& sceneEntry() const;
  /// Its number in toc(). Throws as sceneEntry().
  std::size_t sceneRow() const;
  /// The first row with that id, or null.
  const TocEntry* find(const JtGuid& id) const;

  /// The whole segment, header included.
  std::span<const std::byte> segmentBytes(const TocEntry& entry) const;
  /// The content behind the headers, unpacked. Throws JtFormatError with segment and offset.
  SegmentContent load(const TocEntry& entry) const;
  /// The unpacked bytes of a segment that was loaded before, beside what may be held for the file.
  /// Throws JtFormatError "changed_on_disk" where they have become others.
  /// @param size of the content
  Buffer loadAgain(const TocEntry& entry, std::size_t size) const;
  /// The two headers of a segment as they are; the packing header only where there is one.
  SegmentHeader segmentHeader(const TocEntry& entry) const;
  std::optional<PackingHeader> packingHeader(const TocEntry& entry) const;

  /// "file, segment" for an error inside a segment.
  FilePosition position(const TocEntry& entry, std::optional<std::uint64_t> offset = {}) const;

 private:
  Container(Ref<FileImage> image, const ReadLimits& limits);
  void readHeader();
  void readToc();
  void checkTocPlace();
  /// Calls `each` with the number and the content of every row of the table of contents, checked.
  template <class Each>
  void eachRow(const Each& each) const;
  template <bool IsWide, bool IsBigEndian, class Each>
  void eachRowOf(const Each& each) const;
  [[noreturn]] void throwBadRow(std::size_t row, const TocEntry& entry) const;
  void note(bool isError, const char* code, std::uint64_t offset, std::string message);
  Buffer unpackStream(const TocEntry& entry, const PackingHeader& header,
                      std::uint64_t maxBytes) const;

  Ref<FileImage> image_;
  ReadLimits limits_;
  std::shared_ptr<MemoryBudget> memory_;
  Format format_;
  FileHeader header_;
  bool checkBytesOk_ = true;
  std::size_t segmentCount_ = 0;
  std::array<SegmentTotal, 256> totals_{};
  std::optional<std::size_t> sceneRow_;
  TocEntry scene_;  ///< where there is one
  std::vector<Diagnostic> notes_;
  mutable Once kept_;
  mutable storage::WorkArray<TocEntry> toc_;
  mutable Once indexed_;
  mutable std::unordered_map<JtGuid, std::uint32_t> index_;
};

/// "type 7 Shape LOD0, {id}"
std::string segmentText(std::int32_t type, const JtGuid& id);

}  // namespace jt::file
