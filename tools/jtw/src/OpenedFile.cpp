#include "OpenedFile.h"

#include <unistd.h>

#include <cerrno>

namespace tool {

OpenedFile::~OpenedFile() {
  if (isOpen()) ::close(descriptor_);
}

bool writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t count = ::write(file, text.data(), text.size());
    if (count < 0 && errno != EINTR) return false;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return true;
}

}  // namespace tool
