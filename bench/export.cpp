// Export through the toolkit: assemblies of many parts with geometry of their own, and the same
// scene as GLB by other libraries. Each runs in a process of its own, so that its peak memory can
// be seen.

#include <benchmark/benchmark.h>

#include <cstring>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "GeneratedFiles.h"
#include "GlbFiles.h"
#include "JtMesh.h"
#include "JtkAssembly.h"
#include "JtkCADExporter.h"
#include "JtkEntityFactory.h"
#include "JtkInstance.h"
#include "JtkPart.h"
#include "JtkTransform.h"
#include "MeshSamples.h"

namespace {

constexpr unsigned kSmall = 50;   // squares along each side of a torus: 5,000 triangles
constexpr unsigned kLarge = 158;  // 49,928 triangles

/// What one process writes.
struct Job {
  std::string way = "file";  ///< "file", "files" (one a part), "assimp", "tinygltf"
  int parts = 200;
  unsigned steps = kSmall;
  int places = 1;  ///< of each part

  std::string text() const {
    return way + ":" + std::to_string(parts) + ":" + std::to_string(steps) + ":" +
           std::to_string(places);
  }
  static Job parse(const std::string& text) {
    Job job;
    std::istringstream in(text);
    char colon = 0;
    std::getline(in, job.way, ':');
    in >> job.parts >> colon >> job.steps >> colon >> job.places;
    return job;
  }
};

int partNumber = 0;
unsigned steps = kSmall;

/// Geometry that no other part has, made when the part is written.
int fill(JtkPart* part, JtkCADExporter*) {
  auto mesh = std::make_shared<jt::Mesh>(bench::smoothTorus(steps).mesh);
  const auto size = 1 + static_cast<float>(partNumber++) / 1000;
  for (jt::Vec3f& position : mesh->positions) position[2] *= size;
  part->addShape(jt::makeShape(std::move(mesh)).get(), 0);
  return JtkCADExporter::kGoOn;
}

int empty(JtkPart* part, JtkCADExporter*) {
  part->removeShape(0, 0);
  return JtkCADExporter::kGoOn;
}

jt::Ref<JtkTransform> moved(int x, int y) {
  jt::Matrix4 place = jt::kIdentity;
  place[12] = x;
  place[13] = y;
  return jt::make<JtkTransform>(place);
}

void exportParts(const Job& job, const std::string& folder) {
  steps = job.steps;
  const jt::Ref<JtkAssembly> root(JtkEntityFactory::createAssembly(JtString("hall"), 0, 0));
  for (int i = 0; i < job.parts; ++i) {
    const jt::Ref<JtkPart> part(JtkEntityFactory::createPart("torus", 0, 0));
    if (job.places == 1) {
      part->addAttribute(moved(i, 0).get());
      root->addChild(part.get());
    }
    for (int j = 0; j < job.places && job.places > 1; ++j) {
      const jt::Ref<JtkInstance> instance(JtkEntityFactory::createInstance({}, part.get()));
      instance->addAttribute(moved(i, j).get());
      root->addChild(instance.get());
    }
  }
  const jt::Ref<JtkCADExporter> exporter(JtkEntityFactory::createCADExporter());
  exporter->setOption(job.way == "files" ? JtkCADExporter::PART_FILES
                                         : JtkCADExporter::SINGLE_FILE);
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

void writeInChild(benchmark::State& state, const Job& job) {
  const std::string folder = bench::folder() + "/export";
  std::uint64_t peak = 0;
  std::uint64_t bytes = 0;
  for (auto round : state) {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    peak = bench::peakMemory(job.text(), folder);
    bytes = bytesIn(folder);
  }
  std::filesystem::remove_all(folder);
  if (peak == 0 || bytes == 0) state.SkipWithError("nothing was written");
  state.counters["parts/s"] = benchmark::Counter(
      static_cast<double>(job.parts * state.iterations()), benchmark::Counter::kIsRate);
  state.counters["bytes"] = static_cast<double>(bytes);
  state.counters["peak"] = static_cast<double>(peak);
}

void registerJobs() {
  std::vector<Job> jobs;
  for (const int parts : {200, 2000, 20000})
    for (const char* way : {"file", "files", "assimp", "tinygltf"})
      if (parts < 20000 || way[0] == 'f') jobs.push_back({way, parts, kSmall, 1});
  for (const char* way : {"file", "files"}) jobs.push_back({way, 2000, kLarge, 1});
  jobs.push_back({"file", 200, kSmall, 250});
  for (const Job& job : jobs)
    benchmark::RegisterBenchmark((job.way + "/parts:" + std::to_string(job.parts) +
                                  "/triangles:" + std::to_string(2 * job.steps * job.steps) +
                                  "/places:" + std::to_string(job.parts * job.places))
                                     .c_str(),
                                 [job](benchmark::State& state) { writeInChild(state, job); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime()
        ->Iterations(1);
}

/// `--peak WAY:PARTS:STEPS:PLACES FOLDER`: one export and the peak of the process.
int runOnce(const char* what, const std::string& folder) {
  const Job job = Job::parse(what);
  if (job.way == "assimp")
    bench::writeWithAssimp(job.parts, job.steps, folder + "/hall.glb");
  else if (job.way == "tinygltf")
    bench::writeWithTinygltf(job.parts, job.steps, folder + "/hall.glb");
  else
    exportParts(job, folder);
  bench::printPeakMemory();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--peak") == 0) return runOnce(argv[2], argv[3]);
  benchmark::Initialize(&argc, argv);
  registerJobs();
  benchmark::RunSpecifiedBenchmarks();
}
