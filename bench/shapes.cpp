// All shapes of a component decoded through the scene graph, on 1 to all cores: by threads of the
// host that take one shape after the other, and by loading in the background.
//
// The component has 2,000 small parts, all different, and among them a few of 50,000 to 200,000
// triangles. `speedup` is over one thread of the same way; `cpu_ms` is the processor time of all
// threads together, which shows on a busy machine what more threads cost.

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <map>
#include <thread>

#include "GeneratedFiles.h"
#include "JtParallel.h"
#include "JtResidencyRequestManager.h"
#include "JtShape.h"
#include "MeshSamples.h"
#include "VisPartNode.h"

namespace {

using Profile = jt::ShapeEncoding::Profile;

constexpr std::size_t kSmallParts = 2000;
constexpr std::size_t kSmallPartsBetweenLarge = 500;

void addPart(JtPartition& root, jt::Mesh mesh) {
  const auto part = jt::make<VisPartNode>();
  part->addChild(jt::makeShape(std::make_shared<const jt::Mesh>(std::move(mesh))).get());
  root.addChild(part.get());
}

std::string makeComponent(Profile profile) {
  const auto root = jt::make<JtPartition>();
  const jt::Mesh small = bench::bossPlate("boss", 1).mesh;
  const jt::Mesh large[] = {bench::bossPlate("cad", 20).mesh, bench::smoothTorus(158).mesh};
  for (std::size_t i = 0; i < kSmallParts; ++i) {
    if (i % kSmallPartsBetweenLarge == 0)
      addPart(*root, large[i / kSmallPartsBetweenLarge % std::size(large)]);
    jt::Mesh part = small;
    for (jt::Vec3f& position : part.positions) position[2] *= 1 + 1e-3F * static_cast<float>(i);
    addPart(*root, std::move(part));
  }
  jt::SaveOptions options;
  options.version = jt::FileVersion{10, 0};
  options.shapeEncoding.emplace().profile = profile;
  const std::string path =
      bench::folder() + (profile == Profile::compact ? "/compact.jt" : "/compatible.jt");
  root->save(bench::locationOf(path).get(), options);
  return path;
}

std::vector<const JtShape*> shapesOf(const JtPartition& root) {
  std::vector<const JtShape*> shapes;
  for (int i = 0; i < root.numChildren(); ++i)
    shapes.push_back(jt::as<JtShape>(static_cast<const JtBase*>(root.child(i)->child(0))));
  return shapes;
}

/// Decodes all, and answers how many triangles there are.
std::size_t decodeByHost(const JtPartition& root, std::size_t threadCount) {
  const std::vector<const JtShape*> shapes = shapesOf(root);
  std::atomic<std::size_t> next{0};
  std::atomic<std::size_t> triangles{0};
  const auto run = [&] {
    for (std::size_t i; (i = next.fetch_add(1)) < shapes.size();)
      if (const auto mesh = shapes[i]->mesh()) triangles += mesh->primitiveCount();
  };
  std::vector<std::jthread> threads;
  for (std::size_t i = 1; i < threadCount; ++i) threads.emplace_back(run);
  run();
  threads.clear();
  return triangles;
}

/// Time on the wall, and on the processors by all threads.
class Stopwatch {
 public:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  }
  double processorSeconds() const {
    return static_cast<double>(std::clock() - processor_) / CLOCKS_PER_SEC;
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::clock_t processor_ = std::clock();
};

struct Sample {
  double seconds = 0;
  double processorSeconds = 0;
  std::size_t triangles = 0;
};

/// @param measure opens the file, decodes everything and answers a Sample
template <class Measure>
void report(benchmark::State& state, Profile profile, const char* way, const Measure& measure) {
  static std::map<std::string, double> alone;  // seconds on one thread, of each way
  static std::map<Profile, std::string> files;
  std::string& file = files[profile];
  if (file.empty()) file = makeComponent(profile);
  Sample sum;
  for (auto _ : state) {
    const Sample sample = measure(file);
    state.SetIterationTime(sample.seconds);
    sum.seconds += sample.seconds;
    sum.processorSeconds += sample.processorSeconds;
    sum.triangles += sample.triangles;
  }
  const auto times = static_cast<double>(state.iterations());
  double& single = alone[way + std::to_string(static_cast<int>(profile))];
  if (state.range(0) == 1) single = sum.seconds / times;
  state.SetItemsProcessed(static_cast<std::int64_t>(sum.triangles));
  state.counters["cpu_ms"] = 1000 * sum.processorSeconds / times;
  if (single > 0) state.counters["speedup"] = single * times / sum.seconds;
}

void byHost(benchmark::State& state, Profile profile) {
  report(state, profile, "host", [&](const std::string& file) {
    const auto root = bench::openFile(file);
    const Stopwatch watch;
    const std::size_t triangles = decodeByHost(*root, static_cast<std::size_t>(state.range(0)));
    return Sample{watch.seconds(), watch.processorSeconds(), triangles};
  });
}

void inBackground(benchmark::State& state, Profile profile) {
  auto& manager = JtResidencyRequestManager::instance();
  manager.stop();
  manager.setThreadCount(static_cast<std::size_t>(state.range(0)));
  report(state, profile, "background", [&](const std::string& file) {
    JtPartition::_autoLoadShapes = true;
    const Stopwatch watch;
    const auto root = bench::openFile(file);
    manager.waitForAll();
    const double seconds = watch.seconds();
    const double processorSeconds = watch.processorSeconds();
    JtPartition::_autoLoadShapes = false;
    return Sample{seconds, processorSeconds, decodeByHost(*root, 1)};
  });
  manager.stop();
}

}  // namespace

int main(int argc, char** argv) {
  JtPartition::_autoLoadShapes = false;
  const int cores = static_cast<int>(jt::coreCount());
  for (const Profile profile : {Profile::compact, Profile::compatible}) {
    const std::string name = profile == Profile::compact ? "/compact10" : "/compatible10";
    const auto add = [&](const char* way, void (*run)(benchmark::State&, Profile)) {
      benchmark::RegisterBenchmark((way + name).c_str(), run, profile)
          ->ArgName("threads")
          ->DenseRange(1, cores)
          ->Unit(benchmark::kMillisecond)
          ->UseManualTime();
    };
    add("host", byHost);
    add("background", inBackground);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
