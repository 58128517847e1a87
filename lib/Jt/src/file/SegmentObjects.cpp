#include "SegmentObjects.h"

#include <algorithm>
#include <limits>

#include "JtBaseDataStream.h"
#include "JtFactory.h"
#include "MetaDataFields.h"
#include "PMIElement.h"

namespace jt::file {

namespace {

constexpr std::uint8_t kOtherBaseType = 9;

Ref<JtBase> readObject(const SegmentElement& element, const Format& format) {
  if (element.frame.typeId == JtMetaData::classTypeID()->guid()) {
    auto data = make<JtMetaData>();
    Reader reader(element.body, format, element.bodyOffset);
    MetaDataFields::run(reader, *data);
    return data;
  }
  if (element.frame.typeId == PMIDataManager::classTypeID()->guid())
    return PMIAccess::make(readPMI(element.body, format, element.bodyOffset));
  Ref<JtBase> object = JtFactory::create(element.frame.typeId);
  if (!object) return {};
  JtBaseDataStream stream(element.body, format.bigEndian);
  if (!object->deserialize(stream))
    throw JtFormatError("bad_object",
                        std::string("an object of type ") + object->typeID()->name() +
                            " cannot be read from " + std::to_string(element.body.size()) +
                            " bytes",
                        {{}, {}, {}, element.bodyOffset});
  return object;
}

/// The fields of an object in the form of a file. Throws JtFormatError when it does not serialise.
ByteSink bodyOf(const JtBase& object, const Format& format, codec::Report* losses) {
  ByteSink body;
  if (const auto* pmi = as<PMIDataManager>(&object)) {
    codec::Report untold;
    writePMI(body, pmi->data(), format, losses ? *losses : untold);
    return body;
  }
  if (const auto* data = as<JtMetaData>(&object)) {
    Writer writer(body, format);
    writer.setConverting(true);
    JtMetaData copy(*data);
    MetaDataFields::run(writer, copy);
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

void writeNewElement(ByteSink& content, const JtGuid& typeId, std::uint8_t baseType,
                     std::span<const std::byte> body, const Format& format) {
  if (body.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) - kFrameSize)
    throw JtFormatError("too_large", "an element of " + std::to_string(body.size()) +
                                         " bytes cannot be stored; divide it");
  Writer writer(content, format);
  writeElement(writer, {0, typeId, baseType, 0}, body);
}

/// A whole segment around new elements.
Buffer finishSegment(ByteSink& content, const JtGuid& id, std::int32_t type, const Format& format,
                     int level) {
  if (format.has(Feature::segmentObjectIds)) {  // 8.x writers end with the element
    writeEndMarker(content, format);
    Writer writer(content, format);
    writer("propertyTableVersion", std::int16_t{1});
    writer("propertyTableCount", std::int32_t{0});
  }
  return writeSegment(content.bytes(), id, type, format, level);
}

/// A segment has one place for objects of a type.
void checkTypes(std::span<const JtBase* const> objects) {
  for (std::size_t i = 1; i < objects.size(); ++i)
    for (std::size_t k = 0; k < i; ++k)
      if (objects[i]->typeID() == objects[k]->typeID())
        throw JtFormatError("segment_shared", std::string("two changed objects of type ") +
                                                  objects[i]->typeID()->name() +
                                                  " go to one segment; change only one of them");
}

}  // namespace

std::vector<SegmentElement> segmentElements(std::span<const std::byte> content,
                                            const Format& format, std::size_t* end) {
  const bool hasId = format.has(Feature::segmentObjectIds);
  const std::size_t frameSize = hasId ? kFrameSize : kFrameSizeWithoutId;
  std::vector<SegmentElement> elements;
  std::size_t at = 0;
  while (at < content.size()) {
    const std::size_t left = content.size() - at;
    const auto length =
        left >= kLengthSize ? loadScalar<std::int32_t>(content.data() + at, format.bigEndian) : -1;
    if (length < static_cast<std::int32_t>(kMarkerLength) ||
        static_cast<std::size_t>(length) > left - kLengthSize)
      throw JtFormatError("bad_element_length",
                          "expected an element of 16 to " +
                              std::to_string(left < 4 ? 0 : left - 4) +
                              " bytes, found a length of " + std::to_string(length),
                          {{}, {}, "elementLength", at});
    const std::size_t size = kLengthSize + static_cast<std::size_t>(length);
    if (isEndMarker(loadGuid(content.data() + at + kLengthSize, format.bigEndian))) {
      at += size;
      break;
    }
    if (size < frameSize)
      throw JtFormatError("bad_element_length",
                          "an element takes at least " + std::to_string(frameSize - kLengthSize) +
                              " bytes, found " + std::to_string(length),
                          {{}, {}, "elementLength", at});
    SegmentElement& element = elements.emplace_back();
    Reader reader(content.subspan(at, frameSize), format, at);
    fields(reader, element.frame, hasId);
    element.offset = at;
    element.bodyOffset = at + frameSize;
    element.body = content.subspan(at + frameSize, size - frameSize);
    at += size;
  }
  if (end) *end = at;
  return elements;
}

bool isSegmentObject(const SegmentElement& element) {
  const JtGuid& id = element.frame.typeId;
  return id == JtMetaData::classTypeID()->guid() || id == PMIDataManager::classTypeID()->guid() ||
         JtFactory::findType(id);
}

Ref<JtBase> readSegmentObject(const Container& container, const TocEntry& entry,
                              const JtType* wanted) {
  try {
    const SegmentContent content = container.load(entry);
    const auto elements = segmentElements(content.bytes, container.format());
    for (const bool takesPMI : {false, true})
      for (const SegmentElement& element : elements) {
        const JtGuid& type = element.frame.typeId;
        const bool isPMI = type == PMIDataManager::classTypeID()->guid();
        if (isPMI != takesPMI || (wanted && type != wanted->guid())) continue;
        if (Ref<JtBase> object = readObject(element, container.format())) return object;
      }
  } catch (const JtFormatError& error) {
    throw error.within(container.position(entry));
  }
  return {};
}

Buffer writeSegmentObject(const JtBase& object, const JtGuid& id, std::int32_t type,
                          const Format& format, int level, codec::Report* losses) {
  const JtBase* const objects[] = {&object};
  return writeSegmentObjects(objects, id, type, format, level, losses);
}

Buffer writeSegmentObjects(std::span<const JtBase* const> objects, const JtGuid& id,
                           std::int32_t type, const Format& format, int level,
                           codec::Report* losses) {
  checkTypes(objects);
  ByteSink content;
  for (const JtBase* object : objects)
    writeNewElement(content, object->typeID()->guid(), kOtherBaseType,
                    bodyOf(*object, format, losses).bytes(), format);
  return finishSegment(content, id, type, format, level);
}

Buffer writeElementSegment(const JtGuid& typeId, std::uint8_t baseType,
                           std::span<const std::byte> body, const JtGuid& id, std::int32_t type,
                           const Format& format, int level) {
  ByteSink content;
  writeNewElement(content, typeId, baseType, body, format);
  return finishSegment(content, id, type, format, level);
}

Buffer replaceSegmentObjects(const Container& container, const TocEntry& entry,
                             std::span<const JtBase* const> objects, int level) {
  checkTypes(objects);
  const Format& format = container.format();
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
    writeElement(writer, element.frame, bodyOf(**object, format, nullptr).bytes());
    copied = end;
    left.erase(object);
  }
  if (left.size() == objects.size())
    return writeSegmentObjects(objects, entry.id, entry.type(), format, level);
  writer.append(old.bytes.subspan(copied, end - copied));
  for (const JtBase* object : left)
    writeNewElement(content, object->typeID()->guid(), kOtherBaseType,
                    bodyOf(*object, format, nullptr).bytes(), format);
  writer.append(old.bytes.subspan(end));
  return writeSegment(content.bytes(), entry.id, entry.type(), format, level);
}

void writeEndMarker(ByteSink& out, const Format& format) {
  Writer writer(out, format);
  writer("elementLength", static_cast<std::int32_t>(kMarkerLength));
  std::memset(out.extend(kMarkerLength), 0xff, kMarkerLength);
}

Buffer writeSegment(std::span<const std::byte> content, const JtGuid& id, std::int32_t type,
                    const Format& format, int level) {
  const bool isShape = isShapeSegment(type);
  const Packing packing = isShape                     ? Packing::stored
                          : format.has(Feature::lzma) ? Packing::xz
                                                      : Packing::zlib;
  const Buffer stream = pack(content, packing, level);
  const std::size_t headers = kSegmentHeaderSize + (isShape ? 0 : kPackingHeaderSize);
  if (stream.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()) - headers)
    throw JtFormatError("too_large", "a segment of " + std::to_string(stream.size()) +
                                         " bytes cannot be stored; the format allows 2 GiB");
  ByteSink out;
  out.reserve(headers + stream.size());
  Writer writer(out, format);
  SegmentHeader header{id, type, static_cast<std::int32_t>(headers + stream.size())};
  fields(writer, header);
  if (!isShape) {
    PackingHeader packed{packing == Packing::zlib ? 2U : 3U,
                         static_cast<std::int32_t>(stream.size() + 1),
                         static_cast<std::uint8_t>(packing)};
    fields(writer, packed);
  }
  out.append(stream.bytes());
  return std::move(out).take();
}

}  // namespace jt::file
