// An assembly of 100 000 nodes: opening beside the floor, memory, reading every property, saving
// whole beside deflating the same bytes.

#include <benchmark/benchmark.h>
#include <libdeflate.h>

#include <cstring>
#include <memory>

#include "GeneratedFiles.h"
#include "JtStackNodeIter.h"
#include "SceneFloor.h"

namespace {

constexpr std::size_t kNodes = 100000;
constexpr int kLevel = 6;

std::size_t touchProperties(JtPartition& partition) {
  std::size_t units = 0;
  JtStackNodeIter walk;
  walk.ref();
  walk.setPreVisit([&](JtNode* node) {
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    for (int i = 0; node->getProperty(i, key, value); ++i)
      if (const auto* text = jt::as<JtStringPropAtom>(value)) units += text->value().length();
    return JtStackNodeIter::Next::descend;
  });
  walk.run(&partition);
  return units;
}

void openFloor(benchmark::State& state) {
  const std::string& file = bench::assemblyFile(kNodes);
  for (auto _ : state) {
    auto scene = std::make_unique<bench::FloorScene>(bench::readFloor(file));
    benchmark::DoNotOptimize(scene.get());
    state.PauseTiming();
    scene.reset();
    state.ResumeTiming();
  }
}

void open(benchmark::State& state) {
  const std::string& file = bench::assemblyFile(kNodes);
  for (auto _ : state) {
    auto partition = bench::openFile(file);
    benchmark::DoNotOptimize(partition.get());
    state.PauseTiming();
    partition = nullptr;
    state.ResumeTiming();
  }
  const auto inflated = static_cast<double>(bench::readFloor(file).inflatedBytes);
  const auto idle = static_cast<double>(bench::peakMemory("nothing", file));
  state.counters["peak_per_inflated_byte"] =
      (static_cast<double>(bench::peakMemory("open", file)) - idle) / inflated;
  state.counters["floor_peak_per_inflated_byte"] =
      (static_cast<double>(bench::peakMemory("floor", file)) - idle) / inflated;
  state.counters["inflated_MB"] = inflated / 1e6;
}

void openAndReadProperties(benchmark::State& state) {
  const std::string& file = bench::assemblyFile(kNodes);
  for (auto _ : state) {
    const auto partition = bench::openFile(file);
    benchmark::DoNotOptimize(touchProperties(*partition));
  }
}

void deflateFloor(benchmark::State& state) {
  const std::vector<char> bytes = bench::inflateScene(bench::assemblyFile(kNodes));
  for (auto _ : state) {
    libdeflate_compressor* deflater = libdeflate_alloc_compressor(kLevel);
    std::vector<char> out(libdeflate_zlib_compress_bound(deflater, bytes.size()));
    benchmark::DoNotOptimize(
        libdeflate_zlib_compress(deflater, bytes.data(), bytes.size(), out.data(), out.size()));
    libdeflate_free_compressor(deflater);
  }
}

void saveFromMemory(benchmark::State& state) {
  const auto partition = bench::makeAssembly(kNodes, {9, 5});
  const auto place = bench::locationOf(bench::folder() + "/saved.jt");
  for (auto _ : state) benchmark::DoNotOptimize(partition->save(place.get()));
}

void saveOpened(benchmark::State& state) {
  const auto partition = bench::openFile(bench::assemblyFile(kNodes));
  const auto place = bench::locationOf(bench::folder() + "/saved.jt");
  jt::SaveOptions options;
  options.rewriteSceneGraph = true;
  for (auto _ : state) benchmark::DoNotOptimize(partition->save(place.get(), options));
}

BENCHMARK(openFloor)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(open)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(openAndReadProperties)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(deflateFloor)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(saveFromMemory)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(saveOpened)->Unit(benchmark::kMillisecond)->UseRealTime();

/// The runs of this program that only measure memory.
int runForPeak(const char* what, const char* file) {
  if (std::strcmp(what, "open") == 0) benchmark::DoNotOptimize(bench::openFile(file));
  if (std::strcmp(what, "floor") == 0) benchmark::DoNotOptimize(bench::readFloor(file));
  bench::printPeakMemory();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  JtPartition::_autoLoadShapes = false;
  if (argc == 4 && std::strcmp(argv[1], "--peak") == 0) return runForPeak(argv[2], argv[3]);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
