// Two files with one shape of 3.2 million triangles each, compared: in the same order, in another
// order, and with positions that were rounded, within a tolerance far below and far above the size
// of a triangle. Opening and decoding both files is part of it; `decode` is that alone.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <map>
#include <random>

#include "GeneratedFiles.h"
#include "JtCompare.h"
#include "JtShape.h"
#include "MeshSamples.h"
#include "VisPartNode.h"

namespace {

constexpr unsigned kSteps = 1265;

enum class Variant { original, otherOrder, moved };

/// The triangles in another order, with other first corners.
void shuffle(jt::Mesh& mesh) {
  std::vector<std::uint32_t> order(mesh.corners.size() / 3);
  for (std::uint32_t i = 0; i < order.size(); ++i) order[i] = i;
  std::shuffle(order.begin(), order.end(), std::mt19937(3));
  const jt::Mesh from = mesh;
  for (std::size_t i = 0; i < order.size(); ++i)
    for (std::size_t corner = 0; corner < 3; ++corner) {
      const std::size_t source = std::size_t{3} * order[i] + (corner + i) % 3;
      mesh.corners[3 * i + corner] = from.corners[source];
      if (!mesh.records.empty()) mesh.records[3 * i + corner] = from.records[source];
    }
}

/// By some ten units in the last place, as rounding does.
void move(jt::Mesh& mesh) {
  std::minstd_rand random(5);
  for (jt::Vec3f& position : mesh.positions)
    for (float& coordinate : position)
      coordinate += 1e-4F * (static_cast<float>(random() % 2001) - 1000) / 1000;
}

const std::string& file(Variant variant) {
  static std::map<Variant, std::string> paths;
  std::string& path = paths[variant];
  if (!path.empty()) return path;
  jt::Mesh mesh = bench::smoothTorus(kSteps).mesh;
  if (variant != Variant::original) shuffle(mesh);
  if (variant == Variant::moved) move(mesh);
  const auto root = jt::make<JtPartition>();
  const auto part = jt::make<VisPartNode>();
  part->addChild(jt::makeShape(std::make_shared<const jt::Mesh>(std::move(mesh))).get());
  root->addChild(part.get());
  jt::SaveOptions options;
  // The order of triangles is kept in 8.x alone.
  options.version = variant == Variant::original ? jt::FileVersion{10, 0} : jt::FileVersion{9, 5};
  path = bench::folder() + "/torus" + std::to_string(static_cast<int>(variant)) + ".jt";
  root->save(bench::locationOf(path).get(), options);
  return path;
}

class Nothing : public jt::CompareSink {
 public:
  void difference(const jt::Difference&) override {}
};

void decode(benchmark::State& state) {
  const std::string* paths[] = {&file(Variant::original), &file(Variant::otherOrder)};
  for (auto _ : state)
    for (const std::string* path : paths) {
      const auto root = bench::openFile(*path);
      const auto* shape = jt::as<JtShape>(static_cast<const JtBase*>(root->child(0)->child(0)));
      benchmark::DoNotOptimize(shape->mesh());
    }
}

void compare(benchmark::State& state, Variant variant, double tolerance, bool isSame) {
  jt::CompareOptions options;
  options.tolerance = tolerance;
  const std::string& pathA = file(Variant::original);
  const std::string& pathB = file(variant);
  for (auto _ : state) {
    const auto a = bench::openFile(pathA);
    const auto b = bench::openFile(pathB);
    Nothing sink;
    if (jt::compare(*a, *b, options, sink).isSame() != isSame) state.SkipWithError("wrong answer");
  }
}

BENCHMARK(decode)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, same_bytes, Variant::original, 0, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, other_order, Variant::otherOrder, 0, true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, other_order_tolerance, Variant::otherOrder, 0.1, true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, moved_tolerance_below, Variant::moved, 1e-5, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, moved_small_tolerance, Variant::moved, 2e-4, true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(compare, moved_great_tolerance, Variant::moved, 5, true)
    ->Unit(benchmark::kMillisecond);

}  // namespace
