#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace jt::storage {

/// Makes the errors of one save: what was being done, on which file, and what helps.
class SaveErrors {
 public:
  /// @param path the file to be replaced
  /// @param size bytes of its new content
  SaveErrors(std::string path, std::uint64_t size) : path_(std::move(path)), size_(size) {}

  /// For a system call that failed: "no_space", "unwritable" or "write_failed" by error number.
  /// @param doing what failed, such as "writing the new file"
  [[noreturn]] void failed(int error, std::string_view doing) const;
  [[noreturn]] void raise(std::string_view code, std::string message) const;

  const std::string& path() const noexcept { return path_; }

 private:
  std::string path_;
  std::uint64_t size_;
};

}  // namespace jt::storage
