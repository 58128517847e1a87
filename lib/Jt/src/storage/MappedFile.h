#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>

#include "JtStorageManager.h"
#include "storage/Descriptor.h"

namespace jt::storage {

/// A regular file, mapped for reading. The mapping keeps the bytes whatever happens to the name.
/// The first files of a process also keep their descriptor; beyond them it is closed and opened
/// again when it is needed, so that an assembly may have more files than a process may have
/// descriptors.
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

  /// A way to the bytes beside the mapping, for copying. Must not outlive the file.
  class Access {
   public:
    explicit Access(const MappedFile& file);
    /// Reads at a place of the file as it is now; throws JtFormatError "changed_on_disk" when it
    /// ends earlier, "unreadable" when the system fails.
    void readAt(std::uint64_t offset, std::span<std::byte> out) const;
    /// -1 when the name leads to another file by now: only the mapping has the bytes then.
    int descriptor() const noexcept { return number_; }

   private:
    const MappedFile& file_;
    Descriptor reopened_;
    int number_ = -1;
  };

 private:
  explicit MappedFile(std::string path) : path_(std::move(path)) {}
  [[noreturn]] void failShorter(std::uint64_t size) const;

  std::string path_;
  Descriptor file_;
  bool isKept_ = false;  ///< counts among the descriptors that stay open
  FileIdentity identity_;
  const std::byte* start_ = nullptr;
  std::size_t size_ = 0;
};

}  // namespace jt::storage
