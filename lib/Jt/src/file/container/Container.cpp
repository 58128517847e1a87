#include "file/container/Container.h"

#include <algorithm>
#include <cstring>

namespace jt::file {

namespace {

constexpr std::string_view kCheckBytes = " \n\r\n ";

struct VersionNumbers {
  int major = 0;
  int minor = 0;
};

std::optional<VersionNumbers> parseVersion(std::string_view text) {
  constexpr std::string_view kWord = "Version ";
  if (text.substr(0, kWord.size()) != kWord) return {};
  std::size_t at = text.find_first_not_of(' ', kWord.size());
  const auto number = [&](int& value) {
    const std::size_t first = at;
    for (value = 0; at < text.size() && text[at] >= '0' && text[at] <= '9' && at - first < 4; ++at)
      value = 10 * value + (text[at] - '0');
    return at > first;
  };
  VersionNumbers version;
  if (at == std::string_view::npos || !number(version.major)) return {};
  if (at >= text.size() || text[at++] != '.' || !number(version.minor)) return {};
  return version;
}

std::string hex(std::uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
  return text;
}

/// The rows of a table of contents: their room was checked, and what their layout depends on is
/// known to the compiler.
template <bool IsWide, bool IsBigEndian>
class RowReader {
 public:
  explicit RowReader(const std::byte* rows) : at_(rows) {}

  static constexpr bool has(Feature /*wideToc*/) { return IsWide; }

  template <Scalar T>
  void operator()(const char* /*name*/, T& value) {
    value = loadScalar<T>(at_, IsBigEndian);
    at_ += sizeof(T);
  }
  void operator()(const char* /*name*/, JtGuid& value) {
    value = loadGuid(at_, IsBigEndian);
    at_ += sizeof(JtGuid);
  }
  template <Scalar Stored, class T>
  void as(const char* name, T& value) {
    Stored stored{};
    (*this)(name, stored);
    value = static_cast<T>(stored);
  }

