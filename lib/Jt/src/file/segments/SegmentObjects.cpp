#include "file/segments/SegmentObjects.h"

#include <algorithm>
#include <limits>

#include "JtBaseDataStream.h"
#include "JtFactory.h"
#include "file/elements/MetaDataFields.h"
#include "file/pmi/PMIElement.h"
#include "file/segments/WireframeElement.h"

namespace jt::file {

namespace {

constexpr std::uint8_t kOtherBaseType = 9;

/// The fields of an object in the form of a file. Throws JtFormatError when it does not serialise.
ByteSink bodyOf(const JtBase& object, const Format& format, codec::Report* losses) {
  ByteSink body;
  if (const auto* pmi = as<PMIDataManager>(&object)) {
    codec::Report untold;
    writePMI(body, pmi->data(), format, losses ? *losses : untold);
    return body;
  }
  if (const auto* wires = as<JtWireframeRep>(&object)) {
    writeWireframe(body, wires->data(), format);
    return body;
  }
  if (const auto* data = as<JtMetaData>(&object)) {
    Writer writer(body, format);
    writer.setConverting(true);
    MetaDataFields::run(writer, *data);
    return body;
  }
  JtBaseDataStream stream(format.bigEndian);
  if (!object.serialize(stream))
    throw JtFormatError("bad_object", std::string("an object of type ") + object.typeID()->name() +
                                          " cannot be written");
  body.append(stream.written());
  return body;
}

/// Frame and body; the frame's length is worked out here.
void writeElement(Writer& writer, ElementFrame frame, std::span<const std::byte> body) {
  const bool hasId = writer.has(Feature::segmentObjectIds);
  frame.length = static_cast<std::int32_t>((hasId ? kFrameSize : kFrameSizeWithoutId) -
                                           kLengthSize + body.size());
  fields(writer, frame, hasId);
  writer.append(body);
}

}  // namespace

bool hasForm(const JtBase& object, const Format& format) {
  const auto* wires = as<JtWireframeRep>(&object);
  return !wires || canWriteWireframe(wires->data(), format);
}

std::vector<SegmentElement> segmentElements(std::span<const std::byte> content,
                                            const Format& format, std::size_t* end) {
  const bool hasId = format.has(Feature::segmentObjectIds);
  const std::size_t frameSize = hasId ? kFrameSize : kFrameSizeWithoutId;
  std::vector<SegmentElement> elements;
  std::size_t at = 0;
  while (at < content.size()) {
    const ElementExtent extent = elementAt(content, at, format, frameSize);
    const std::size_t next = at + extent.size;
    if (extent.isEndMarker) {
      at = next;
      break;
    }
    SegmentElement& element = elements.emplace_back();
    Reader reader(content.subspan(at, frameSize), format, at);
    fields(reader, element.frame, hasId);
    element.offset = at;
    element.bodyOffset = at + frameSize;
    element.body = content.subspan(at + frameSize, extent.size - frameSize);
    at = next;
  }
  if (end) *end = at;
  return elements;
}

Ref<JtBase> readSegmentObject(const SegmentElement& element, const Format& format,
                              MemoryShare* memory) {
  if (element.frame.typeId == JtMetaData::classTypeID()->guid()) {
    auto data = make<JtMetaData>();
    Reader reader(element.body, format, element.bodyOffset);
    if (memory) reader.countIn(*memory);
    MetaDataFields::run(reader, *data);
    return data;
  }
  if (element.frame.typeId == PMIDataManager::classTypeID()->guid())
    return PMIAccess::make(readPMI(element.body, format, element.bodyOffset, memory));
  if (element.frame.typeId == JtWireframeRep::classTypeID()->guid())
    return WireframeAccess::make(readWireframe(element.body, format, element.bodyOffset, memory));
  Ref<JtBase> object = JtFactory::create(element.frame.typeId);
  if (!object) return {};
  if (memory) memory->take(element.body.size());
  JtBaseDataStream stream(element.body, format.bigEndian);
  if (!object->deserialize(stream))
    throw JtFormatError("bad_object",
                        std::string("an object of type ") + object->typeID()->name() +
                            " cannot be read from " + std::to_string(element.body.size()) +
                            " bytes",
                        {.offset = element.bodyOffset});
  return object;
}

Ref<JtBase> readSegmentObject(const Container& container, const TocEntry& entry,
                              const JtType* wanted, MemoryShare* memory) {
  MemoryShare transient = container.share();
  if (!memory) memory = &transient;
  try {
    const SegmentContent content = container.load(entry);
    const auto elements = segmentElements(content.bytes, container.format());
    for (const bool takesPMI : {false, true})
      for (const SegmentElement& element : elements) {
        const JtGuid& type = element.frame.typeId;
        const bool isPMI = type == PMIDataManager::classTypeID()->guid();
        if (isPMI != takesPMI || (wanted && type != wanted->guid())) continue;
        if (Ref<JtBase> object = readSegmentObject(element, container.format(), memory))
          return object;
      }
  } catch (const JtFormatError& error) {
    throw error.within(container.position(entry));
  }
  return {};
}

void SegmentBuilder::add(const JtGuid& typeId, std::uint8_t baseType,
                         std::span<const std::byte> body) {
  if (body.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) - kFrameSize)
    throw JtFormatError("too_large", "an element of " + std::to_string(body.size()) +
                                         " bytes cannot be stored; divide it");
  Writer writer(content_, format_);
  writeElement(writer, {0, typeId, baseType, 0}, body);
}

