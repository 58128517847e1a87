// The main of benchmarks that open files and leave their shapes where they are.

#include <benchmark/benchmark.h>

#include "JtPartition.h"

int main(int argc, char** argv) {
  JtPartition::_autoLoadShapes = false;
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
