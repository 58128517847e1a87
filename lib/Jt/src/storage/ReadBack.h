#pragma once

#include <condition_variable>
#include <cstdint>
#include <exception>
#include <mutex>
#include <span>
#include <thread>
#include <vector>

#include "storage/SaveContent.h"

namespace jt::storage {

/// Reads a file back while it is written and compares it with what it has to hold. Large files are
/// compared by a thread of their own that follows the writer.
class ReadBack {
 public:
  ReadBack(int file, const SaveContent& content, const SaveErrors& errors);
  ~ReadBack();
  ReadBack(const ReadBack&) = delete;
  ReadBack& operator=(const ReadBack&) = delete;

  /// The writer's progress: the file holds this many bytes.
  void reached(std::uint64_t position);
  /// Returns once the whole file, which has been `reached`, is compared. Throws JtFormatError
  /// "verify_failed" when it differs, and what reading the sources throws.
  void finish();

 private:
  void follow() noexcept;
  void compareUpTo(std::uint64_t end);
  void compareNext(std::span<std::byte> found);
  void readFound(std::span<std::byte> out) const;

  const int file_;
  const SaveContent& content_;
  const SaveErrors& errors_;

  // Of whoever compares: the thread while it runs.
  std::size_t run_ = 0;
  std::uint64_t inRun_ = 0;
  std::uint64_t compared_ = 0;
  std::vector<std::byte> found_;
  std::vector<std::byte> wanted_;
  OpenedSource source_;
  std::exception_ptr failure_;

  std::mutex mutex_;
  std::condition_variable moved_;
  std::uint64_t written_ = 0;  // guarded by mutex_
  bool abandoned_ = false;     // guarded by mutex_
  std::thread thread_;
};

}  // namespace jt::storage
