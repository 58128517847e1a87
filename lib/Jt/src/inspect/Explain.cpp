#include <cstring>

#include "JtInspect.h"
#include "file/elements/ElementTable.h"
#include "file/elements/MetaDataFields.h"
#include "file/pmi/PMIElement.h"
#include "file/segments/SegmentObjects.h"
#include "file/segments/WireframeElement.h"
#include "file/shapes/ShapeTable.h"

namespace jt {

namespace {

using namespace file;

/// Hands fields on with a path in front of their name and an offset added. Fields of the same name
/// in a row get a number.
class PathListener : public FieldListener {
 public:
  explicit PathListener(ExplainSink& sink) : sink_(sink) {}

  void enter(std::string path, std::int32_t objectId = 0) {
    path_ = std::move(path);
    objectId_ = objectId;
    last_.clear();
  }
  void setBase(std::uint64_t base) { base_ = base; }

  void field(std::size_t offset, std::size_t size, const char* name, const char* type,
             const std::string& value) override {
    repeat_ = last_ == name ? repeat_ + 1 : 0;
    last_ = name;
    std::string path = path_ + "." + name;
    if (repeat_ > 0) path += "[" + std::to_string(repeat_) + "]";
    sink_.field({base_ + offset, size, std::move(path), type, value, objectId_});
  }
  /// Bytes that are reported as they are.
  void bytes(std::size_t offset, std::span<const std::byte> bytes, const char* name) {
    if (!bytes.empty())
      field(offset, bytes.size(), name, "bytes", valueText(bytes.data(), bytes.size()));
  }

 private:
  ExplainSink& sink_;
  std::string path_;
  std::int32_t objectId_ = 0;
  std::uint64_t base_ = 0;
  std::string last_;
  std::size_t repeat_ = 0;
};

class Explainer {
 public:
  Explainer(const Container& container, ExplainSink& sink)
      : container_(container), sink_(sink), listener_(sink) {}

  void header() {
    const auto bytes = container_.image().bytes();
    listener_.enter("header");
    const std::string text = container_.versionText().substr(0, 75);
    listener_.field(0, kVersionTextSize, "version", "text",
                    text.substr(0, text.find_last_not_of(' ') + 1));
    FileHeader header;
    auto reader = tracer(
        bytes.subspan(kVersionTextSize, FileHeader::size(container_.format()) - kVersionTextSize),
        kVersionTextSize);
    fields(reader, header);
  }

  void toc() {
    const auto bytes = container_.image().bytes();
    const auto at = static_cast<std::size_t>(container_.header().tocOffset);
    listener_.enter("toc");
    auto reader = tracer(bytes.subspan(at), at);
    std::int32_t count = 0;
    reader("entryCount", count);
    for (std::int32_t i = 0; i < count; ++i) {
      listener_.enter("toc[" + std::to_string(i) + "]");
      TocEntry entry;
      fields(reader, entry);
    }
  }

  void segment(std::size_t index) {
    const TocEntry& entry = container_.toc()[index];
    const auto all = container_.segmentBytes(entry);
    ExplainedSegment explained{index, entry.id, entry.type(), "none", false, all.size()};
    const auto packing = container_.packingHeader(entry);
    SegmentContent content;
    std::string damage;
    try {
      content = container_.load(entry);
      explained.inflatedOffsets = content.packed;
      explained.size = content.bytes.size();
    } catch (const JtFormatError& error) {
      damage = error.message();
    }
    if (packing)
      explained.compression = packing->algorithm == 3   ? "xz"
                              : packing->algorithm == 2 ? "zlib"
                                                        : "stored";
    sink_.beginSegment(explained);
    listener_.enter("segment");
    auto reader = tracer(all, static_cast<std::size_t>(entry.offset));
    SegmentHeader header;
    fields(reader, header);
    if (packing) {
      PackingHeader packed;
      fields(reader, packed);
    }
    if (!damage.empty()) {
      listener_.bytes(reader.offset(), reader.rest(), "damagedStream");
      return;
    }
    listener_.setBase(content.packed ? 0 : content.fileOffset);
    content_ = content.bytes;
    if (entry.id == container_.sceneEntry().id) {
      scene();
    } else {
      other();
    }
    listener_.setBase(0);
  }

