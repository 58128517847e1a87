#include "JtkEntityFactory.h"

#include <atomic>

namespace jtk {
namespace {
std::atomic<unsigned> starts{0};
}
}  // namespace jtk

int JtkEntityFactory::init(int brepKernel, int environment, const char* path) {
  if (brepKernel != 0 || environment != 0 || path) return 0;
  jtk::starts.fetch_add(1);
  return 1;
}

int JtkEntityFactory::fini() {
  unsigned count = jtk::starts.load();
  while (count > 0)
    if (jtk::starts.compare_exchange_weak(count, count - 1)) return 1;
  return 0;
}

bool JtkEntityFactory::isRunning() { return jtk::starts.load() > 0; }
