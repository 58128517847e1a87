#pragma once

#include <atomic>
#include <mutex>

namespace jt {

/// Runs a function once for all threads, as std::call_once does: a call that throws counts as none.
/// An exception that leaves std::call_once makes the C library load its unwinder, which ends the
/// process where there is no memory for it.
class Once {
 public:
  template <class Function>
  void call(const Function& function) {
    if (isDone_.load(std::memory_order_acquire)) return;
    const std::lock_guard lock(mutex_);
    if (isDone_.load(std::memory_order_relaxed)) return;
    function();
    isDone_.store(true, std::memory_order_release);
  }

 private:
  std::atomic<bool> isDone_ = false;
  std::mutex mutex_;
};

}  // namespace jt
