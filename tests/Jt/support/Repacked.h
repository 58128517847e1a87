#pragma once

#include <algorithm>

#include "support/FileBuilder.h"

/// A file whose segments can be given another content. The new content is stored, not compressed,
/// so that no checksum hides the parser behind it; ids and all other segments stay.
class Repacked {
 public:
  explicit Repacked(const Bytes& file, const jt::ReadLimits& limits = {})
      : container_(jt::file::Container::open(jt::make<MemoryImage>(file, "file"), limits)) {}

  const jt::file::Format& format() const { return container_->format(); }
  /// Rows of the table of contents.
  std::size_t count() const { return container_->toc().size(); }
  std::size_t sceneRow() const { return container_->sceneRow(); }
  std::int32_t type(std::size_t row) const { return container_->toc()[row].type(); }
  bool isPacked(std::size_t row) const { return container_->load(container_->toc()[row]).packed; }
  /// The unpacked content of a segment. Throws JtFormatError.
  Bytes content(std::size_t row) const {
    const jt::file::SegmentContent content = container_->load(container_->toc()[row]);
    return {content.bytes.begin(), content.bytes.end()};
  }
  /// The file with this content of one segment. Throws JtFormatError.
  Bytes with(std::size_t row, std::span<const std::byte> content) const {
    std::vector<Bytes> segments;
    for (std::size_t i = 0; i < count(); ++i) {
      const auto bytes = container_->segmentBytes(container_->toc()[i]);
      segments.push_back(i == row ? stored(row, content) : Bytes(bytes.begin(), bytes.end()));
    }
    jt::file::FileHeader header = container_->header();
    header.tocOffset = jt::file::FileHeader::size(format());
    std::uint64_t offset =
        header.tocOffset + 4 + count() * jt::file::TocEntry::size(container_->format());
    const std::string text = container_->versionText();
    jt::file::ByteSink out;
    out.append(std::as_bytes(std::span(text)));
    jt::file::Writer writer(out, format());
    fields(writer, header);
    writer("", static_cast<std::int32_t>(count()));
    for (std::size_t i = 0; i < count(); ++i) {
      jt::file::TocEntry entry = container_->toc()[i];
      entry.offset = offset;
      entry.length = static_cast<std::uint32_t>(segments[i].size());
      offset += entry.length;
      fields(writer, entry);
    }
    for (const Bytes& segment : segments) out.append(segment);
    return {out.bytes().begin(), out.bytes().end()};
  }

 private:
  Bytes stored(std::size_t row, std::span<const std::byte> content) const {
    const jt::file::TocEntry& entry = container_->toc()[row];
    auto packing = container_->packingHeader(entry);
    jt::file::SegmentHeader header = container_->segmentHeader(entry);
    const std::size_t heads =
        jt::file::kSegmentHeaderSize + (packing ? jt::file::kPackingHeaderSize : 0);
    header.length = static_cast<std::int32_t>(heads + content.size());
    jt::file::ByteSink out;
    jt::file::Writer writer(out, format());
    fields(writer, header);
    if (packing) {
      *packing = {0, static_cast<std::int32_t>(1 + content.size()), 1};
      fields(writer, *packing);
    }
    out.append(content);
    return {out.bytes().begin(), out.bytes().end()};
  }

  jt::Ref<jt::file::Container> container_;
};
