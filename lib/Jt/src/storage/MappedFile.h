#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "JtStorageManager.h"
#include "storage/Descriptor.h"

namespace jt::storage {

/// A regular file, mapped for reading. The descriptor stays open, so that the bytes can be copied
/// without the mapping and so that the name may go meanwhile.
class MappedFile final : public FileImage {
 public:
  /// Throws JtFormatError: "not_found", "not_a_file", "unreadable".
  static Ref<MappedFile> open(const std::string& path);
  ~MappedFile() override;
  MappedFile(const MappedFile&) = delete;
  MappedFile& operator=(const MappedFile&) = delete;

  std::span<const std::byte> bytes() const override { return {start_, size_}; }
  std::optional<FileIdentity> identity() const override { return identity_; }
  void checkPresent() const override;
  std::string name() const override { return path_; }

  /// Reads at a place of the file as it is now; throws JtFormatError "changed_on_disk" when it ends
  /// earlier, "unreadable" when the system fails.
  void readAt(std::uint64_t offset, std::span<std::byte> out) const;
  int descriptor() const noexcept { return file_.get(); }

 private:
  explicit MappedFile(std::string path) : path_(std::move(path)) {}
  [[noreturn]] void failShorter(std::uint64_t size) const;

  std::string path_;
  Descriptor file_;
  FileIdentity identity_;
  const std::byte* start_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace jt::storage
