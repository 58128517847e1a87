#include "JtFormatError.h"

#include <charconv>
#include <utility>

namespace {

std::string placeText(const jt::FilePosition& where) {
  std::string place;
  const auto add = [&place](std::string_view part) {
    if (!place.empty()) place += ", ";
    place += part;
  };
  if (!where.segment.empty()) add("segment " + where.segment);
  if (!where.element.empty()) add("element " + where.element);
  if (where.offset) {
    char digits[16];
    char* const end = std::to_chars(digits, digits + sizeof digits, *where.offset, 16).ptr;
    add("offset 0x" + std::string(digits, end));
  }
  return place;
}

std::string fullText(const std::string& message, const jt::FilePosition& where) {
  std::string text;
  for (const std::string& part : {where.file, placeText(where)})
    if (!part.empty()) text += part + ": ";
  return text + message;
}

}  // namespace

JtFormatError::JtFormatError(std::string code, std::string message, jt::FilePosition where)
    : std::runtime_error(fullText(message, where)),
      code_(std::move(code)),
      message_(std::move(message)),
      where_(std::move(where)) {}

JtFormatError JtFormatError::within(const jt::FilePosition& outer) const {
  jt::FilePosition where = where_;
  if (where.file.empty()) where.file = outer.file;
  if (where.segment.empty()) where.segment = outer.segment;
  if (where.element.empty()) where.element = outer.element;
  if (!where.offset) where.offset = outer.offset;
  return {code_, message_, std::move(where)};
}

jt::Diagnostic JtFormatError::diagnostic() const {
  return {code_, message_, where_.segment, where_.offset, true};
}
