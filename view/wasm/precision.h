#pragma once

// Numbers with a given number of digits as texts, which the C++ library of the WebAssembly compiler
// lacks.

#include <charconv>
#include <cstdio>
#include <cstring>

namespace std {

inline to_chars_result to_chars(char* first, char* last, double value, chars_format format,
                                int precision) {
  char text[400];  // the greatest double has 309 digits before the point
  snprintf(text, sizeof text, format == chars_format::fixed ? "%.*f" : "%.*g", precision, value);
  const size_t length = strlen(text);
  if (static_cast<size_t>(last - first) < length) return {last, errc::value_too_large};
  memcpy(first, text, length);
  return {first + length, errc()};
}

namespace ranges {

struct CompatEqual {};
template <class Range, class Other, class Projection, class OtherProjection>
bool equal(Range&& range, Other&& other, CompatEqual /*equal*/, Projection projection,
           OtherProjection otherProjection) {
  return std::equal(
      std::begin(range), std::end(range), std::begin(other), std::end(other),
      [&](const auto& a, const auto& b) { return projection(a) == otherProjection(b); });
}

}  // namespace ranges

}  // namespace std
