#include "storage/ReadBack.h"

#include <algorithm>
#include <cstring>
#include <system_error>

namespace jt::storage {
namespace {

/// Both buffers together stay in the processor's cache.
constexpr std::size_t kChunk = 256 << 10;
/// A smaller file is compared faster than a thread is started.
constexpr std::uint64_t kThreadFrom = 4 << 20;

}  // namespace

ReadBack::ReadBack(int file, const SaveContent& content, const SaveErrors& errors)
    : file_(file), content_(content), errors_(errors) {
  if (content.size() < kThreadFrom) return;
  try {
    thread_ = std::thread([this] { follow(); });
  } catch (const std::system_error&) {
    // No thread to be had: `finish` compares.
  }
}

ReadBack::~ReadBack() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    abandoned_ = true;
  }
  moved_.notify_one();
  thread_.join();
}

void ReadBack::reached(std::uint64_t position) {
  {
    const std::lock_guard lock(mutex_);
    written_ = position;
  }
  moved_.notify_one();
}

void ReadBack::finish() {
  if (thread_.joinable())
    thread_.join();
  else
    compareUpTo(content_.size());
  if (failure_) std::rethrow_exception(failure_);

  struct stat info {};
  if (::fstat(file_, &info) != 0 || static_cast<std::uint64_t>(info.st_size) != content_.size())
    errors_.raise("verify_failed", "the new file should have " + std::to_string(content_.size()) +
                                       " bytes, but has " + std::to_string(info.st_size) +
                                       "; the old file is kept; check the medium");
}

void ReadBack::follow() noexcept {
  try {
    while (compared_ < content_.size()) {
      std::uint64_t end = 0;
      {
        std::unique_lock lock(mutex_);
        moved_.wait(lock, [&] { return abandoned_ || written_ > compared_; });
        if (abandoned_) return;
        end = written_;
      }
      compareUpTo(end);
    }
  } catch (...) {
    failure_ = std::current_exception();
  }
}

void ReadBack::compareUpTo(std::uint64_t end) {
  found_.resize(std::min<std::uint64_t>(kChunk, content_.size()));
  wanted_.resize(found_.size());
  while (compared_ < end)
    compareNext(std::span(found_).first(
        static_cast<std::size_t>(std::min<std::uint64_t>(end - compared_, found_.size()))));
}

void ReadBack::compareNext(std::span<std::byte> found) {
  readFound(found);
  while (!found.empty()) {
    const ContentRun& run = content_.runs()[run_];
    const auto part =
        static_cast<std::size_t>(std::min<std::uint64_t>(run.size - inRun_, found.size()));
    const std::byte* wanted = run.memory ? run.memory + inRun_ : wanted_.data();
    if (run.file) source_.of(*run.file).readAt(run.offset + inRun_, std::span(wanted_).first(part));
    if (std::memcmp(found.data(), wanted, part) != 0)
      errors_.raise("verify_failed",
                    "the new file, read back, differs from what was written in bytes " +
                        std::to_string(compared_) + " to " + std::to_string(compared_ + part) +
                        "; the old file is kept; check the medium");
    compared_ += part;
    inRun_ += part;
    if (inRun_ == run.size) {
      ++run_;
      inRun_ = 0;
    }
    found = found.subspan(part);
  }
}

void ReadBack::readFound(std::span<std::byte> out) const {
  std::uint64_t place = compared_;
  while (!out.empty()) {
    const ssize_t count = uninterrupted(
        [&] { return ::pread(file_, out.data(), out.size(), static_cast<off_t>(place)); });
    if (count <= 0)
      errors_.raise("verify_failed", "the new file cannot be read back at byte " +
                                         std::to_string(place) + ": " +
                                         (count < 0 ? errorText(errno) : "it ends there") +
                                         "; the old file is kept; check the medium");
    out = out.subspan(static_cast<std::size_t>(count));
    place += static_cast<std::uint64_t>(count);
  }
}

}  // namespace jt::storage
