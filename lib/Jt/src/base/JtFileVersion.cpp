#include "JtFileVersion.h"

#include <charconv>

std::string jt::FileVersion::text() const {
  return std::to_string(major) + "." + std::to_string(minor);
}

std::optional<jt::FileVersion> jt::FileVersion::parse(std::string_view text) {
  FileVersion version;
  const char* end = text.data() + text.size();
  const auto first = std::from_chars(text.data(), end, version.major);
  if (first.ec != std::errc() || first.ptr == end || *first.ptr != '.') return {};
  const auto second = std::from_chars(first.ptr + 1, end, version.minor);
  if (second.ec != std::errc() || second.ptr != end || version.major < 0 || version.minor < 0)
    return {};
  return version;
}
