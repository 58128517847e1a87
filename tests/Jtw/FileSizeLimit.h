#pragma once

#include <sys/resource.h>

#include <csignal>
#include <cstdint>

/// Lets the process write files of no more than so many bytes.
class FileSizeLimit {
 public:
  explicit FileSizeLimit(std::uintmax_t bytes) : handler_(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &old_);
    const rlimit limit{static_cast<rlim_t>(bytes), old_.rlim_max};
    setrlimit(RLIMIT_FSIZE, &limit);
  }
  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;
  ~FileSizeLimit() {
    setrlimit(RLIMIT_FSIZE, &old_);
    std::signal(SIGXFSZ, handler_);
  }

 private:
  rlimit old_{};
  void (*handler_)(int);
};