 private:
  TracingReader tracer(std::span<const std::byte> bytes, std::size_t base) {
    memory_.clear();  // what was read last is gone
    TracingReader reader(bytes, container_.format(), base, &listener_);
    reader.countIn(memory_);
    return reader;
  }

  /// Reports one element; returns the offset behind it, or its own offset when it cannot be one.
  std::size_t element(std::size_t at, std::size_t number, bool hasId, bool& isMarker) {
    const auto rest = content_.subspan(at);
    const auto [size, isEndMarker] = findElement(content_, at, container_.format());
    if (size == 0) return at;
    isMarker = isEndMarker;
    const std::size_t frameSize = hasId ? kFrameSize : kFrameSizeWithoutId;
    const std::string position = "elements[" + std::to_string(number) + "]";
    if (isMarker || size < frameSize) {
      listener_.enter(position + (isMarker ? " end marker" : ""));
      auto reader = tracer(rest.first(size), at);
      std::int32_t length = 0;
      JtGuid id;
      reader("elementLength", length);
      reader("objectTypeId", id);
      listener_.bytes(reader.offset(), reader.rest(), "rest");
      return at + size;
    }
    const JtGuid typeId = loadGuid(rest.data() + kLengthSize, container_.format().bigEndian);
    const ElementKind* kind = findElementKind(typeId);
    const ShapeKind* shape = findShapeKind(typeId);
    const bool isMetaData = typeId == JtMetaData::classTypeID()->guid();
    const bool isPMI = typeId == PMIDataManager::classTypeID()->guid();
    const bool isWireframe = typeId == JtWireframeRep::classTypeID()->guid();
    const std::int32_t objectId = hasId
                                      ? loadScalar<std::int32_t>(rest.data() + kFrameSizeWithoutId,
                                                                 container_.format().bigEndian)
                                      : 0;
    listener_.enter(position + " " +
                        (kind          ? kind->name
                         : shape       ? shape->name
                         : isMetaData  ? "Property Proxy Meta Data"
                         : isPMI       ? "PMI Manager Meta Data"
                         : isWireframe ? "Wireframe Rep"
                                       : "Unknown Element"),
                    objectId);
    auto reader = tracer(rest.first(size), at);
    ElementFrame frame;
    fields(reader, frame, hasId);
    if (shape) {
      shapeBody(reader, *shape);
    } else if (isPMI) {
      tracedBody(reader, tracePMI);
    } else if (isWireframe) {
      tracedBody(reader, traceWireframe);
    } else {
      body(reader, kind, isMetaData);
    }
    return at + size;
  }

  /// Fields of a known kind, as far as they can be read; the rest as bytes.
  void body(TracingReader& reader, const ElementKind* kind, bool isMetaData) {
    try {
      if (isMetaData) {
        JtMetaData data;
        MetaDataFields::run(reader, data);
      } else if (kind) {
        // Lengths decide between forms, so the fields must see nothing but the body.
        TracingReader inner(reader.rest(), container_.format(), reader.offset(), &listener_);
        inner.countIn(memory_);
        const Ref<JtSceneObject> scratch = kind->create();
        kind->trace(inner, *scratch);
        return;
      }
    } catch (const JtFormatError& error) {
      listener_.field(error.where().offset.value_or(reader.offset()), 0, "damaged", "error",
                      error.message());
      return;
    }
    listener_.bytes(reader.offset(), reader.rest(), "data");
  }

