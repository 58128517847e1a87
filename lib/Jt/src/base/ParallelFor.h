#pragma once

#include "JtParallel.h"

namespace jt::file {

/// The threads of parallelFor; 0: one for each core. Set by tests of what must not depend on it.
inline std::atomic<std::size_t> parallelThreads{0};

/// inParallel() on all cores.
template <class Work>
void parallelFor(std::size_t count, const Work& work) {
  inParallel(parallelThreads, count, work);
}

}  // namespace jt::file
