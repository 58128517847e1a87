#pragma once

#include <string_view>

#include "file/container/Container.h"
#include "file/graph/SceneSource.h"
#include "file/segments/SegmentObjects.h"
#include "support/MemoryStorage.h"

// JT files put together piece by piece, sound or not, in any generation and byte order.

/// Bytes of fields one after the other.
class Fields {
 public:
  explicit Fields(const jt::file::Format& format) : format_(format) {}
  template <class T>
  Fields& put(T value) {
    if constexpr (std::is_arithmetic_v<T>) {
      value = jt::inFileOrder(value, format_.bigEndian);
      return raw(std::as_bytes(std::span(&value, 1)));
    } else {
      jt::file::ByteSink sink;
      jt::file::Writer(sink, format_)("", value);
      return raw(sink.bytes());
    }
  }
  Fields& i32(std::int32_t value) { return put(value); }
  Fields& f32(std::initializer_list<float> values) {
    for (const float value : values) put(value);
    return *this;
  }
  Fields& ids(const std::vector<std::int32_t>& values) {
    i32(static_cast<std::int32_t>(values.size()));
    for (const std::int32_t value : values) i32(value);
    return *this;
  }
  Fields& raw(std::span<const std::byte> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    return *this;
  }
  Fields& zeros(std::size_t count) {
    bytes_.resize(bytes_.size() + count);
    return *this;
  }
  /// A local version: none, two bytes or one.
  Fields& version(int value = 1) {
    jt::LocalVersion version;
    version.value = static_cast<std::int16_t>(value);
    jt::file::ByteSink sink;
    jt::file::Writer(sink, format_).version("", version, 1, 1);
    return raw(sink.bytes());
  }
  Fields& node(const std::vector<std::int32_t>& attributes = {}) {
    return version().put(std::uint32_t{0}).ids(attributes);
  }
  Fields& group(const std::vector<std::int32_t>& children,
                const std::vector<std::int32_t>& attributes = {}) {
    return node(attributes).version().ids(children);
  }
  /// What all attributes begin with.
  Fields& attribute() {
    version().put(std::uint8_t{8}).i32(0);
    return format_.has(jt::file::Feature::fieldFinal) ? i32(0) : *this;
  }
  /// Partition data behind the group data, with the boxes of the generation.
  Fields& partition(const char* fileName = "") {
    if (format_.major == 10 && format_.minor >= 5) put(std::uint8_t{1});
    i32(format_.major < 10 ? 1 : 0).put(JtString(fileName)).zeros(24 + 4 + 24);
    return format_.major < 10 ? zeros(24) : *this;
  }
  const Bytes& bytes() const { return bytes_; }
  operator std::span<const std::byte>() const { return bytes_; }

 private:
  jt::file::Format format_;
  Bytes bytes_;
};

/// A scene graph stream: elements, marker, atoms, marker, table.
class SceneBuilder {
 public:
  explicit SceneBuilder(const jt::file::Format& format) : format_(format), stream_(format) {}
  Fields fields() const { return Fields(format_); }
  SceneBuilder& element(std::string_view typeId, int baseType, std::int32_t id,
                        std::span<const std::byte> body) {
    stream_.i32(static_cast<std::int32_t>(21 + body.size())).put(*JtGuid::parse(typeId));
    stream_.put(static_cast<std::uint8_t>(baseType)).i32(id).raw(body);
    return *this;
  }
  SceneBuilder& partition(std::int32_t id, const std::vector<std::int32_t>& children,
                          const char* fileName = "") {
    return element(kPartition, 1, id, fields().group(children).partition(fileName));
  }
  SceneBuilder& group(std::int32_t id, const std::vector<std::int32_t>& children,
                      const std::vector<std::int32_t>& attributes = {}) {
    return element(kGroup, 1, id, fields().group(children, attributes));
  }
  SceneBuilder& text(std::int32_t id, const char* value) {
    const int version = format_.major < 10 ? 1 : 2;
    return element(
        kText, 5, id,
        fields().version(version).put(std::uint32_t{0}).version(version).put(JtString(value)));
  }
  SceneBuilder& marker() {
    stream_.i32(16);
    for (int i = 0; i < 16; ++i) stream_.put(std::uint8_t{0xff});
    return *this;
  }
  /// Rows of owner, key, value, key, value ...; the 0 that ends a row is added.
  SceneBuilder& table(const std::vector<std::vector<std::int32_t>>& rows) {
    stream_.put(std::int16_t{1}).i32(static_cast<std::int32_t>(rows.size()));
    for (const auto& row : rows) {
      for (const std::int32_t id : row) stream_.i32(id);
      stream_.i32(0);
    }
    return *this;
  }
  const Bytes& bytes() const { return stream_.bytes(); }

  static constexpr std::string_view kNode = "10dd1035-2ac8-11d1-9b6b-0080c7bb5997";
  static constexpr std::string_view kPartition = "10dd103e-2ac8-11d1-9b6b-0080c7bb5997";
  static constexpr std::string_view kGroup = "10dd101b-2ac8-11d1-9b6b-0080c7bb5997";
  static constexpr std::string_view kPolyline = "10dd1046-2ac8-11d1-9b6b-0080c7bb5997";
  static constexpr std::string_view kMaterial = "10dd1030-2ac8-11d1-9b6b-0080c7bb5997";
  static constexpr std::string_view kXform = "10dd1083-2ac8-11d1-9b6b-0080c7bb5997";
  static constexpr std::string_view kText = "10dd106e-2ac8-11d1-9b6b-0080c7bb5997";
  static constexpr std::string_view kLate = "e0b05be5-fbbd-11d1-a3a7-00aa00d10954";
  static constexpr std::string_view kUnknown = "01234567-89ab-cdef-0123-456789abcdef";

