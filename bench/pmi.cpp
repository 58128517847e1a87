// Annotations: making and writing them, reading them beside their bare decoding, and removing some.

#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <string>

#include "ApiDocument.h"
#include "GeneratedFiles.h"
#include "JtwManager.h"
#include "JtwPMIAnnotation.h"
#include "JtwPMIs.h"
#include "JtwRoot.h"
#include "JtwTree.h"
#include "VisMetaDataNode.h"

namespace {

constexpr auto kCounts = {1000L, 10000L, 100000L};

std::string fileOf(long count) {
  return bench::folder() + "/notes" + std::to_string(count) + ".jt";
}

ApiDocumentRef documentOf(long count) {
  return ApiDocumentRef(std::make_shared<ApiDocument>(fileOf(count)));
}

/// A component with that many annotations: a text of its own and two lines each.
void fill(JtwRoot& root, long count) {
  root.setKey(ApiProtoKey(1));
  for (long i = 0; i < count; ++i) {
    const double x = static_cast<double>(i);
    JtwPMIAnnotation& made = *root.createPMIAnnotationNode(ApiProtoKey(2 + i), ApiProtoKey(1),
                                                           RTTran3D::fromTranslation({x, 1, 2}));
    made.setName(L"Note " + std::to_wstring(i));
    ApiWmPMIAnnotationData& data = made.annotationData();
    data.annotationType = API_PMI_NOTE;
    data.graphics.textHeight = 2;
    data.graphics.geomPolylineSet = {{{x, 0, 0}, {x, 1, 0}}, {{x, 0, 1}, {x, 2, 1}, {x, 2, 3}}};
    data.textLines = {"N " + std::to_string(i)};
  }
}

/// The file with so many annotations, made once.
const std::string& savedFile(long count) {
  static std::map<long, std::string> files;
  std::string& path = files[count];
  if (!path.empty()) return path;
  path = fileOf(count);
  const ApiDocumentRef document = documentOf(count);
  JtwRoot& root = *JtwManager::the().computeNewDocRoot(document);
  fill(root, count);
  root.write(false);
  JtwManager::the().releaseRoot(document);
  return path;
}

void writeAnnotations(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    const ApiDocumentRef document = documentOf(-state.range(0));
    JtwRoot& root = *JtwManager::the().computeNewDocRoot(document);
    fill(root, state.range(0));
    state.ResumeTiming();
    if (!root.write(false)) state.SkipWithError(jt::lastError().c_str());
    state.PauseTiming();
    JtwManager::the().releaseRoot(document);
    state.ResumeTiming();
  }
}

/// What reading is held against: the segment inflated and decoded into plain structures.
void decodePMI(benchmark::State& state) {
  const std::string& path = savedFile(state.range(0));
  for (auto _ : state) {
    const auto partition = bench::openFile(path);
    auto* node = jt::as<VisMetaDataNode>(partition->child(0));
    benchmark::DoNotOptimize(node->pmi());
  }
}

void readAnnotations(benchmark::State& state) {
  const ApiDocumentRef document = documentOf(state.range(0));
  savedFile(state.range(0));
  for (auto _ : state) {
    auto error = JtwRoot::JT_INITIALIZE_FAILED;
    JtwRoot& root = *JtwManager::the().computeExistingDocRoot(
        document, JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY, error);
    jtw::loadWrappers(root);
    benchmark::DoNotOptimize(root.PMIs().size());
    state.PauseTiming();
    JtwManager::the().releaseRoot(document);
    state.ResumeTiming();
  }
}

/// One annotation of many is renamed.
void changeOne(benchmark::State& state) {
  const ApiDocumentRef document = documentOf(state.range(0));
  savedFile(state.range(0));
  auto error = JtwRoot::JT_INITIALIZE_FAILED;
  JtwRoot& root = *JtwManager::the().computeExistingDocRoot(
      document, JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY, error);
  jtw::loadWrappers(root);
  long round = 0;
  for (auto _ : state) {
    root.PMIs()[7]->setName(L"Renamed " + std::to_wstring(++round));
    if (!jtw::writePMIs(root)) state.SkipWithError(jt::lastError().c_str());
  }
  JtwManager::the().releaseRoot(document);
}

void counts(benchmark::internal::Benchmark* bench) {
  for (const long count : kCounts) bench->Arg(count);
  bench->Unit(benchmark::kMillisecond);
}

BENCHMARK(writeAnnotations)->Apply(counts);
BENCHMARK(decodePMI)->Apply(counts);
BENCHMARK(readAnnotations)->Apply(counts);
BENCHMARK(changeOne)->Apply(counts);

}  // namespace
