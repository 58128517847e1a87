#pragma once

// Elements of a segment: where they lie, and the frame that each begins with.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

#include "JtGuid.h"
#include "file/archive/Archive.h"

namespace jt::file {

/// The frame that every element begins with.
struct ElementFrame {
  std::int32_t length = 0;  ///< bytes behind this field
  JtGuid typeId;
  std::uint8_t baseType = 0;
  std::int32_t objectId = 0;
};

inline constexpr std::size_t kLengthSize = 4;
inline constexpr std::size_t kMarkerLength = 16;           ///< length of the end-of-elements marker
inline constexpr std::size_t kFrameSize = 4 + 16 + 1 + 4;  ///< with object id
inline constexpr std::size_t kFrameSizeWithoutId = 4 + 16 + 1;

template <class Ar>
void fields(Ar& ar, ElementFrame& frame, bool hasObjectId) {
  ar("elementLength", frame.length);
  ar("objectTypeId", frame.typeId);
  ar("objectBaseType", frame.baseType);
  if (hasObjectId) ar("objectId", frame.objectId);
}

/// An element of a segment's content, or the marker that ends a list of elements.
struct ElementExtent {
  std::size_t size = 0;  ///< frame and body; 0: the length that is stated cannot be
  bool isEndMarker = false;
};

/// The length that an element states, or -1 where there is no room for one.
inline std::int32_t elementLength(std::span<const std::byte> content, std::size_t at,
                                  const Format& format) noexcept {
  return content.size() - at >= kLengthSize
             ? loadScalar<std::int32_t>(content.data() + at, format.bigEndian)
             : -1;
}

/// The element at an offset; its size is 0 when its length cannot be. The element may be shorter
/// than a frame. Scans call this for every element of a file: few words, nothing copied.
inline ElementExtent findElement(std::span<const std::byte> content, std::size_t at,
                                 const Format& format) noexcept {
  static constexpr auto kMarkerId = [] {
    std::array<std::byte, kMarkerLength> id{};
    id.fill(std::byte{0xff});
    return id;
  }();
  const std::int32_t length = elementLength(content, at, format);
  if (length < static_cast<std::int32_t>(kMarkerLength) ||
      static_cast<std::size_t>(length) > content.size() - at - kLengthSize)
    return {};
  return {kLengthSize + static_cast<std::size_t>(length),
          std::memcmp(content.data() + at + kLengthSize, kMarkerId.data(), kMarkerId.size()) == 0};
}

/// Throws JtFormatError: the element at an offset cannot be as long as it states.
[[noreturn]] void failElementLength(std::span<const std::byte> content, std::size_t at,
                                    const Format& format, std::size_t frameSize);

/// The element or marker at an offset. Throws JtFormatError when its length cannot be.
/// @param frameSize the fewest bytes of an element that is no marker
inline ElementExtent elementAt(std::span<const std::byte> content, std::size_t at,
                               const Format& format, std::size_t frameSize) {
  const ElementExtent element = findElement(content, at, format);
  if (element.size < (element.isEndMarker ? kLengthSize + kMarkerLength : frameSize))
    failElementLength(content, at, format, frameSize);
  return element;
}

}  // namespace jt::file
