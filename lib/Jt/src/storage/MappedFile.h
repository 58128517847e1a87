#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "JtFormatError.h"
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
  void releasePages() const noexcept override;
  std::string name() const override { return path_; }

  /// What has become of the file since it was opened.
  enum class State { same, shorter, changed, unreadable };
  struct Look {
    State state = State::same;
    std::uint64_t size = 0;  ///< now
  };
  /// Looks at the file. Without a descriptor, one that has lost its name counts as the same.
  Look look() const noexcept;
  /// @pre look.state is not same
  static JtFormatError errorOf(const std::string& path, const Look& look, std::uint64_t sizeBefore);
  std::string path() && noexcept { return std::move(path_); }

  // For the list of open files.
  MappedFile* next() const noexcept { return next_; }
  void linkBefore(MappedFile* next) noexcept;
  void unlink() noexcept;
  bool contains(const std::byte* place) const noexcept;
  /// Replaces the pages from `place` on by zeros. Async-signal-safe.
  bool replacePages(const std::byte* place) noexcept;

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

  std::string path_;
  Descriptor file_;
  bool isKept_ = false;  ///< counts among the descriptors that stay open
  FileIdentity identity_;
  const std::byte* start_ = nullptr;
  std::size_t size_ = 0;
  std::atomic<bool> hasLostPages_{false};  ///< some bytes of the mapping are zeros by now
  MappedFile* previous_ = nullptr;
  MappedFile* next_ = nullptr;
};

}  // namespace jt::storage
