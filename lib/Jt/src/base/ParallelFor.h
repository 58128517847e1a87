#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace jt::file {

/// The threads of parallelFor; 0: one for each core. Set by tests of what must not depend on it.
inline std::atomic<std::size_t> parallelThreads{0};

/// Calls work(0) ... work(count - 1), each once, on all cores in no certain order; the calling
/// thread works too. The first exception of any call stops what has not begun and is thrown here.
template <class Work>
void parallelFor(std::size_t count, const Work& work) {
  std::atomic<std::size_t> next{0};
  std::mutex mutex;
  std::exception_ptr failure;
  const auto run = [&] {
    for (std::size_t i; (i = next.fetch_add(1, std::memory_order_relaxed)) < count;) {
      try {
        work(i);
      } catch (...) {
        const std::lock_guard lock(mutex);
        if (!failure) failure = std::current_exception();
        next.store(count, std::memory_order_relaxed);
      }
    }
  };
  {
    const std::size_t wanted = parallelThreads;
    const std::size_t threads =
        wanted > 0 ? wanted : std::max(1U, std::thread::hardware_concurrency());
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

}  // namespace jt::file
