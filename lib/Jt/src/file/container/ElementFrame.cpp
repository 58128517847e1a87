#include "file/container/ElementFrame.h"

#include <string>

#include "JtFormatError.h"

namespace jt::file {

void failElementLength(std::span<const std::byte> content, std::size_t at, const Format& format,
                       std::size_t frameSize) {
  const std::size_t left = content.size() - at;
  const std::string expected =
      findElement(content, at, format).size
          ? "an element takes at least " + std::to_string(frameSize - kLengthSize) +
                " bytes, found "
          : "expected an element of 16 to " +
                std::to_string(left < kLengthSize ? 0 : left - kLengthSize) +
                " bytes, found a length of ";
  throw JtFormatError("bad_element_length",
                      expected + std::to_string(elementLength(content, at, format)),
                      {.element = "elementLength", .offset = at});
}

}  // namespace jt::file
