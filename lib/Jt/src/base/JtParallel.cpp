#include "JtParallel.h"

#if defined(__linux__)
#include <sched.h>
#endif

std::size_t jt::coreCount() noexcept {
#if defined(__linux__)
  cpu_set_t cores;
  if (sched_getaffinity(0, sizeof cores, &cores) == 0)
    return static_cast<std::size_t>(std::max(1, CPU_COUNT(&cores)));
#endif
  return std::max(1U, std::thread::hardware_concurrency());
}
