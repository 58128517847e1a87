// The main of benchmarks that use the library: it is started for as long as they run.

#include <benchmark/benchmark.h>

#include "JtwManager.h"

int main(int argc, char** argv) {
  JtwManager::init();
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  JtwManager::fini();
  return 0;
}
