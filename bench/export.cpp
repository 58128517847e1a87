// Export through the toolkit: assemblies of many parts with geometry of their own. Each size runs
// in a process of its own, so that its peak memory can be seen.

#include <benchmark/benchmark.h>

#include <charconv>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <string>

#include "GeneratedFiles.h"
#include "JtMesh.h"
#include "JtkAssembly.h"
#include "JtkCADExporter.h"
#include "JtkEntityFactory.h"
#include "JtkPart.h"
#include "JtkTransform.h"
#include "MeshSamples.h"

namespace {

constexpr unsigned kSteps = 50;  // squares along each side of a torus: 5,000 triangles

int partNumber = 0;

/// Geometry that no other part has, made when the part is written.
int fill(JtkPart* part, JtkCADExporter*) {
  auto mesh = std::make_shared<jt::Mesh>(bench::smoothTorus(kSteps).mesh);
  const auto size = 1 + static_cast<float>(partNumber++) / 1000;
  for (jt::Vec3f& position : mesh->positions) position[2] *= size;
  part->addShape(jt::makeShape(std::move(mesh)).get(), 0);
  return JtkCADExporter::kGoOn;
}

int empty(JtkPart* part, JtkCADExporter*) {
  part->removeShape(0, 0);
  return JtkCADExporter::kGoOn;
}

void exportParts(int count, bool inPartFiles, const std::string& folder) {
  const jt::Ref<JtkAssembly> root(JtkEntityFactory::createAssembly(JtString("hall"), 0, 0));
  for (int i = 0; i < count; ++i) {
    const jt::Ref<JtkPart> part(JtkEntityFactory::createPart("torus", 0, 0));
    jt::Matrix4 place = jt::kIdentity;
    place[12] = i;
    part->addAttribute(jt::make<JtkTransform>(place).get());
    root->addChild(part.get());
  }
  const jt::Ref<JtkCADExporter> exporter(JtkEntityFactory::createCADExporter());
  exporter->setOption(inPartFiles ? JtkCADExporter::PART_FILES : JtkCADExporter::SINGLE_FILE);
  exporter->setOutputDirectory(JtString(folder));
  exporter->setPartExportPreCallback(&fill);
  exporter->setPartExportPostCallback(&empty);
  if (exporter->exportHierarchy(root.get()) != 1) throw std::runtime_error(jt::lastError());
}

std::uint64_t bytesIn(const std::string& folder) {
  std::uint64_t bytes = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder))
    if (entry.is_regular_file()) bytes += entry.file_size();
  return bytes;
}

void exportInChild(benchmark::State& state) {
  const auto count = state.range(0);
  const bool inPartFiles = state.range(1) != 0;
  const std::string folder = bench::folder() + "/export";
  std::uint64_t peak = 0;
  std::uint64_t bytes = 0;
  for (auto round : state) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    peak = bench::peakMemory((inPartFiles ? "files" : "file") + std::to_string(count), folder);
    bytes = bytesIn(folder);
  }
  std::filesystem::remove_all(folder);
  state.counters["parts/s"] = benchmark::Counter(static_cast<double>(count * state.iterations()),
                                                 benchmark::Counter::kIsRate);
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["peak"] = static_cast<double>(peak);
}
BENCHMARK(exportInChild)
    ->ArgNames({"parts", "files"})
    ->ArgsProduct({{200, 2000, 20000}, {0, 1}})
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(1);

/// `--peak files2000 FOLDER`: one export and the peak of the process.
int runOnce(const char* what, const char* folder) {
  const bool inPartFiles = std::strncmp(what, "files", 5) == 0;
  int count = 0;
  const char* const digits = what + (inPartFiles ? 5 : 4);
  std::from_chars(digits, digits + std::strlen(digits), count);
  exportParts(count, inPartFiles, folder);
  bench::printPeakMemory();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--peak") == 0) return runOnce(argv[2], argv[3]);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
}
