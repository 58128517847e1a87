#pragma once

#include <string_view>
#include <utility>

namespace tool {

/// A file that is open, closed with the object.
class OpenedFile {
 public:
  OpenedFile() noexcept = default;
  explicit OpenedFile(int descriptor) noexcept : descriptor_(descriptor) {}
  OpenedFile(OpenedFile&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  OpenedFile& operator=(OpenedFile&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~OpenedFile();

  int get() const noexcept { return descriptor_; }
  bool isOpen() const noexcept { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

/// Writes to a file or pipe, in one piece unless the system takes less. False when it takes no
/// more; errno says why.
bool writeAll(int file, std::string_view text);

}  // namespace tool
