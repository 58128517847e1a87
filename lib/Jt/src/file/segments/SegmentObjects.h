#pragma once

// Objects that live in segments of their own: metadata and the late-loaded properties of
// applications.

#include "JtBase.h"
#include "codec/vertex/VertexArrays.h"
#include "file/container/Container.h"
#include "file/container/ElementFrame.h"

namespace jt::file {

/// One element of a segment.
struct SegmentElement {
  ElementFrame frame;
  std::size_t offset = 0;  ///< of the frame in the segment's content
  std::size_t bodyOffset = 0;
  std::span<const std::byte> body;
};

/// The elements of a segment's content up to the end marker or the end, whichever comes first.
/// Throws JtFormatError at a length that cannot be. @param end offset behind the last element
std::vector<SegmentElement> segmentElements(std::span<const std::byte> content,
                                            const Format& format, std::size_t* end = nullptr);

/// False for an object whose form in a version is not known; others can be added to any segment.
bool hasForm(const JtBase& object, const Format& format);

/// An element as an object: metadata, PMI, wireframes, and the types that an application registered
/// with JtFactory. Empty for other types. Throws JtFormatError when it is damaged.
/// @param memory counts the object; null: it is gone soon
Ref<JtBase> readSegmentObject(const SegmentElement& element, const Format& format,
                              MemoryShare* memory = nullptr);

/// The first element whose type is known to JtFactory, or is metadata or a wireframe, as an object;
/// PMI when there is no other. Empty when there is none. Throws JtFormatError when it is damaged.
/// @param wanted only an element of this type; null: any
/// @param memory counts the object; null: the container's budget, until this returns
Ref<JtBase> readSegmentObject(const Container& container, const TocEntry& entry,
                              const JtType* wanted = nullptr, MemoryShare* memory = nullptr);

/// A segment of new elements in the form of a file.
class SegmentBuilder {
 public:
  explicit SegmentBuilder(const Format& format) : format_(format) {}

  /// An element with a finished body. Throws JtFormatError when it is too large.
  void add(const JtGuid& typeId, std::uint8_t baseType, std::span<const std::byte> body);
  /// Throws JtFormatError when the object does not serialise.
  /// @param losses takes what the form cannot hold
  void add(const JtBase& object, codec::Report* losses = nullptr);
  bool isEmpty() const noexcept { return content_.size() == 0; }
  /// What was added so far.
  std::span<const std::byte> elements() const noexcept { return content_.bytes(); }
  /// The whole segment.
  Buffer finish(const JtGuid& id, std::int32_t type, int level) &&;

 private:
  Format format_;
  ByteSink content_;
};

/// A segment of a file with objects, of a type each, in the place of the elements that they were
/// read from. Other elements of the segment and what follows them stay as they are. A segment with
/// no element of these types is replaced.
/// @param format of the new segment, of which sameSegmentsAs() is true
/// @param losses takes what the form cannot hold; may be null
Buffer replaceSegmentObjects(const Container& container, const TocEntry& entry,
                             std::span<const JtBase* const> objects, const Format& format,
                             int level, codec::Report* losses);

/// The element that ends a list.
void writeEndMarker(ByteSink& out, const Format& format);

/// A whole segment around finished content, packed as the generation does it.
Buffer writeSegment(std::span<const std::byte> content, const JtGuid& id, std::int32_t type,
                    const Format& format, int level);

/// How the generation packs segments of a type.
Packing packingOf(std::int32_t type, const Format& format);

/// A whole segment around content that is packed as packingOf() says.
Buffer wrapSegment(std::span<const std::byte> packed, const JtGuid& id, std::int32_t type,
                   const Format& format);

/// A whole segment under another id.
Buffer renamedSegment(std::span<const std::byte> segment, const JtGuid& id, const Format& format);

}  // namespace jt::file
