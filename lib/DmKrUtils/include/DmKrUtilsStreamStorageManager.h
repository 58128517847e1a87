#pragma once

#include <cstdint>

#include "DmKrUtilsExport.h"
#include "JtStorageManager.h"

/// Serves stream locations beside the file-system locations of its base. A stream is read whole
/// when it is opened. A save writes, reads back and commits; when that fails it reverts. On a
/// stream that is not transacted the old bytes, kept in memory, are written back instead.
class DMKR_API DmKrUtilsStreamStorageManager : public JtStorageManager {
 public:
  /// A new manager.
  static jt::Ref<DmKrUtilsStreamStorageManager> createInstance();

  jt::Ref<jt::FileImage> open(const JtStorageLocation& location) override;
  jt::StorageSaveResult save(const JtStorageLocation& location,
                             std::span<const jt::FilePiece> pieces,
                             const jt::StorageSaveOptions& options) override;
  /// Streams have no neighbours: null for them.
  jt::Ref<JtStorageLocation> resolve(const JtStorageLocation& base,
                                     const JtString& relativePath) override;

  /// The largest stream that is read, in bytes; 4 GiB at first. Opening or saving to a larger one
  /// throws JtFormatError "too_large". Memory is taken as the stream delivers, not as it reports.
  void setMaxStreamBytes(std::uint64_t bytes) noexcept { maxStreamBytes_ = bytes; }

 private:
  DmKrUtilsStreamStorageManager() = default;

  std::uint64_t maxStreamBytes_ = 4ULL << 30;
};
