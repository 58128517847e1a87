#pragma once

#include "JtParallel.h"

namespace jt::file {

/// The threads of parallelFor; 0: one for each core. Set by tests of what must not depend on it.
inline std::atomic<std::size_t> parallelThreads{0};

/// How many threads parallelFor() uses at most.
inline std::size_t parallelThreadCount() { return threadCount(parallelThreads); }

/// inParallel() on all cores.
template <class Work>
void parallelFor(std::size_t count, const Work& work) {
  inParallel(parallelThreadCount(), count, work);
}

/// Runs both, the second one meanwhile on another core if `isWorthIt`: starting a thread takes some
/// 30 us. An exception of the first one is thrown rather than one of the second.
template <class First, class Second>
void sideBySide(bool isWorthIt, const First& first, const Second& second) {
  std::exception_ptr failure;
  std::jthread helper;
  if (isWorthIt && parallelThreadCount() > 1) try {
      helper = std::jthread([&] {
        try {
          second();
        } catch (...) {
          failure = std::current_exception();
        }
      });
    } catch (const std::system_error&) {
      // No more threads available: one after the other.
    }
  const bool isAlone = !helper.joinable();
  first();
  if (isAlone) return second();
  helper.join();
  if (failure) std::rethrow_exception(failure);
}

}  // namespace jt::file