 private:
  jt::file::Format format_;
  Fields stream_;
};

/// A file: header, table of contents and segments in the order in which they were added.
class FileBuilder {
 public:
  explicit FileBuilder(const jt::file::Format& format) : format_(format) {}

  static JtGuid id(std::uint32_t number) { return {0x4a540000U + number, 0, 0x4000, {}}; }
  /// A whole segment with whatever headers it should have.
  FileBuilder& segment(std::uint32_t number, int type, Bytes bytes) {
    parts_.push_back({id(number), type, std::move(bytes)});
    return *this;
  }
  /// A packed segment in the generation's own form.
  FileBuilder& packed(std::uint32_t number, int type, std::span<const std::byte> content) {
    const jt::file::Buffer made = jt::file::writeSegment(content, id(number), type, format_, 6);
    return segment(number, type, {made.bytes().begin(), made.bytes().end()});
  }
  FileBuilder& packed(std::uint32_t number, int type, std::uint32_t flag, int algorithm,
                      const jt::file::Buffer& stream) {
    return packed(number, type, flag, algorithm, stream.bytes());
  }
  /// A packed segment in a form of the caller's choice.
  FileBuilder& packed(std::uint32_t number, int type, std::uint32_t flag, int algorithm,
                      std::span<const std::byte> stream) {
    Fields out(format_);
    out.put(id(number)).i32(type).i32(static_cast<std::int32_t>(33 + stream.size()));
    out.put(flag).i32(static_cast<std::int32_t>(1 + stream.size()));
    out.put(static_cast<std::uint8_t>(algorithm)).raw(stream);
    return segment(number, type, out.bytes());
  }
  FileBuilder& scene(const SceneBuilder& scene) { return packed(1, 1, scene.bytes()); }
  /// Bytes that belong to no segment.
  FileBuilder& gap(std::size_t size) {
    parts_.push_back({{}, -1, Bytes(size, std::byte{0xab})});
    return *this;
  }
  FileBuilder& tocAtEnd() {
    tocAtEnd_ = true;
    return *this;
  }

  Bytes build() const {
    const std::size_t header = jt::file::FileHeader::size(format_);
    const std::size_t rowSize = jt::file::TocEntry::size(format_);
    const auto rows = static_cast<std::size_t>(std::count_if(
        parts_.begin(), parts_.end(), [](const Part& part) { return part.type >= 0; }));
    const std::size_t tocSize = 4 + rows * rowSize;
    std::size_t at = header + (tocAtEnd_ ? 0 : tocSize);
    Fields toc(format_);
    Fields body(format_);
    toc.i32(static_cast<std::int32_t>(rows));
    for (const Part& part : parts_) {
      if (part.type >= 0) {
        toc.put(part.id);
        offset(toc, at);
        toc.put(static_cast<std::uint32_t>(part.bytes.size()));
        toc.put(static_cast<std::uint32_t>(part.type) << 24);
      }
      body.raw(part.bytes);
      at += part.bytes.size();
    }
    Fields out(format_);
    std::string text = "Version " + std::to_string(format_.major) + "." +
                       std::to_string(format_.minor) + " JT  test";
    text.resize(75, ' ');
    text += " \n\r\n ";
    out.raw(std::as_bytes(std::span(text))).put(std::uint8_t{format_.bigEndian}).i32(0);
    offset(out, tocAtEnd_ ? at : header);
    out.put(id(1));
    return (tocAtEnd_ ? out.raw(body).raw(toc) : out.raw(toc).raw(body)).bytes();
  }

 private:
  struct Part {
    JtGuid id;
    int type;
    Bytes bytes;
  };
  void offset(Fields& out, std::size_t value) const {
    if (format_.has(jt::file::Feature::wideToc)) {
      out.put(static_cast<std::uint64_t>(value));
    } else {
      out.i32(static_cast<std::int32_t>(value));
    }
  }
  jt::file::Format format_;
  std::vector<Part> parts_;
  bool tocAtEnd_ = false;
};

/// An element of a segment around its body. @param id stored where the form has one
inline Bytes elementOf(const jt::file::Format& format, std::string_view typeId, int baseType,
                       std::span<const std::byte> body, std::int32_t id = 0) {
  const bool hasId = format.has(jt::file::Feature::segmentObjectIds);
  Fields out(format);
  out.i32(static_cast<std::int32_t>((hasId ? 21 : 17) + body.size()));
  out.put(*JtGuid::parse(typeId)).put(static_cast<std::uint8_t>(baseType));
  if (hasId) out.i32(id);
  return out.raw(body).bytes();
}

/// Every generation whose form differs, in both byte orders.
inline std::vector<jt::file::Format> allFormats() {
  std::vector<jt::file::Format> formats;
  for (const auto& [major, minor] : {std::pair{8, 1}, {9, 5}, {10, 0}, {10, 5}})
    for (const bool big : {false, true}) formats.push_back({major, minor, big});
  return formats;
}
inline std::string formatText(const jt::file::Format& format) {
  return std::to_string(format.major) + "." + std::to_string(format.minor) +
         (format.bigEndian ? " big endian" : "");
}
