#pragma once

#include <sys/resource.h>

#include <string>
#include <utility>
#include <vector>

namespace tool {

/// Bounds what reading a mesh file may cost for as long as the object lives: no more memory than
/// the machine has, and 20 seconds and what the file's size allows for; beyond that the process
/// ends with SIGXCPU. The import library is not made for hostile files.
class ReaderLimits {
 public:
  explicit ReaderLimits(const std::string& file);
  ~ReaderLimits();
  ReaderLimits(const ReaderLimits&) = delete;
  ReaderLimits& operator=(const ReaderLimits&) = delete;

 private:
  void limit(int resource, rlim_t value);
  std::vector<std::pair<int, rlim_t>> before_;
};

}  // namespace tool
