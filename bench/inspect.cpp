// Listing the objects of a component, and what is done with all of them: a table of its parts, a
// selection, a script that moves and paints each part. From 2,000 to 200,000 parts: all have to
// grow with their number.

#include <benchmark/benchmark.h>

#include <map>
#include <memory>
#include <vector>

#include "ApiDocument.h"
#include "GeneratedFiles.h"
#include "Jt.h"
#include "JtLOD.h"
#include "JtMaterial.h"
#include "JtMesh.h"
#include "JtXform.h"
#include "JtwInspection.h"
#include "JtwManager.h"
#include "JtwRoot.h"
#include "JtwScript.h"
#include "JtwSelection.h"
#include "JtwTree.h"
#include "VisPartNode.h"

namespace {

constexpr std::size_t kPartsPerBlock = 10;

jt::Ref<JtTriStripSet> triangle(const std::shared_ptr<const jt::Mesh>& mesh) {
  auto shape = jt::make<JtTriStripSet>();
  shape->setMesh(mesh);
  return shape;
}

void rename(JtNode& node, JtStringPropAtom& key, const std::string& name) {
  node.addProperty(&key, jt::make<JtStringPropAtom>(JtString(name)).get(), true);
}

/// A file of blocks of ten parts, each with two levels of detail and a color.
const std::string& file(std::size_t parts) {
  static std::map<std::size_t, std::string> files;
  std::string& path = files[parts];
  if (!path.empty()) return path;
  path = bench::folder() + "/parts" + std::to_string(parts) + ".jt";
  auto mesh = std::make_shared<jt::Mesh>();
  mesh->positions = {{0, 0, 0}, {2, 0, 0}, {0, 1, 3}};
  mesh->corners = {0, 1, 2};
  const auto name = jt::make<JtStringPropAtom>(JtString(Jt::jtPropName));
  const auto partition = jt::make<JtPartition>();
  const auto hall = jt::make<VisMetaDataNode>();
  rename(*hall, *name, "Hall");
  partition->addChild(hall.get());
  jt::Ref<VisMetaDataNode> block;
  for (std::size_t i = 0; i < parts; ++i) {
    if (i % kPartsPerBlock == 0) {
      block = jt::make<VisMetaDataNode>();
      rename(*block, *name, "Block " + std::to_string(i / kPartsPerBlock));
      hall->addChild(block.get());
    }
    const auto part = jt::make<VisPartNode>();
    rename(*part, *name, "Part " + std::to_string(i));
    const auto x = static_cast<double>(i);
    part->appendAttribute(
        jt::make<JtXform>(jt::Matrix4{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, x, 1, 2, 1}).get());
    const auto material = jt::make<JtMaterial>();
    material->setDiffuseColor(1, 0.5F, 0.25F, 1);
    part->appendAttribute(material.get());
    const auto levels = jt::make<JtRangeLOD>();
    for (int level = 0; level < 2; ++level) levels->addChild(triangle(mesh).get());
    part->addChild(levels.get());
    block->addChild(part.get());
  }
  partition->save(bench::locationOf(path).get());
  return path;
}

/// A file, opened as a component.
class Component {
 public:
  explicit Component(const std::string& path) : document_(std::make_shared<ApiDocument>(path)) {
    auto error = JtwRoot::JT_INITIALIZE_FAILED;
    root_ = JtwManager::the().computeExistingDocRoot(document_, JtwRoot::JT_LOAD_WITH_UNIT_PROPERTY,
                                                     error);
    jtw::loadWrappers(*root_);
  }
  Component(const Component&) = delete;
  Component& operator=(const Component&) = delete;
  ~Component() { JtwManager::the().releaseRoot(document_); }
  JtwRoot& root() { return *root_; }

 private:
  ApiDocumentRef document_;
  JtwRoot* root_ = nullptr;
};

/// @param visit of a component with as many parts as the benchmark's argument says, opened anew
template <class Visit>
void run(benchmark::State& state, Visit visit) {
  const std::string& path = file(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    state.PauseTiming();
    auto component = std::make_unique<Component>(path);
    state.ResumeTiming();
    visit(component->root());
    state.PauseTiming();
    component.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void listObjects(benchmark::State& state) {
  run(state, [](JtwRoot& root) {
    const jtw::Objects objects(root, "parts");
    benchmark::DoNotOptimize(objects.path(objects.entries().size() - 1));
  });
}

void inspectParts(benchmark::State& state) {
  run(state, [](JtwRoot& root) {
    const jtw::Objects objects(root, "parts");
    const jtw::Reading reading(root);
    auto parts = jtw::inspectParts(objects);
    jtw::PartOrder("bounds,desc").sort(parts, objects);
    benchmark::DoNotOptimize(parts);
  });
}

void findParts(benchmark::State& state) {
  const jtw::Selection selection(
      "kind=entity and name='Part *7' and within=0,0,0,1000,3,5 and not below='Block 7'");
  run(state, [&selection](JtwRoot& root) {
    const jtw::Objects objects(root, "parts");
    benchmark::DoNotOptimize(selection.of(objects));
  });
}

/// Two steps for each part, as one transaction.
void editParts(benchmark::State& state) {
  std::vector<jtw::ScriptStep> steps;
  steps.reserve(2 * static_cast<std::size_t>(state.range(0)));
  run(state, [&steps](JtwRoot& root) {
    jtw::Objects objects(root, "parts");
    if (steps.empty())
      for (std::size_t i = 0; i < objects.entries().size(); ++i)
        if (objects.node(i).type() == JtwNode::JT_ENTITY_NODE) {
          steps.push_back({"set", {{"key", objects.address(i)}, {"color", "teal"}}});
          steps.push_back({"set", {{"key", objects.address(i)}, {"loc", "7,8,9"}}});
        }
    benchmark::DoNotOptimize(jtw::runScript(objects, steps));
  });
}

BENCHMARK(listObjects)->RangeMultiplier(10)->Range(2000, 200000)->Unit(benchmark::kMillisecond);
BENCHMARK(inspectParts)->RangeMultiplier(10)->Range(2000, 200000)->Unit(benchmark::kMillisecond);
BENCHMARK(findParts)->RangeMultiplier(10)->Range(2000, 200000)->Unit(benchmark::kMillisecond);
BENCHMARK(editParts)->RangeMultiplier(10)->Range(2000, 200000)->Unit(benchmark::kMillisecond);

}  // namespace
