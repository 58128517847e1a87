// PMI with many annotations, each with texts of its own: made, saved and read back, beside putting
// their texts into a plain table. All of it takes time linear in their number.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <unordered_map>

#include "GeneratedFiles.h"
#include "Jt.h"
#include "VisMetaDataNode.h"

namespace {

JtString textOf(std::int64_t number) { return JtString("burr at edge " + std::to_string(number)); }

/// Notes in one view.
jt::Ref<PMIDataManager> notes(std::int64_t count) {
  auto manager = jt::make<PMIDataManager>();
  const PMITypedID view = manager->addModelView({});
  for (std::int64_t i = 0; i < count; ++i) {
    jt::PMIGenericEntity note;
    note.type = 0x0100;
    note.typeNameId = manager->stringId(JtString("Notes"));
    note.parentTypeNameId = manager->stringId(JtString("PMI"));
    note.texts.emplace_back().stringId = manager->stringId(textOf(i));
    note.lines.indices = {0, 2};
    note.lines.vertices = {static_cast<float>(i), 0, 0, static_cast<float>(i), 1, 2};
    manager->addAssociation(manager->addGenericEntity(std::move(note)), view, 98);
  }
  return manager;
}

void textTable(benchmark::State& state) {
  for (auto _ : state) {
    std::unordered_map<std::string, std::int64_t> ids;
    for (std::int64_t i = 0; i < state.range(0); ++i) ids.try_emplace(textOf(i).stringToMbs(), i);
    benchmark::DoNotOptimize(ids);
  }
}

void makeNotes(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(notes(state.range(0)));
}

void removeNotes(benchmark::State& state) {
  std::vector<int> odd;
  for (int i = 1; i < state.range(0); i += 2) odd.push_back(i);
  for (auto _ : state) {
    state.PauseTiming();
    const jt::Ref<PMIDataManager> manager = notes(state.range(0));
    state.ResumeTiming();
    manager->removeGenericEntities(odd);
  }
}

void saveAndReadNotes(benchmark::State& state) {
  const std::string path = bench::folder() + "/notes.jt";
  const auto root = jt::make<JtPartition>();
  const auto node = jt::make<VisMetaDataNode>();
  root->addChild(node.get());
  node->setPMI(notes(state.range(0)).get());
  jt::SaveOptions options;
  options.version = jt::FileVersion{static_cast<int>(state.range(1)), state.range(1) < 10 ? 5 : 0};
  for (auto _ : state) {
    root->save(bench::locationOf(path).get(), options);
    const auto opened = bench::openFile(path);
    auto* read = jt::as<VisMetaDataNode>(opened->child(0));
    if (!read || !read->pmi()) return state.SkipWithError(jt::lastError().c_str());
    benchmark::DoNotOptimize(read->pmi()->links());
  }
  unlink(path.c_str());
}

BENCHMARK(textTable)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(makeNotes)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(removeNotes)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(saveAndReadNotes)
    ->ArgNames({"notes", "version"})
    ->ArgsProduct({{10000, 100000}, {9, 10}})
    ->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
