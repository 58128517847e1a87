#pragma once

#include <cstddef>

#include "JtGuid.h"

namespace jt::file {

/// An identifier that the code knows, "10dd1035-2ac8-11d1-9b6b-0080c7bb5997"_guid: read by the
/// compiler, which refuses any other form. Reading those of a table when the program starts would
/// cost more than reading a small file.
consteval JtGuid operator""_guid(const char* text, std::size_t size) {
  return JtGuid::parse({text, size}).value();
}

}  // namespace jt::file
