// The component model beside what it is built on: walking beside a bare walk of the scene graph,
// looking up beside a plain table, and how making, placing, coloring and saving grow with the
// component.

#include <benchmark/benchmark.h>

#include <memory>
#include <unordered_map>

#include "ApiDocument.h"
#include "GeneratedFiles.h"
#include "JtStackNodeIter.h"
#include "JtwBlock.h"
#include "JtwEntity.h"
#include "JtwManager.h"
#include "JtwRoot.h"
#include "JtwTraverse.h"
#include "JtwTree.h"

namespace {

constexpr long kFanOut = 10;
constexpr long kWalked = 100000;

/// A component of its own, released when it goes.
class Component {
 public:
  Component()
      : document_(std::make_shared<ApiDocument>(bench::folder() + "/gear" +
                                                std::to_string(number_++) + ".jt")),
        root_(*JtwManager::the().computeNewDocRoot(document_)) {
    root_.setKey(ApiProtoKey(1));
  }
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;
  ~Component() { JtwManager::the().releaseRoot(document_); }

  JtwRoot& root() { return root_; }
  /// The next of a tree of blocks with ten below each.
  JtwNode* add(long key) {
    return root_.createBlockNode(ApiProtoKey(key), ApiProtoKey(1 + (key - 2) / kFanOut), at(key));
  }
  void grow(long count) {
    for (long key = 2; key <= count; ++key) add(key);
  }
  /// A chain of blocks, each with a place of its own.
  void deepen(long count) {
    for (long key = 2; key <= count; ++key)
      root_.createBlockNode(ApiProtoKey(key), ApiProtoKey(key - 1), at(key));
  }
  static RTTran3D at(long x) {
    return RTTran3D::fromTranslation({static_cast<double>(x % 7), 0, 1});
  }

 private:
  static inline int number_ = 0;
  ApiDocumentRef document_;
  JtwRoot& root_;
};

class CountingWalk : public JtwTraverse {
 public:
  using JtwTraverse::JtwTraverse;
  bool actOnNode(JtwNode* /*node*/) override { return ++count > 0; }
  bool postActOnNode(JtwNode* /*node*/) override { return true; }
  std::size_t count = 0;
};

void walkSceneGraph(benchmark::State& state) {
  Component component;
  component.grow(kWalked);
  for (auto _ : state) {
    std::size_t count = 0;
    const auto iterator = jt::make<JtStackNodeIter>();
    iterator->setPreVisit([&count](JtNode*) {
      ++count;
      return JtStackNodeIter::Next::descend;
    });
    iterator->setPostVisit([](JtNode*) { return true; });
    iterator->run(component.root().jtNode());
    benchmark::DoNotOptimize(count);
  }
}

void walkComponent(benchmark::State& state) {
  Component component;
  component.grow(kWalked);
  for (auto _ : state) {
    CountingWalk walk(&component.root());
    walk.execute();
    benchmark::DoNotOptimize(walk.count);
  }
}

void createEntities(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto component = std::make_unique<Component>();
    state.ResumeTiming();
    for (long key = 2; key < 2 + state.range(0); ++key)
      component->root().createEntityNode(ApiProtoKey(key), ApiProtoKey(1), Component::at(key));
    state.PauseTiming();
    component.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

/// Each key once, in an order that jumps about in memory.
template <class Find>
void lookUp(benchmark::State& state, Find find) {
  constexpr long kStep = 7919;  // no divisor of kWalked
  for (auto _ : state)
    for (long i = 0; i < kWalked; ++i) benchmark::DoNotOptimize(find(1 + i * kStep % kWalked));
  state.SetItemsProcessed(state.iterations() * kWalked);
}

void lookUpByKey(benchmark::State& state) {
  Component component;
  component.grow(kWalked);
  lookUp(state, [&root = component.root()](long key) {
    JtwNode* node = nullptr;
    root.getNodeByKey(ApiProtoKey(key), node);
    return node;
  });
}

/// The table grows along with the component, so that both lie in memory alike.
void lookUpInTable(benchmark::State& state) {
  Component component;
  std::unordered_map<long, JtwNode*> table{{1, &component.root()}};
  for (long key = 2; key <= kWalked; ++key) table.emplace(key, component.add(key));
  lookUp(state, [&table](long key) { return table.find(key)->second; });
}

/// Place and color of every node of a chain, with empty caches; the deepest is asked first.
void locateAndColor(benchmark::State& state) {
  Component component;
  component.deepen(state.range(0));
  // Entities have a color of their own: one below each block.
  for (long key = 1; key <= state.range(0); ++key)
    component.root().createEntityNode(ApiProtoKey(1000000 + key), ApiProtoKey(key),
                                      Component::at(1));
  component.root().setColor(ApiGraColor(1, 2, 3), false, false);
  const auto entries = jtw::tree(component.root(), component.root());
  for (auto _ : state) {
    for (const auto& entry : entries) entry.node->forgetCached();
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
      benchmark::DoNotOptimize(entry->node->relLoc());
      bool isDefault = false;
      if (entry->node->type() == JtwNode::JT_ENTITY_NODE)
        benchmark::DoNotOptimize(static_cast<JtwEntity*>(entry->node)->color(isDefault));
    }
  }
  state.SetItemsProcessed(state.iterations() * static_cast<long>(entries.size()));
}

/// One save after 1 000 edits in a component of 100 000 blocks; the edits count too.
void saveAfterEdits(benchmark::State& state) {
  Component component;
  component.grow(kWalked);
  component.root().write(false);
  long round = 0;
  for (auto _ : state) {
    ++round;
    for (long i = 0; i < state.range(0); ++i) {
      JtwNode* node = nullptr;
      component.root().getNodeByKey(ApiProtoKey(2 + i * 97), node);
      node->setAttributes("edit " + std::to_string(round));
      node->setRelLoc(Component::at(round + i));
    }
    if (!component.root().write(false)) state.SkipWithError(jt::lastError().c_str());
  }
}

BENCHMARK(walkSceneGraph)->Unit(benchmark::kMillisecond);
BENCHMARK(walkComponent)->Unit(benchmark::kMillisecond);
BENCHMARK(createEntities)->RangeMultiplier(10)->Range(1000, 1000000)->Unit(benchmark::kMillisecond);
BENCHMARK(lookUpInTable);
BENCHMARK(lookUpByKey);
BENCHMARK(locateAndColor)->RangeMultiplier(10)->Range(100, 10000)->Unit(benchmark::kMillisecond);
BENCHMARK(saveAfterEdits)->Arg(0)->Arg(1000)->Unit(benchmark::kMillisecond);

}  // namespace
