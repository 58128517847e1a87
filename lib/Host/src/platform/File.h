#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "FileStream.h"

namespace host {

/// An open regular file. Reads and writes name their place, so there is no position to share.
class File {
 public:
  /// Null with the reason in `result` when the file cannot be opened.
  static std::unique_ptr<File> open(const std::string& path, FileStream::Mode mode,
                                    IStreamResult& result);
  explicit File(int descriptor) : descriptor_(descriptor) {}
  File(const File&) = delete;
  File& operator=(const File&) = delete;
  ~File();

  /// Both go on after short transfers and interruptions. `done` is always set.
  IStreamResult readAt(std::uint64_t place, void* buffer, std::size_t size,
                       std::size_t& done) const;
  IStreamResult writeAt(std::uint64_t place, const void* buffer, std::size_t size,
                        std::size_t& done);
  IStreamResult stat(std::uint64_t& size, std::int64_t& lastWriteTime) const;
  IStreamResult setSize(std::uint64_t size);
  IStreamResult sync();

 private:
  int descriptor_;
};

}  // namespace host
