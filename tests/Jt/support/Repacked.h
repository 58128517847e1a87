#pragma once

#include "support/FileBuilder.h"

/// The scene graph of a file, and the file with other bytes in its place, stored, so that no
/// checksum hides the parser behind it.
class Repacked {
 public:
  explicit Repacked(const Bytes& file, const jt::ReadLimits& limits = {})
      : container_(jt::file::Container::open(jt::make<MemoryImage>(file, "file"), limits)) {
    const jt::file::SegmentContent scene = container_->load(container_->sceneEntry());
    payload.assign(scene.bytes.begin(), scene.bytes.end());
  }
  Bytes with(const Bytes& scene) const {
    FileBuilder builder(container_->format());
    builder.packed(1, 1, 0, 1, scene);
    for (std::size_t i = 0; i < container_->toc().size(); ++i) {
      const jt::file::TocEntry& entry = container_->toc()[i];
      if (&entry == &container_->sceneEntry()) continue;
      const auto bytes = container_->segmentBytes(entry);
      const auto number = static_cast<std::uint32_t>(i + 1);
      builder.segment(number, entry.type(), Bytes(bytes.begin(), bytes.end()));
    }
    return builder.build();
  }
  const jt::file::Format& format() const { return container_->format(); }
  Bytes payload;

 private:
  jt::Ref<jt::file::Container> container_;
};
