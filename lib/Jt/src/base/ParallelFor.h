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

/// inParallel() of two pieces of work, on another core only if `isWorthIt`: starting a thread takes
/// some 30 us.
template <class First, class Second>
void sideBySide(bool isWorthIt, const First& first, const Second& second) {
  inParallel(isWorthIt ? parallelThreadCount() : 1, 2, [&](std::size_t i) {
    if (i == 0)
      first();
    else
      second();
  });
}

}  // namespace jt::file