void SegmentBuilder::add(const JtBase& object, codec::Report* losses) {
  add(object.typeID()->guid(), kOtherBaseType, bodyOf(object, format_, losses).bytes());
}

Buffer SegmentBuilder::finish(const JtGuid& id, std::int32_t type, int level) && {
  if (format_.has(Feature::segmentObjectIds)) {  // 8.x writers end with the element
    writeEndMarker(content_, format_);
    Writer writer(content_, format_);
    writer("propertyTableVersion", std::int16_t{1});
    writer("propertyTableCount", std::int32_t{0});
  }
  return writeSegment(content_.bytes(), id, type, format_, level);
}

Buffer replaceSegmentObjects(const Container& container, const TocEntry& entry,
                             std::span<const JtBase* const> objects, const Format& format,
                             int level, codec::Report* losses) {
  const SegmentContent old = container.load(entry);
  std::vector<const JtBase*> left(objects.begin(), objects.end());
  ByteSink content;
  Writer writer(content, format);
  std::size_t copied = 0;  // how far `old` has been taken over
  std::size_t end = 0;     // of the last element
  for (const SegmentElement& element : segmentElements(old.bytes, format)) {
    end = element.bodyOffset + element.body.size();
    const auto object = std::ranges::find_if(left, [&](const JtBase* candidate) {
      return candidate->typeID()->guid() == element.frame.typeId;
    });
    if (object == left.end()) continue;
    writer.append(old.bytes.subspan(copied, element.offset - copied));
    writeElement(writer, element.frame, bodyOf(**object, format, losses).bytes());
    copied = end;
    left.erase(object);
  }
  SegmentBuilder further(format);
  for (const JtBase* object : left) further.add(*object, losses);
  if (left.size() == objects.size())
    return std::move(further).finish(entry.id, entry.type(), level);
  writer.append(old.bytes.subspan(copied, end - copied));
  writer.append(further.elements());
  writer.append(old.bytes.subspan(end));
  return writeSegment(content.bytes(), entry.id, entry.type(), format, level);
}

void writeEndMarker(ByteSink& out, const Format& format) {
  Writer writer(out, format);
  writer("elementLength", static_cast<std::int32_t>(kMarkerLength));
  std::memset(out.extend(kMarkerLength), 0xff, kMarkerLength);
}

Packing packingOf(std::int32_t type, const Format& format) {
  if (isShapeSegment(type)) return Packing::stored;
  return format.has(Feature::lzma) ? Packing::xz : Packing::zlib;
}

Buffer writeSegment(std::span<const std::byte> content, const JtGuid& id, std::int32_t type,
                    const Format& format, int level) {
  return wrapSegment(pack(content, packingOf(type, format), level).bytes(), id, type, format);
}

Buffer wrapSegment(std::span<const std::byte> packed, const JtGuid& id, std::int32_t type,
                   const Format& format) {
  const Packing packing = packingOf(type, format);
  const bool isStored = packing == Packing::stored;
  const std::size_t headers = kSegmentHeaderSize + (isStored ? 0 : kPackingHeaderSize);
  if (packed.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) - headers)
    throw JtFormatError("too_large", "a segment of " + std::to_string(packed.size()) +
                                         " bytes cannot be stored; the format allows 2 GiB");
  ByteSink out;
  out.reserve(headers + packed.size());
  Writer writer(out, format);
  SegmentHeader header{id, type, static_cast<std::int32_t>(headers + packed.size())};
  fields(writer, header);
  if (!isStored) {
    PackingHeader packingHeader{packing == Packing::zlib ? 2U : 3U,
                                static_cast<std::int32_t>(packed.size() + 1),
                                static_cast<std::uint8_t>(packing)};
    fields(writer, packingHeader);
  }
  out.append(packed);
  return std::move(out).take();
}

Buffer renamedSegment(std::span<const std::byte> segment, const JtGuid& id, const Format& format) {
  ByteSink out;
  out.reserve(segment.size());
  Reader reader(segment, format);
  SegmentHeader header;
  fields(reader, header);
  header.id = id;
  Writer writer(out, format);
  fields(writer, header);
  out.append(reader.rest());
  return std::move(out).take();
}

}  // namespace jt::file