  /// Fields of PMI or a wireframe, as far as they can be read.
  template <class Trace>
  void tracedBody(const TracingReader& reader, const Trace& trace) {
    std::size_t end = reader.offset();
    try {
      trace(reader.rest(), container_.format(), reader.offset(), listener_, &memory_);
      return;
    } catch (const JtFormatError& error) {
      end = static_cast<std::size_t>(error.where().offset.value_or(end));
      listener_.field(end, 0, "damaged", "error", error.message());
    }
    const auto behind = std::min(end - reader.offset(), reader.rest().size());
    listener_.bytes(end, reader.rest().subspan(behind), "data");
  }

  /// Fields of a shape element, as far as they can be read.
  void shapeBody(const TracingReader& reader, const ShapeKind& kind) {
    TracingReader inner(reader.rest(), container_.format(), reader.offset(), &listener_);
    ShapeElement scratch(
        codec::Budget::forInput(inner.left(), container_.limits().maxSegmentBytes, &memory_));
    inner.countIn(memory_);
    scratch.kind = kind.kind;
    try {
      kind.trace(inner, scratch);
    } catch (const JtFormatError& error) {
      listener_.field(error.where().offset.value_or(inner.offset()), 0, "damaged", "error",
                      error.message());
      listener_.bytes(inner.offset(), inner.rest(), "data");
    }
  }

  std::size_t elementList(std::size_t at, std::size_t& number, bool hasId) {
    while (at < content_.size()) {
      bool isMarker = false;
      const std::size_t next = element(at, number, hasId, isMarker);
      if (next == at) break;
      at = next;
      ++number;
      if (isMarker) break;
    }
    return at;
  }

  void scene() {
    std::size_t number = 0;
    std::size_t at = elementList(0, number, true);
    at = elementList(at, number, true);
    propertyTable(at);
  }

  void other() {
    std::size_t number = 0;
    const std::size_t at =
        elementList(0, number, container_.format().has(Feature::segmentObjectIds));
    propertyTable(at);
  }

  void propertyTable(std::size_t at) {
    listener_.enter("propertyTable");
    auto reader = tracer(content_.subspan(at), at);
    try {
      if (reader.left() >= 6) {
        std::int16_t version = 0;
        std::int32_t count = 0;
        reader("version", version);
        reader("elementCount", count);
        for (std::int32_t i = 0; i < count; ++i) {
          listener_.enter("propertyTable[" + std::to_string(i) + "]");
          std::int32_t owner = 0;
          std::int32_t key = 0;
          std::int32_t value = 0;
          reader("elementObjectId", owner);
          for (reader("keyObjectId", key); key != 0; reader("keyObjectId", key))
            reader("valueObjectId", value);
        }
      }
    } catch (const JtFormatError&) {
      // What is left is reported as bytes.
    }
    listener_.enter("rest");
    listener_.bytes(reader.offset(), reader.rest(), "bytes");
  }

  const Container& container_;
  ExplainSink& sink_;
  PathListener listener_;
  std::span<const std::byte> content_;
  MemoryShare memory_ = container_.share();  // of the element that is read
};

std::size_t askedSegment(const Container& container, const ExplainOptions& options) {
  const auto toc = container.toc();
  if (options.segmentIndex && *options.segmentIndex < toc.size()) return *options.segmentIndex;
  if (options.segmentId)
    for (std::size_t i = 0; i < toc.size(); ++i)
      if (toc[i].id == *options.segmentId) return i;
  throw JtFormatError(
      "no_segment",
      "the file has no such segment; it has " + std::to_string(toc.size()) + ", numbered from 0",
      {container.image().name(), {}, {}, {}});
}

}  // namespace

void explain(const JtStorageLocation& location, const ExplainOptions& options, ExplainSink& sink) {
  const Ref<Container> container =
      Container::open(JtStorageManager::current()->open(location), options.limits);
  Explainer explainer(*container, sink);
  if (options.segmentIndex || options.segmentId) {
    explainer.segment(askedSegment(*container, options));
    return;
  }
  explainer.header();
  explainer.toc();
  for (std::size_t i = 0; i < container->toc().size(); ++i) explainer.segment(i);
}

}  // namespace jt
