#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

#include "JtExport.h"

namespace jt {

/// Cores that this process may use: those of the machine, or fewer where it is bound to some of
/// them. At least 1.
JT_API std::size_t coreCount() noexcept;

/// How many threads a number of threads stands for; 0: one for each of coreCount().
inline std::size_t threadCount(std::size_t threads) noexcept {
  return threads != 0 ? threads : coreCount();
}

/// Calls work(0) ... work(count - 1), each once and in no certain order, on several threads; the
/// calling thread is one of them. Returns when all are done. An exception stops what has not begun;
/// the one of the lowest number is thrown here, whatever came first in time.
/// @param threads at most so many; 0: one for each of coreCount(). Where the system gives fewer,
///   fewer do the work.
template <class Work>
void inParallel(std::size_t threads, std::size_t count, const Work& work) {
  std::atomic<std::size_t> next{0};
  std::mutex mutex;
  std::exception_ptr failure;
  std::size_t failed = count;
  const auto run = [&] {
    for (std::size_t i; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;) {
      try {
        work(i);
      } catch (...) {
        const std::lock_guard lock(mutex);
        if (i < failed) {
          failed = i;
          failure = std::current_exception();
        }
        next.store(count, std::memory_order_relaxed);
      }
    }
  };
  {
    threads = threadCount(threads);
    std::vector<std::jthread> helpers;
    try {
      for (std::size_t i = 1; i < std::min(threads, count); ++i) helpers.emplace_back(run);
    } catch (const std::system_error&) {
      // No more threads available: continue with those that run.
    }
    run();
  }
  if (failure) std::rethrow_exception(failure);
}

}  // namespace jt
