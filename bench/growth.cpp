// How cost grows: the same work on scenes of 10, 100 and 1,000 thousand nodes and on meshes of 1,
// 10 and 100 million triangles. `bench/run --growth` prints the time of a node and of a triangle.

#include <benchmark/benchmark.h>

#include <memory>

#include "GeneratedFiles.h"
#include "JtPropAtom.h"
#include "JtStackNodeIter.h"
#include "MeshSamples.h"
#include "file/shapes/ShapeSegment.h"

namespace {

void open(benchmark::State& state) {
  const std::string& file = bench::assemblyFile(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) benchmark::DoNotOptimize(bench::openFile(file));
  state.counters["size"] = static_cast<double>(state.range(0));
}

void readProperties(benchmark::State& state) {
  const std::string& file = bench::assemblyFile(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    const auto partition = bench::openFile(file);
    const auto walk = jt::make<JtStackNodeIter>();
    std::size_t properties = 0;
    walk->setPreVisit([&](JtNode* node) {
      properties += static_cast<std::size_t>(node->numProperties());
      return JtStackNodeIter::Next::descend;
    });
    walk->run(partition.get());
    benchmark::DoNotOptimize(properties);
  }
  state.counters["size"] = static_cast<double>(state.range(0));
}

void save(benchmark::State& state) {
  const auto partition =
      bench::openFile(bench::assemblyFile(static_cast<std::size_t>(state.range(0))));
  const auto place = bench::locationOf(bench::folder() + "/saved.jt");
  jt::SaveOptions options;
  options.rewriteSceneGraph = true;
  for (auto _ : state) benchmark::DoNotOptimize(partition->save(place.get(), options));
  state.counters["size"] = static_cast<double>(state.range(0));
}

/// A torus. One is held at a time: the larger takes a gigabyte.
struct Torus {
  explicit Torus(unsigned steps)
      : steps(steps), mesh(bench::withoutNormals(bench::smoothTorus(steps).mesh)) {}

  jt::file::Buffer encoded() const {
    jt::codec::Report losses;
    return jt::file::writeShapeSegment(
        mesh, {}, 7, kFormat, {.profile = jt::codec::Profile::compact, .coordinateBits = 14},
        losses);
  }
  double triangles() const { return static_cast<double>(mesh.corners.size() / 3); }

  static constexpr jt::file::Format kFormat{10, 0, false};
  unsigned steps;
  jt::Mesh mesh;
};

const Torus& torusOf(const benchmark::State& state) {
  static std::unique_ptr<Torus> torus;
  const auto steps = static_cast<unsigned>(state.range(0));
  if (!torus || torus->steps != steps) {
    torus = nullptr;
    torus = std::make_unique<Torus>(steps);
  }
  return *torus;
}

/// The second argument of meshes: how many shapes of that size. One cannot hold 100 million
/// triangles.
void encodeMesh(benchmark::State& state) {
  const Torus& torus = torusOf(state);
  for (auto _ : state)
    for (int i = 0; i < state.range(1); ++i) benchmark::DoNotOptimize(torus.encoded().size());
  state.counters["size"] = torus.triangles() * static_cast<double>(state.range(1));
}

void decodeMesh(benchmark::State& state) {
  const Torus& torus = torusOf(state);
  const jt::file::Buffer segment = torus.encoded();
  const auto content = segment.bytes().subspan(jt::file::kSegmentHeaderSize);
  jt::file::ShapeReadOptions options;
  options.limits.maxSegmentBytes = std::uint64_t{1} << 34;
  for (auto _ : state)
    for (int i = 0; i < state.range(1); ++i) {
      jt::codec::VariantChoice variants;
      const auto shape = readShape(content, Torus::kFormat, variants, options);
      if (shape.mesh.corners.size() != torus.mesh.corners.size())
        state.SkipWithError("triangles are lost");
    }
  state.counters["size"] = torus.triangles() * static_cast<double>(state.range(1));
}

// What a process does first finds cold memory; the small sizes would hide it.
void repeatedly(benchmark::internal::Benchmark* work) {
  work->MinWarmUpTime(1)->MinTime(2)->Unit(benchmark::kMillisecond)->UseRealTime();
}

void ofScenes(benchmark::internal::Benchmark* work) {
  work->RangeMultiplier(10)->Range(10000, 1000000)->Apply(repeatedly);
}

/// About 1, 10 and 100 million triangles.
void ofMeshes(benchmark::internal::Benchmark* work) {
  work->Args({708, 1})->Args({2236, 1})->Args({2236, 10})->Apply(repeatedly);
}

BENCHMARK(open)->Apply(ofScenes);
BENCHMARK(readProperties)->Apply(ofScenes);
BENCHMARK(save)->Apply(ofScenes);
BENCHMARK(encodeMesh)->Apply(ofMeshes);
BENCHMARK(decodeMesh)->Apply(ofMeshes);

}  // namespace
