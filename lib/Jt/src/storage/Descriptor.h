#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include "JtStorageManager.h"

namespace jt::storage {

/// A file descriptor, closed with its owner.
class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) noexcept : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    std::swap(number_, other.number_);
    return *this;
  }
  ~Descriptor() { close(); }

  int get() const noexcept { return number_; }
  explicit operator bool() const noexcept { return number_ >= 0; }
  /// Hands it over to the caller.
  int release() noexcept { return std::exchange(number_, -1); }
  /// Closes it; 0 or the system's error number. An interrupted close has closed all the same.
  int close() noexcept {
    const int number = release();
    return number < 0 || ::close(number) == 0 || errno == EINTR ? 0 : errno;
  }

 private:
  int number_ = -1;
};

/// Repeats a system call that a signal interrupted, though not for ever.
template <class Call>
auto uninterrupted(Call call) {
  constexpr int kMostTries = 10'000;
  auto result = call();
  for (int i = 1; result < 0 && errno == EINTR && i < kMostTries; ++i) result = call();
  return result;
}

inline std::string errorText(int error) { return std::generic_category().message(error); }

inline FileIdentity identityOf(const struct stat& info) {
  return {info.st_dev, info.st_ino, static_cast<std::uint64_t>(info.st_size),
          std::int64_t{info.st_mtim.tv_sec} * 1'000'000'000 + info.st_mtim.tv_nsec};
}

/// "a folder", "a device", ...: what something is that is not a regular file.
inline const char* kindText(mode_t mode) {
  return S_ISDIR(mode)    ? "a folder"
         : S_ISFIFO(mode) ? "a pipe"
         : S_ISSOCK(mode) ? "a socket"
                          : "a device";
}

}  // namespace jt::storage
