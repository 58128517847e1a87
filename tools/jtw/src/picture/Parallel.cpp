#include "Parallel.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <system_error>
#include <thread>
#include <vector>

namespace tool {

void inParallel(unsigned jobs, std::size_t count, const std::function<void(std::size_t)>& work) {
  std::atomic<std::size_t> next{0};
  std::mutex reporting;
  std::exception_ptr failure;
  const auto run = [&] {
    try {
      for (std::size_t i = next++; i < count; i = next++) work(i);
    } catch (...) {
      next = count;
      const std::lock_guard lock(reporting);
      if (!failure) failure = std::current_exception();
    }
  };
  {
    std::vector<std::jthread> helpers;
    const std::size_t most = std::min<std::size_t>(jobs, count);
    helpers.reserve(most);
    try {
      for (std::size_t job = 1; job < most; ++job) helpers.emplace_back(run);
    } catch (const std::system_error&) {
      // There are no more threads to be had: fewer do it.
    }
    run();
  }
  if (failure) std::rethrow_exception(failure);
}

}  // namespace tool
