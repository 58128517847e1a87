// What changed between two components, as a patch; its application; a merge of two sides.
// Components of 2,000 to 200,000 parts in blocks of ten, of which a part in seven changed: all have
// to grow with the number of parts.

#include <benchmark/benchmark.h>

#include <memory>
#include <string>

#include "ApiDocument.h"
#include "JtwManager.h"
#include "JtwMerge.h"
#include "JtwPatch.h"
#include "JtwRoot.h"
#include "JtwTree.h"

namespace {

constexpr long kPartsPerBlock = 10;

/// A component in memory: the blocks have the keys that end in 0, the parts the ones between.
class Component {
 public:
  Component(const char* name, long parts)
      : document_(std::make_shared<ApiDocument>(name)),
        root_(*JtwManager::the().computeNewDocRoot(document_)) {
    root_.setKey(ApiProtoKey(1));
    for (long key = kPartsPerBlock; key < parts + kPartsPerBlock; ++key) {
      const bool isBlock = key % kPartsPerBlock == 0;
      const ApiProtoKey parent(isBlock ? 1 : key - key % kPartsPerBlock);
      const auto type = isBlock ? JtwNode::JT_BLOCK_NODE : JtwNode::JT_ENTITY_NODE;
      jtw::createNode(root_, type, ApiProtoKey(key), parent,
                      RTTran3D::fromTranslation({static_cast<double>(key), 1, 2}))
          ->setName(L"Part " + std::to_wstring(key));
    }
    objects_ = std::make_unique<jtw::Objects>(root_, name);
  }
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;
  ~Component() { JtwManager::the().releaseRoot(document_); }

  /// Renames, moves or removes each seventh object from one on; blocks are renamed.
  void change(long first, long parts) {
    for (long key = kPartsPerBlock + first; key < parts + kPartsPerBlock; key += 7) {
      JtwNode* node = nullptr;
      root_.getNodeByKey(ApiProtoKey(key), node);
      if (key % kPartsPerBlock == 0 || key % 3 == 0)
        node->setName(L"Other " + std::to_wstring(key));
      else if (key % 3 == 1)
        node->setParent(ApiProtoKey(kPartsPerBlock));
      else
        root_.deleteNode(ApiProtoKey(key));
    }
    objects_->changed();
  }
  jtw::Objects& objects() { return *objects_; }
  jtw::ComponentFacts facts() { return jtw::ComponentFacts(*objects_); }

 private:
  ApiDocumentRef document_;
  JtwRoot& root_;
  std::unique_ptr<jtw::Objects> objects_;
};

void findChanges(benchmark::State& state) {
  Component a("a", state.range(0));
  Component b("b", state.range(0));
  b.change(1, state.range(0));
  for (auto _ : state) benchmark::DoNotOptimize(jtw::difference(a.facts(), b.facts()));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void applyChanges(benchmark::State& state) {
  Component b("b", state.range(0));
  jtw::Patch patch;
  for (auto _ : state) {
    state.PauseTiming();
    auto a = std::make_unique<Component>("a", state.range(0));
    if (patch.changes.empty()) {
      b.change(1, state.range(0));
      patch = jtw::difference(a->facts(), b.facts());
    }
    state.ResumeTiming();
    if (!jtw::applyPatch(a->objects(), patch).misfits.empty()) state.SkipWithError("no fit");
    state.PauseTiming();
    a.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void mergeSides(benchmark::State& state) {
  Component base("base", state.range(0));
  Component ours("ours", state.range(0));
  Component theirs("theirs", state.range(0));
  ours.change(1, state.range(0));
  theirs.change(4, state.range(0));
  for (auto _ : state)
    benchmark::DoNotOptimize(jtw::merge(base.facts(), ours.facts(), theirs.facts()));
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

BENCHMARK(findChanges)->Arg(2000)->Arg(20000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(applyChanges)->Arg(2000)->Arg(20000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(mergeSides)->Arg(2000)->Arg(20000)->Arg(200000)->Unit(benchmark::kMillisecond);

}  // namespace
