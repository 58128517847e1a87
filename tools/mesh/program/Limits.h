#pragma once

#include <string>

namespace tool {

/// Bounds what reading a mesh file may cost this process from here on: no more memory than the
/// machine has, and a time that its size allows for; beyond that the process ends with SIGXCPU. The
/// import library is not made for hostile files.
void limitReader(const std::string& file);

}  // namespace tool
