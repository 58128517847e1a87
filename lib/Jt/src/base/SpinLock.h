#pragma once

#include <sched.h>

#include <atomic>

namespace jt {

/// A lock that a signal handler can take, as long as no code that holds it is interrupted by that
/// handler: a fault cannot come from such code, and for other signals there is tryLock.
class SpinLock {
 public:
  void lock() noexcept {
    while (taken_.test_and_set(std::memory_order_acquire)) sched_yield();
  }
  /// Gives up after a while.
  bool tryLock() noexcept {
    constexpr int kMostTries = 1000;
    for (int i = 0; i < kMostTries; ++i) {
      if (!taken_.test_and_set(std::memory_order_acquire)) return true;
      sched_yield();
    }
    return false;
  }
  void unlock() noexcept { taken_.clear(std::memory_order_release); }

 private:
  std::atomic_flag taken_;
};

}  // namespace jt
