#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "IStream.h"

namespace host {

/// A regular file that is open for reading. Reads name their place, so there is no position to
/// share.
class File {
 public:
  /// Null with the reason in `result` when the file cannot be opened.
  static std::unique_ptr<File> open(const std::string& path, IStreamResult& result);
  explicit File(int descriptor) : descriptor_(descriptor) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File();

  /// Goes on after short transfers and interruptions. `done` is always set.
  IStreamResult readAt(std::uint64_t place, void* buffer, std::size_t size,
                       std::size_t& done) const;
  IStreamResult stat(std::uint64_t& size, std::int64_t& lastWriteTime) const;

 private:
  int descriptor_;
};

}  // namespace host
