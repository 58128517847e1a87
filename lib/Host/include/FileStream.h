#pragma once

#include <memory>

#include "ApiSysFilePath.h"
#include "CountedStream.h"

namespace host {
class File;
}

/// A file that is read as a stream.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only Release() destroys it.
class HOST_API FileStream final : public CountedStream {
 public:
  /// Opens a regular file.
  /// @param result why the stream is null, if it is
  static CComPtr<FileStream> open(const ApiSysFilePath& path, IStreamResult& result);

  IStreamResult Read(void* buffer, std::size_t size, std::size_t& done) override;
  /// Nothing can be changed: `accessDenied`.
  IStreamResult Write(const void* buffer, std::size_t size, std::size_t& done) override;
  IStreamResult SetSize(std::uint64_t size) override;
  /// Nothing to do: `ok`.
  IStreamResult Commit() override;
  IStreamResult Seek(std::int64_t move, IStreamOrigin origin,
                     std::uint64_t* newPosition = nullptr) override;
  IStreamResult Stat(IStreamStat& stat) const override;

 private:
  FileStream(std::unique_ptr<host::File> file, RWClassicCString name);
  ~FileStream() override;

  std::unique_ptr<host::File> file_;
  RWClassicCString name_;
  std::uint64_t position_ = 0;
};
