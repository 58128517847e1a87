#pragma once

#include <sys/resource.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tool {

/// Bounds what reading a mesh file may cost for as long as the object lives: memory, and seconds by
/// the clock and of computing; beyond those the process ends with SIGALRM or SIGXCPU. The import
/// library is not made for hostile files.
class ReaderLimits {
 public:
  /// @param memory  bytes; without it half of what the machine has
  /// @param seconds without it 60 by the clock, 20 of computing, and what the file's size allows
  /// for
  ReaderLimits(const std::string& file, std::optional<std::uint64_t> memory,
               std::optional<std::uint64_t> seconds);
  ~ReaderLimits();
  ReaderLimits(const ReaderLimits&) = delete;
  ReaderLimits& operator=(const ReaderLimits&) = delete;

 private:
  void limit(int resource, rlim_t value);
  std::vector<std::pair<int, rlim_t>> before_;
};

}  // namespace tool
