#pragma once

#include "JtInspect.h"
#include "VisMetaDataNode.h"
#include "support/MemoryStorage.h"
#include "support/SceneText.h"

// What every input must bear, sound or not.

/// Takes everything that explain reports and keeps nothing.
class NullSink : public jt::ExplainSink {
 public:
  void beginSegment(const jt::ExplainedSegment&) override {}
  void field(const jt::ExplainedField&) override {}
};

/// Loads whatever hangs on a scene on demand.
inline void loadEverything(JtPartition& root) {
  std::vector<JtNode*> pending{&root};
  std::unordered_map<JtNode*, bool> seen;
  while (!pending.empty()) {
    JtNode* node = pending.back();
    pending.pop_back();
    if (!seen.emplace(node, true).second) continue;
    JtPropAtom* key = nullptr;
    JtPropAtom* value = nullptr;
    for (int i = 0; node->getProperty(i, key, value); ++i)
      if (auto* late = jt::as<JtLateLoadedPropAtom>(value)) errorCode([&] { late->load(&root); });
    if (auto* holder = jt::as<VisMetaDataNode>(node)) holder->ensureMetaData();
    if (const auto* shape = jt::as<JtShape>(static_cast<const JtBase*>(node)))
      if (const auto mesh = shape->mesh(); mesh && !mesh->flaw().empty()) std::abort();
    for (int i = 0; i < node->numChildren(); ++i) pending.push_back(node->child(i));
  }
}

/// What became of an input: the code of the error that kept it from being opened or saved, "" when
/// both worked, "differs" when the saved file means something else. @param save whether to go as
/// far as that @param isSound set to whether `verify` finds nothing; may be null
inline std::string survive(MemoryStorage& storage, const Bytes& file, bool save = true,
                           const jt::ReadLimits& limits = {}, bool* isSound = nullptr) {
  storage["opened"] = file;
  const MemoryLocation place("opened");
  const bool isClean = jt::verify(place, limits).empty();
  if (isSound) *isSound = isClean;
  NullSink sink;
  jt::ExplainOptions options;
  options.limits = limits;
  errorCode([&] { jt::explain(place, options, sink); });
  std::string before;
  std::string after;
  const std::string code = errorCode([&] {
    const auto root = MemoryStorage::open("opened", limits);
    jt::summarizeGraph(*root);
    loadEverything(*root);
    if (!save) return;
    root->addProperty(jt::make<JtStringPropAtom>(JtString("edited")).get(),
                      jt::make<JtInt32PropAtom>(1).get(), true);
    root->growBounds();  // as the save does
    const Bytes saved = storage.saved(*root);
    before = SceneText::of(*root);  // the save may have grown the extent
    after = SceneText::of(*storage.open(saved, limits));
    jt::SaveOptions conversion;
    conversion.dryRun = true;
    conversion.version = file.size() % 2 == 0 ? jt::FileVersion{8, 1} : jt::FileVersion{10, 0};
    errorCode([&] { storage.saved(*root, conversion); });
  });
  return code.empty() && before != after ? "differs" : code;
}
