// Shapes as segments, beside other mesh codecs on the same meshes and grids: triangles a second,
// and bytes a triangle.
//
// Benchmarks are named encode|decode/MESH/BITS[n]/CODEC, n with normals, BITS 0 lossless. Further
// meshes in OFF files are given in front of the usual options: bench_mesh bunny.off --benchmark_...

#include <benchmark/benchmark.h>

#include <exception>
#include <iostream>

#include "MeshSamples.h"
#include "OtherCodecs.h"
#include "file/shapes/ShapeSegment.h"

namespace {

using jt::codec::EncodeOptions;
using jt::codec::Profile;
using jt::file::Format;

struct OwnCodec {
  const char* name;
  Profile profile;
  Format format;
};

constexpr OwnCodec kOwn[] = {{"compact10", Profile::compact, {10, 0, false}},
                             {"compact9", Profile::compact, {9, 5, false}},
                             {"compatible10", Profile::compatible, {10, 0, false}},
                             {"compatible9", Profile::compatible, {9, 5, false}},
                             {"compact8", Profile::compact, {8, 1, false}},
                             {"compatible8", Profile::compatible, {8, 1, false}}};

void count(benchmark::State& state, const jt::Mesh& mesh, std::size_t bytes) {
  const auto triangles = static_cast<double>(mesh.corners.size() / 3);
  state.SetItemsProcessed(static_cast<std::int64_t>(triangles) *
                          static_cast<std::int64_t>(state.iterations()));
  state.counters["bytes_per_tri"] = static_cast<double>(bytes) / triangles;
}

jt::file::Buffer encoded(const jt::Mesh& mesh, const OwnCodec& codec, unsigned bits) {
  // Six bits an angle are a little finer than eight bits an axis of the octahedron.
  const EncodeOptions options{
      .profile = codec.profile, .coordinateBits = bits, .normalBits = bits == 0 ? 0U : 6U};
  jt::codec::Report losses;
  return jt::file::writeShapeSegment(mesh, {}, 7, codec.format, options, losses);
}

void encodeOwn(benchmark::State& state, const jt::Mesh& mesh, const OwnCodec& codec,
               unsigned bits) {
  std::size_t bytes = 0;
  for (auto _ : state) bytes = encoded(mesh, codec, bits).size();
  count(state, mesh, bytes);
}

void decodeOwn(benchmark::State& state, const jt::Mesh& mesh, const OwnCodec& codec,
               unsigned bits) {
  const auto segment = encoded(mesh, codec, bits);
  const auto content = segment.bytes().subspan(jt::file::kSegmentHeaderSize);
  for (auto _ : state) {
    jt::codec::VariantChoice variants;
    const auto shape = readShape(content, codec.format, variants);
    if (shape.mesh.corners.size() != mesh.corners.size()) state.SkipWithError("triangles are lost");
  }
  count(state, mesh, segment.size());
}

void encodeOther(benchmark::State& state, const jt::Mesh& mesh, const bench::OtherCodecKind& kind,
                 unsigned bits) {
  const auto codec = kind.make(mesh, bits);
  std::size_t bytes = 0;
  for (auto _ : state) bytes = codec->encode();
  if (bytes == 0) state.SkipWithError("not encoded");
  count(state, mesh, bytes);
}

void decodeOther(benchmark::State& state, const jt::Mesh& mesh, const bench::OtherCodecKind& kind,
                 unsigned bits) {
  const auto codec = kind.make(mesh, bits);
  const std::size_t bytes = codec->encode();
  for (auto _ : state)
    if (!codec->decode()) state.SkipWithError("not decoded");
  count(state, mesh, bytes);
}

void registerMesh(const std::string& name, const jt::Mesh& mesh, unsigned bits) {
  const std::string suffix =
      name + '/' + std::to_string(bits) + (mesh.normals.empty() ? "/" : "n/");
  const auto add = [&](const std::string& what, auto run) {
    // Large shapes are decoded on two cores.
    benchmark::RegisterBenchmark((what).c_str(), run)->Unit(benchmark::kMicrosecond)->UseRealTime();
  };
  for (const OwnCodec& codec : kOwn) {
    add("encode/" + suffix + codec.name,
        [&mesh, &codec, bits](benchmark::State& state) { encodeOwn(state, mesh, codec, bits); });
    add("decode/" + suffix + codec.name,
        [&mesh, &codec, bits](benchmark::State& state) { decodeOwn(state, mesh, codec, bits); });
  }
  static const std::vector<bench::OtherCodecKind> others = bench::otherCodecs();
  for (const bench::OtherCodecKind& kind : others) {
    add("encode/" + suffix + kind.name,
        [&mesh, &kind, bits](benchmark::State& state) { encodeOther(state, mesh, kind, bits); });
    add("decode/" + suffix + kind.name,
        [&mesh, &kind, bits](benchmark::State& state) { decodeOther(state, mesh, kind, bits); });
  }
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<bench::MeshSample> samples;
  samples.push_back(bench::smoothTorus(708));
  samples.push_back(bench::bossPlate("cad", 45));
  samples.push_back(bench::bossPlate("boss", 1));
  samples.push_back(bench::box());
  benchmark::Initialize(&argc, argv);
  try {
    for (int i = 1; i < argc; ++i) samples.push_back(bench::readOff(argv[i]));
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 2;
  }
  std::vector<jt::Mesh> plain;
  for (const bench::MeshSample& sample : samples)
    plain.push_back(bench::withoutNormals(sample.mesh));
  for (std::size_t i = 0; i < samples.size(); ++i)
    for (const unsigned bits : {11U, 14U, 0U}) {
      registerMesh(samples[i].name, plain[i], bits);
      registerMesh(samples[i].name, samples[i].mesh, bits);
    }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
