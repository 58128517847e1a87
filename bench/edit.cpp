// One changed name in a file whose untouched segments weigh 500 MB, beside copying the file and
// writing the copy out.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "GeneratedFiles.h"
#include "Jt.h"

namespace {

constexpr std::size_t kSegments = 500;
constexpr std::size_t kSegmentBytes = 1000000;

const std::string& file() {
  static const std::string path = bench::bulkFile("bulk.jt", kSegments, kSegmentBytes, true);
  return path;
}

void saveWithNewName(const std::string& from, const std::string& to, bool readBack) {
  const auto partition = bench::openFile(from);
  const auto key = jt::make<JtStringPropAtom>(JtString(Jt::jtPropName));
  const auto name = jt::make<JtStringPropAtom>(JtString("Housing, changed"));
  partition->child(0)->addProperty(key.get(), name.get(), true);
  jt::SaveOptions options;
  options.storage.readBack = readBack;
  partition->save(bench::locationOf(to).get(), options);
}

void copyAndSync(benchmark::State& state) {
  const std::string copy = bench::folder() + "/copy.jt";
  for (auto _ : state) {
    const std::string command = "cp '" + file() + "' '" + copy + "' && sync '" + copy + "'";
    if (std::system(command.c_str()) != 0) state.SkipWithError("cp failed");
    state.PauseTiming();
    unlink(copy.c_str());
    state.ResumeTiming();
  }
}

void editAndSave(benchmark::State& state) {
  const std::string saved = bench::folder() + "/edited.jt";
  for (auto _ : state) {
    saveWithNewName(file(), saved, state.range(0) != 0);
    state.PauseTiming();
    unlink(saved.c_str());
    state.ResumeTiming();
  }
  const auto idle = static_cast<double>(bench::peakMemory("nothing", file()));
  state.counters["peak_MB"] = (static_cast<double>(bench::peakMemory("edit", file())) - idle) / 1e6;
}

BENCHMARK(copyAndSync)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(editAndSave)
    ->ArgName("readBack")
    ->Arg(1)
    ->Arg(0)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
  JtPartition::_autoLoadShapes = false;
  if (argc == 4 && std::strcmp(argv[1], "--peak") == 0) {
    if (std::strcmp(argv[2], "edit") == 0)
      saveWithNewName(argv[3], std::string(argv[3]) + ".peak", true);
    bench::printPeakMemory();
    return 0;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
