#pragma once

// What is held in memory for one opened document, counted against ReadLimits::maxDocumentBytes.

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

#include "JtFormatError.h"

namespace jt {

/// The document needs more memory than its limit allows: code "too_large". A type of its own, so
/// that who tries several forms of something does not take it for a wrong form.
class DocumentLimitError : public JtFormatError {
 public:
  DocumentLimitError(std::uint64_t limit, std::optional<std::size_t> offset);
};

/// The memory that a document may take. Safe from several threads.
class MemoryBudget {
 public:
  explicit MemoryBudget(std::uint64_t limit) noexcept : limit_(limit) {}

  std::uint64_t limit() const noexcept { return limit_; }
  std::uint64_t left() const noexcept { return limit_ - taken_.load(std::memory_order_relaxed); }
  /// False, and nothing is taken, when that is more than what is left, also after reclaiming.
  bool tryTake(std::uint64_t bytes) noexcept;
  void give(std::uint64_t bytes) noexcept { taken_.fetch_sub(bytes, std::memory_order_relaxed); }

  /// Called when memory is short, to let go of what is kept but not in use. It must not throw, nor
  /// take from the budget. Empty: there is nothing to let go of.
  void setReclaimer(std::function<void()> reclaimer);

 private:
  bool takeIfLeft(std::uint64_t bytes) noexcept;

  const std::uint64_t limit_;
  std::atomic<std::uint64_t> taken_{0};
  std::mutex reclaiming_;
  std::function<void()> reclaimer_;
};

/// What one holder has taken from a budget, given back when the holder ends. One without a budget
/// counts, and has no limit. For one thread at a time.
class MemoryShare {
 public:
  MemoryShare() = default;
  explicit MemoryShare(std::shared_ptr<MemoryBudget> budget) noexcept
      : budget_(std::move(budget)) {}
  MemoryShare(MemoryShare&& other) noexcept
      : budget_(std::move(other.budget_)),
        used_(std::exchange(other.used_, 0)),
        reserved_(std::exchange(other.reserved_, 0)) {}
  MemoryShare& operator=(MemoryShare&& other) noexcept;
  ~MemoryShare() { clear(); }

  /// Throws DocumentLimitError. @param offset of what needs it, for the message
  void take(std::uint64_t bytes, std::optional<std::size_t> offset = {}) {
    if (bytes > reserved_ - used_) reserve(bytes, offset);
    used_ += bytes;
  }
  /// False, and nothing is taken, when that is more than the document has left.
  bool tryTake(std::uint64_t bytes) noexcept;
  /// Gives back a part of what was taken.
  void give(std::uint64_t bytes) noexcept { used_ -= bytes; }
  /// Gives back everything.
  void clear() noexcept;
  std::uint64_t used() const noexcept { return used_; }

 private:
  void reserve(std::uint64_t bytes, std::optional<std::size_t> offset);
  bool tryReserve(std::uint64_t missing) noexcept;

  std::shared_ptr<MemoryBudget> budget_;
  std::uint64_t used_ = 0;
  std::uint64_t reserved_ = 0;  // taken from the budget
};

}  // namespace jt
