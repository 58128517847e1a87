#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "CountedStream.h"
#include "DmKrUtilsExport.h"
#include "JtFormatError.h"
#include "JtStorageManager.h"
#include "MemoryStream.h"

/// A file as the stream of a document. It is transacted: what is written is seen through this
/// stream only, until Commit() replaces the file in one step, in the same way as a JT file is
/// saved. Before that, and when Commit() fails, the file holds what it held. The content is kept in
/// memory.
// NOLINTNEXTLINE(cppcoreguidelines-virtual-class-destructor): only Release() destroys it.
class DMKR_API DmKrUtilsFileStream final : public CountedStream {
 public:
  enum class Mode {
    readOnly,
    readWrite,  ///< the file must exist
    createNew,  ///< the first Commit() makes the file, and fails when there is one by then
  };

  /// Opens a regular file, and reads it.
  /// Throws JtFormatError: "not_found", "not_a_file", "unreadable".
  static CComPtr<DmKrUtilsFileStream> open(const RWClassicCString& path, Mode mode);

  IStreamResult Read(void* buffer, std::size_t size, std::size_t& done) override;
  IStreamResult Write(const void* buffer, std::size_t size, std::size_t& done) override;
  IStreamResult Seek(std::int64_t move, IStreamOrigin origin,
                     std::uint64_t* newPosition = nullptr) override;
  IStreamResult Stat(IStreamStat& stat) const override;
  IStreamResult SetSize(std::uint64_t size) override;
  /// `notCurrent` when the file is not the one that was opened or committed last; see failure().
  IStreamResult Commit() override;
  IStreamResult Revert() override;

  /// Hands over what the last Commit() that replaced the file has to report.
  jt::StorageSaveResult takeCommitted() noexcept { return std::move(committed_); }
  /// Why the last Commit() failed; nothing when it did not.
  const std::optional<JtFormatError>& failure() const { return failure_; }

 private:
  DmKrUtilsFileStream(const RWClassicCString& path, Mode mode);
  ~DmKrUtilsFileStream() override = default;
  IStreamResult beginChange();

  JtFSStorageLocation location_;
  Mode mode_;
  CComPtr<MemoryStream> content_;
  std::optional<std::vector<std::byte>> before_;  // the content to go back to, once it was changed
  std::optional<jt::FileIdentity> identity_;      // of the file; nothing when there is none yet
  jt::StorageSaveResult committed_;
  std::optional<JtFormatError> failure_;
};
