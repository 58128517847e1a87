#include "inspect/compare/Values.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "JtInspect.h"

namespace jt::compare_detail {

namespace {

std::string dateText(const DateFields& date) {
  char text[64];
  std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02d", date.year, date.month + 1,
                date.day, date.hour, date.minute, date.second);
  return text;
}

template <class Range>
std::vector<double> numbers(const Range& range) {
  std::vector<double> all;
  all.reserve(std::size(range));
  for (const auto value : range) all.push_back(static_cast<double>(value));
  return all;
}

/// Single-precision numbers are reported as they are written, not with the digits of a double.
double shortest(float value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.9g", static_cast<double>(value));
  for (int digits = 6; digits < 9; ++digits) {
    char candidate[32];
    std::snprintf(candidate, sizeof candidate, "%.*g", digits, static_cast<double>(value));
    if (std::strtof(candidate, nullptr) == value) return std::strtod(candidate, nullptr);
  }
  return std::strtod(text, nullptr);
}

}  // namespace

bool isClose(double a, double b, double tolerance) noexcept {
  return a == b || std::abs(a - b) <= tolerance || (std::isnan(a) && std::isnan(b));
}

bool isClose(std::span<const double> a, std::span<const double> b, double tolerance) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](double x, double y) { return isClose(x, y, tolerance); });
}

bool sameAtom(const JtPropAtom& a, const JtPropAtom& b) {
  if (a.typeID() != b.typeID()) return false;
  if (const auto* text = as<JtStringPropAtom>(&a))
    return text->value() == static_cast<const JtStringPropAtom&>(b).value();
  if (const auto* number = as<JtInt32PropAtom>(&a))
    return number->value() == static_cast<const JtInt32PropAtom&>(b).value();
  if (const auto* number = as<JtFloatPropAtom>(&a))
    return isClose(number->value(), static_cast<const JtFloatPropAtom&>(b).value(), 0);
  if (const auto* vector = as<JtVector4fPropAtom>(&a))
    return isClose(numbers(vector->value()),
                   numbers(static_cast<const JtVector4fPropAtom&>(b).value()), 0);
  if (const auto* date = as<JtDatePropAtom>(&a)) {
    const auto& other = static_cast<const JtDatePropAtom&>(b);
    return date->value() == other.value() &&
           (!date->utcOffset() || !other.utcOffset() || date->utcOffset() == other.utcOffset());
  }
  return true;
}

ComparedValue atomValue(const JtPropAtom& atom) {
  if (const auto* text = as<JtStringPropAtom>(&atom)) return text->value().stringToMbs();
  if (const auto* number = as<JtInt32PropAtom>(&atom)) return std::int64_t{number->value()};
  if (const auto* number = as<JtFloatPropAtom>(&atom)) return shortest(number->value());
  if (const auto* date = as<JtDatePropAtom>(&atom)) return dateText(date->value());
  if (const auto* vector = as<JtVector4fPropAtom>(&atom)) {
    std::vector<double> parts;
    for (const float part : vector->value()) parts.push_back(shortest(part));
    return parts;
  }
  if (const auto* late = as<JtLateLoadedPropAtom>(&atom))
    return "segment " + late->segmentId().text();
  if (const auto* pointer = as<JtPtrPropAtom>(&atom))
    return pointer->targetId() ? "object " + std::to_string(pointer->targetId())
                               : std::string("no object");
  return elementName(&atom);
}

std::string atomText(const JtPropAtom& atom) {
  const ComparedValue value = atomValue(atom);
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* number = std::get_if<std::int64_t>(&value)) return std::to_string(*number);
  if (const auto* number = std::get_if<double>(&value)) return file::valueText(*number, true);
  return elementName(&atom);
}

bool sameMetaValue(const JtMetaData::Value& a, const JtMetaData::Value& b) {
  const auto* x = std::get_if<float>(&a);
  const auto* y = std::get_if<float>(&b);
  return x && y ? isClose(*x, *y, 0) : a == b;
}

ComparedValue metaValue(const JtMetaData::Value& value) {
  if (const auto* text = std::get_if<JtString>(&value)) return text->stringToMbs();
  if (const auto* integer = std::get_if<std::int32_t>(&value)) return std::int64_t{*integer};
  if (const auto* number = std::get_if<float>(&value)) return shortest(*number);
  if (const auto* date = std::get_if<DateFields>(&value)) return dateText(*date);
  return std::string();
}

bool sameField(const file::FieldList& a, const file::FieldList::Field& fieldA,
               const file::FieldList& b, const file::FieldList::Field& fieldB, double tolerance) {
  if (fieldA.kind != fieldB.kind) return false;
  switch (fieldA.kind) {
    case file::FieldList::Kind::integers:
      return std::ranges::equal(a.integersOf(fieldA), b.integersOf(fieldB));
    case file::FieldList::Kind::reals:
      return isClose(a.realsOf(fieldA), b.realsOf(fieldB), tolerance);
    case file::FieldList::Kind::text:
      return *fieldA.text == *fieldB.text;
    case file::FieldList::Kind::bytes:
      return std::ranges::equal(fieldA.bytes, fieldB.bytes);
  }
  return false;
}

ComparedValue fieldValue(const file::FieldList& list, const file::FieldList::Field& field) {
  switch (field.kind) {
    case file::FieldList::Kind::integers:
      if (field.count == 1) return list.integersOf(field)[0];
      return numbers(list.integersOf(field));
    case file::FieldList::Kind::reals: {
      std::vector<double> parts;
      for (const double part : list.realsOf(field))
        parts.push_back(shortest(static_cast<float>(part)));
      if (parts.size() == 1) return parts[0];
      return parts;
    }
    case file::FieldList::Kind::text:
      return field.text->stringToMbs();
    case file::FieldList::Kind::bytes:
      return bytesText(field.bytes, {});
  }
  return {};
}

std::string bytesText(std::span<const std::byte> bytes, std::span<const std::byte> other) {
  std::string text = std::to_string(bytes.size()) + " bytes";
  if (bytes.empty() || other.empty()) return text;
  const auto apart = std::ranges::mismatch(bytes, other).in1 - bytes.begin();
  return text + ", different from byte " + std::to_string(apart) + " on";
}

}  // namespace jt::compare_detail
