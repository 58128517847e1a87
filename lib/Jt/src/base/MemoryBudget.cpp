#include "base/MemoryBudget.h"

#include <string>

namespace jt {

DocumentLimitError::DocumentLimitError(std::uint64_t limit, std::optional<std::size_t> offset)
    : JtFormatError("too_large",
                    "the content of the file takes more memory than the " + std::to_string(limit) +
                        " bytes that it may; if the file is to be trusted, raise the limit "
                        "(maxDocumentBytes)",
                    {.offset = offset}) {}

bool MemoryBudget::takeIfLeft(std::uint64_t bytes) noexcept {
  std::uint64_t taken = taken_.load(std::memory_order_relaxed);
  while (bytes <= limit_ - taken)
    if (taken_.compare_exchange_weak(taken, taken + bytes, std::memory_order_relaxed)) return true;
  return false;
}

bool MemoryBudget::tryTake(std::uint64_t bytes) noexcept {
  if (takeIfLeft(bytes)) return true;
  if (bytes > limit_) return false;
  const std::lock_guard lock(reclaiming_);
  if (reclaimer_) reclaimer_();
  return takeIfLeft(bytes);
}

void MemoryBudget::setReclaimer(std::function<void()> reclaimer) {
  const std::lock_guard lock(reclaiming_);
  reclaimer_ = std::move(reclaimer);
}

MemoryShare& MemoryShare::operator=(MemoryShare&& other) noexcept {
  if (this == &other) return *this;
  clear();
  budget_ = std::move(other.budget_);
  used_ = std::exchange(other.used_, 0);
  reserved_ = std::exchange(other.reserved_, 0);
  return *this;
}

void MemoryShare::clear() noexcept {
  if (budget_) budget_->give(reserved_);
  used_ = 0;
  reserved_ = 0;
}

/// In steps that grow, so that many small parts do not mean as many visits to the budget.
bool MemoryShare::tryReserve(std::uint64_t missing) noexcept {
  for (const std::uint64_t step : {missing + used_ / 8, missing})
    if (!budget_ || budget_->tryTake(step)) {
      reserved_ += step;
      return true;
    }
  return false;
}

void MemoryShare::reserve(std::uint64_t bytes, std::optional<std::size_t> offset) {
  const std::uint64_t missing = bytes - (reserved_ - used_);
  if (!tryReserve(missing)) throw DocumentLimitError(budget_->limit(), offset);
}

bool MemoryShare::tryTake(std::uint64_t bytes) noexcept {
  const std::uint64_t ready = reserved_ - used_;
  if (bytes > ready && !tryReserve(bytes - ready)) return false;
  used_ += bytes;
  return true;
}

}  // namespace jt