 private:
  const std::byte* at_;
};

[[noreturn]] void throwTextMode(const FilePosition& where) {
  throw JtFormatError(
      "text_mode",
      "the file was damaged by a transfer in text mode: transfer it again in binary mode", where);
}

/// The packed bytes behind both headers.
std::span<const std::byte> streamOf(std::span<const std::byte> segment,
                                    const PackingHeader& header) {
  return segment.subspan(kSegmentHeaderSize + kPackingHeaderSize,
                         static_cast<std::size_t>(header.length) - 1);
}

}  // namespace

const char* segmentTypeName(std::int32_t type) noexcept {
  static constexpr const char* kLods[] = {"Shape LOD0", "Shape LOD1", "Shape LOD2", "Shape LOD3",
                                          "Shape LOD4", "Shape LOD5", "Shape LOD6", "Shape LOD7",
                                          "Shape LOD8", "Shape LOD9"};
  if (type >= 7 && type <= 16) return kLods[type - 7];
  switch (type) {
    case 1:
      return "Logical Scene Graph";
    case 2:
      return "JT B-Rep";
    case 3:
      return "PMI Data";
    case 4:
      return "Meta Data";
    case 6:
      return "Shape";
    case 17:
      return "XT B-Rep";
    case 18:
      return "Wireframe Representation";
    case 20:
      return "ULP";
    case 23:
      return "Smart Topology Table";
    case 24:
      return "LWPA";
    case 30:
      return "MultiXT B-Rep";
    case 31:
      return "Info";
    case 32:
    case 33:
      return "STEP B-Rep";
    default:
      return "Unknown";
  }
}

std::string segmentText(std::int32_t type, const JtGuid& id) {
  return id.text() + " (type " + std::to_string(type) + ", " + segmentTypeName(type) + ")";
}

Container::Container(Ref<FileImage> image, const ReadLimits& limits)
    : image_(std::move(image)),
      limits_(limits),
      memory_(std::make_shared<MemoryBudget>(limits.documentBytes(image_->bytes().size()))) {}

Ref<Container> Container::open(Ref<FileImage> image, const ReadLimits& limits) {
  Ref<Container> container(new Container(std::move(image), limits));
  try {
    container->readHeader();
    try {
      container->readToc();
    } catch (const JtFormatError& error) {
      // Bytes that were dropped or doubled move all that follows them.
      if (!container->checkBytesOk_) throwTextMode(error.where());
      throw;
    }
  } catch (const JtFormatError& error) {
    container->image_->checkPresent();  // a change of the file is the cause, not the fault found
    throw error.within({container->image_->name(), {}, {}, {}});
  }
  container->image_->checkPresent();
  return container;
}

void Container::note(bool isError, const char* code, std::uint64_t offset, std::string message) {
  notes_.push_back({code, std::move(message), {}, offset, isError});
}

std::string Container::versionText() const {
  const auto bytes = image_->bytes();
  return {reinterpret_cast<const char*>(bytes.data()), kVersionTextSize};
}

void Container::readHeader() {
  const auto bytes = image_->bytes();
  if (bytes.empty())
    throw JtFormatError("empty", "expected a JT file, found an empty one", {.offset = 0});
  const std::string_view text(reinterpret_cast<const char*>(bytes.data()),
                              std::min(bytes.size(), kVersionTextSize));
  const auto version = parseVersion(text);
  if (!version)
    throw JtFormatError("not_jt", "expected a JT file, which begins with \"Version M.n JT\"",
                        {.offset = 0});
  if (version->major < 8 || version->major > 10)
    throw JtFormatError("unsupported_version",
                        "JT version " + std::to_string(version->major) + "." +
                            std::to_string(version->minor) +
                            " cannot be read; versions 8.0 to 10.x can",
                        {.offset = 0});
  format_ = {version->major, version->minor, false};
  const std::size_t headerSize = FileHeader::size(format_);
  if (bytes.size() < headerSize)
    throw JtFormatError("truncated",
                        "file truncated: the header takes " + std::to_string(headerSize) +
                            " bytes, found " + std::to_string(bytes.size()),
                        {.offset = bytes.size()});
  checkBytesOk_ = text.substr(kVersionTextSize - kCheckBytes.size()) == kCheckBytes;
  const auto order = std::to_integer<int>(bytes[kVersionTextSize]);
  if (order > 1) {
    if (!checkBytesOk_) throwTextMode({.element = "byteOrder", .offset = kVersionTextSize});
    throw JtFormatError("bad_byte_order",
                        "expected byte order 0 or 1, found " + std::to_string(order),
                        {.element = "byteOrder", .offset = kVersionTextSize});
  }
  if (!checkBytesOk_)
    note(false, "header_check_bytes", 75,
         "the five check bytes of the version text are not as they should be");
  format_.bigEndian = order == 1;
  Reader reader(bytes.subspan(kVersionTextSize, headerSize - kVersionTextSize), format_,
                kVersionTextSize);
  fields(reader, header_);
  if (header_.reserved != 0)
    note(false, "header_reserved", 81,
         "the reserved field of the header is " + std::to_string(header_.reserved) + ", not 0");
}

void Container::checkTocPlace() {
  const auto bytes = image_->bytes();
  const std::size_t headerSize = FileHeader::size(format_);
  const std::uint64_t at = header_.tocOffset;
  // A negative 32-bit offset has become a huge one and fails here too.
  if (at < headerSize || at > bytes.size() || bytes.size() - at < 4)
    throw JtFormatError(at < headerSize ? "bad_toc_offset" : "truncated",
                        "expected the table of contents between offset " +
                            std::to_string(headerSize) + " and the end of the file at " +
                            std::to_string(bytes.size()) + ", found its offset to be " +
                            std::to_string(at) +
                            (at < headerSize ? "" : "; the file is truncated or damaged"),
                        {.element = "tocOffset", .offset = 85});
  const auto count = loadScalar<std::int32_t>(bytes.data() + at, format_.bigEndian);
  const std::uint64_t room = (bytes.size() - at - 4) / TocEntry::size(format_);
  if (count < 1 || static_cast<std::uint64_t>(count) > room)
    throw JtFormatError("bad_toc_count",
                        "the table of contents names " + std::to_string(count) +
                            " segments, but there is room for 1 to " + std::to_string(room) +
                            "; the file is truncated or damaged",
                        {.element = "entryCount", .offset = at});
  segmentCount_ = static_cast<std::size_t>(count);
}

template <class Each>
void Container::eachRow(const Each& each) const {
  const bool isWide = format_.has(Feature::wideToc);
  const auto run = format_.bigEndian ? (isWide ? &Container::eachRowOf<true, true, Each>
                                               : &Container::eachRowOf<false, true, Each>)
                                     : (isWide ? &Container::eachRowOf<true, false, Each>
                                               : &Container::eachRowOf<false, false, Each>);
  (this->*run)(each);
}

template <bool IsWide, bool IsBigEndian, class Each>
void Container::eachRowOf(const Each& each) const {
  const auto bytes = image_->bytes();
  const std::uint64_t headerSize = FileHeader::size(format_);
  RowReader<IsWide, IsBigEndian> reader(bytes.data() + header_.tocOffset + 4);
  for (std::size_t i = 0; i < segmentCount_; ++i) {
    TocEntry entry;
    fields(reader, entry);
    if (entry.offset < headerSize || entry.length < kSegmentHeaderSize ||
        entry.offset > bytes.size() || bytes.size() - entry.offset < entry.length)
      throwBadRow(i, entry);
    each(i, entry);
  }
}

void Container::throwBadRow(std::size_t row, const TocEntry& entry) const {
  const std::uint64_t size = image_->bytes().size();
  const bool beyond =
      entry.offset >= FileHeader::size(format_) && entry.length >= kSegmentHeaderSize;
  throw JtFormatError(beyond ? "truncated" : "bad_toc_entry",
                      "segment " + segmentText(entry.type(), entry.id) + " should take " +
                          std::to_string(entry.length) + " bytes at offset " + hex(entry.offset) +
                          ", but the file ends at " + hex(size) +
                          (beyond ? "; the file is truncated or damaged" : ""),
                      {.element = "segmentOffset",
                       .offset = header_.tocOffset + 4 + row * TocEntry::size(format_)});
}

void Container::readToc() {
  checkTocPlace();
  const bool hasSceneId = header_.reserved == 0;
  bool isNamed = false;
  eachRow([&](std::size_t i, const TocEntry& entry) {
    SegmentTotal& ofType = totals_[static_cast<std::size_t>(entry.type())];
    ++ofType.count;
    ofType.bytes += entry.length;
    if (isNamed) return;
    isNamed = hasSceneId && entry.id == header_.sceneId;
    if (!isNamed && (sceneRow_ || entry.type() != kSceneSegment)) return;
    sceneRow_ = i;
    scene_ = entry;
  });
  std::uint64_t total = 0;
  for (const SegmentTotal& ofType : totals_) total += ofType.bytes;
  // A save writes each of them, and whoever reads all would read the same bytes again and again.
  constexpr std::uint64_t kMostShared = 8;
  if (total / kMostShared > image_->bytes().size())
    throw JtFormatError("segments_overlap",
                        "the segments of the table of contents weigh " + std::to_string(total) +
                            " bytes, more than eight times what the file has",
                        {.element = "segmentLength", .offset = header_.tocOffset});
  if (total > image_->bytes().size())
    note(true, "segments_overlap", header_.tocOffset,
         "the segments of the table of contents weigh " + std::to_string(total) +
             " bytes, more than the file: some overlap");
}

std::span<const TocEntry> Container::toc() const {
  kept_.call([&] {
    storage::WorkArray<TocEntry> rows(segmentCount_);
    try {
      // Checked again: the file may have changed.
      eachRow([&rows](std::size_t i, const TocEntry& entry) { rows[i] = entry; });
    } catch (const JtFormatError& error) {
      image_->checkPresent();
      throw error.within({image_->name(), {}, {}, {}});
    }
    image_->checkPresent();
    toc_ = std::move(rows);
  });
  return {toc_.data(), toc_.size()};
}

const TocEntry& Container::sceneEntry() const {
  static_cast<void>(sceneRow());
  return scene_;
}

std::size_t Container::sceneRow() const {
  if (sceneRow_) return *sceneRow_;
  throw JtFormatError("no_scene_graph",
                      "expected the scene graph segment " + header_.sceneId.text() +
                          " in the table of contents, found none",
                      {image_->name(), {}, {}, 89});
}

const TocEntry* Container::find(const JtGuid& id) const {
  const std::span<const TocEntry> rows = toc();
  indexed_.call([&] {
    index_.reserve(rows.size());
    for (std::size_t i = 0; i < rows.size(); ++i)
      index_.emplace(rows[i].id, static_cast<std::uint32_t>(i));
  });
  const auto found = index_.find(id);
  return found == index_.end() ? nullptr : &rows[found->second];
}

std::span<const std::byte> Container::segmentBytes(const TocEntry& entry) const {
  image_->checkPresent();
  return image_->bytes().subspan(static_cast<std::size_t>(entry.offset), entry.length);
}

SegmentHeader Container::segmentHeader(const TocEntry& entry) const {
  Reader reader(segmentBytes(entry), format_);
  SegmentHeader header;
  fields(reader, header);
  return header;
}

std::optional<PackingHeader> Container::packingHeader(const TocEntry& entry) const {
  const auto bytes = segmentBytes(entry);
  if (isShapeSegment(segmentHeader(entry).type) ||
      bytes.size() < kSegmentHeaderSize + kPackingHeaderSize)
    return {};
  Reader reader(bytes.subspan(kSegmentHeaderSize), format_);
  PackingHeader header;
  fields(reader, header);
  const std::uint64_t body = bytes.size() - kSegmentHeaderSize - kPackingHeaderSize;
  const bool plausible = (header.flag == 0 || header.flag == 2 || header.flag == 3) &&
                         header.algorithm >= 1 && header.algorithm <= 3 && header.length >= 1 &&
                         static_cast<std::uint64_t>(header.length) - 1 <= body;
  if (!plausible) return {};
  return header;
}

FilePosition Container::position(const TocEntry& entry, std::optional<std::uint64_t> offset) const {
  return {image_->name(), segmentText(entry.type(), entry.id), {}, offset};
}

SegmentContent Container::load(const TocEntry& entry) const {
  const auto bytes = segmentBytes(entry);
  SegmentContent content;
  const auto packing = packingHeader(entry);
  if (!packing) {
    content.bytes = bytes.subspan(kSegmentHeaderSize);
    content.fileOffset = static_cast<std::size_t>(entry.offset) + kSegmentHeaderSize;
    return content;
  }
  content.packing = static_cast<Packing>(packing->algorithm);
  if (content.packing == Packing::stored) {
    content.bytes = streamOf(bytes, *packing);
    content.fileOffset =
        static_cast<std::size_t>(entry.offset) + kSegmentHeaderSize + kPackingHeaderSize;
    return content;
  }
  content.owned = unpackStream(entry, *packing, std::min(limits_.maxSegmentBytes, memory_->left()));
  content.memory = share();
  content.memory.take(content.owned.size());
  content.bytes = content.owned.bytes();
  content.packed = true;
  return content;
}

Buffer Container::loadAgain(const TocEntry& entry, std::size_t size) const {
  const auto packing = packingHeader(entry);
  Buffer bytes;
  if (packing) bytes = unpackStream(entry, *packing, size + 1);  // xz ends where there is room left
  if (bytes.size() != size)
    throw JtFormatError("changed_on_disk", "the segment has changed since it was read",
                        position(entry));
  return bytes;
}

Buffer Container::unpackStream(const TocEntry& entry, const PackingHeader& header,
                               std::uint64_t maxBytes) const {
  try {
    Buffer bytes = unpack(streamOf(segmentBytes(entry), header),
                          static_cast<Packing>(header.algorithm), limits_, maxBytes)
                       .bytes;
    image_->checkPresent();
    return bytes;
  } catch (const JtFormatError& error) {
    image_->checkPresent();
    throw error.within(position(entry, entry.offset + kSegmentHeaderSize + kPackingHeaderSize));
  }
}

}  // namespace jt::file
