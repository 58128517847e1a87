#include "file/container/ElementFrame.h"

#include <algorithm>
#include <string>

#include "JtFormatError.h"

namespace jt::file {

namespace {

std::int32_t lengthAt(std::span<const std::byte> content, std::size_t at,
                      const Format& format) noexcept {
  return content.size() - at >= kLengthSize
             ? loadScalar<std::int32_t>(content.data() + at, format.bigEndian)
             : -1;
}

[[noreturn]] void badLength(std::string expected, std::int32_t found, std::size_t at) {
  throw JtFormatError("bad_element_length", std::move(expected) + std::to_string(found),
                      {.element = "elementLength", .offset = at});
}

}  // namespace

std::optional<ElementExtent> findElement(std::span<const std::byte> content, std::size_t at,
                                         const Format& format) noexcept {
  const std::int32_t length = lengthAt(content, at, format);
  if (length < static_cast<std::int32_t>(kMarkerLength) ||
      static_cast<std::size_t>(length) > content.size() - at - kLengthSize)
    return {};
  const JtGuid typeId = loadGuid(content.data() + at + kLengthSize, format.bigEndian);
  return ElementExtent{
      kLengthSize + static_cast<std::size_t>(length), typeId,
      typeId.data1 == 0xffffffffU && typeId.data2 == 0xffffU && typeId.data3 == 0xffffU &&
          std::ranges::all_of(typeId.data4, [](auto byte) { return byte == 0xff; })};
}

ElementExtent elementAt(std::span<const std::byte> content, std::size_t at, const Format& format,
                        std::size_t frameSize) {
  const std::optional<ElementExtent> element = findElement(content, at, format);
  const std::size_t left = content.size() - at;
  if (!element)
    badLength("expected an element of 16 to " +
                  std::to_string(left < kLengthSize ? 0 : left - kLengthSize) +
                  " bytes, found a length of ",
              lengthAt(content, at, format), at);
  if (!element->isEndMarker && element->size < frameSize)
    badLength(
        "an element takes at least " + std::to_string(frameSize - kLengthSize) + " bytes, found ",
        lengthAt(content, at, format), at);
  return *element;
}

}  // namespace jt::file
