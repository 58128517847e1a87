#include "JtAssembly.h"

#include <unordered_map>
#include <unordered_set>

#include "JtByteText.h"
#include "JtSaturating.h"
#include "file/save/SceneWriter.h"

namespace jt {

namespace {

PartFile::State stateOf(const PartFailure& failure) {
  const std::string& code = failure.code;
  if (code == "external_outside") return PartFile::State::outside;
  const bool isMissing = code == "external_missing" || code == "not_found" || code == "no_location";
  return isMissing ? PartFile::State::missing : PartFile::State::damaged;
}

PartFile describe(JtPartition& holder) {
  if (JtPartition* opened = holder.externalPartition()) {
    const JtStorageLocation* place = opened->storageLocation();
    const JtString name = place ? place->displayName() : holder.fileName();
    return {bytesOfText(name), PartFile::State::read, {}, opened, {}};
  }
  if (const auto& failure = holder.partFailure())
    return {failure->file, stateOf(*failure), failure->message, nullptr, {}};
  return {
      bytesOfText(holder.fileName()), PartFile::State::missing, "it was not opened", nullptr, {}};
}

}  // namespace

const char* stateName(PartFile::State state) noexcept {
  switch (state) {
    case PartFile::State::read:
      return "read";
    case PartFile::State::missing:
      return "missing";
    case PartFile::State::damaged:
      return "damaged";
    case PartFile::State::outside:
      return "outside";
  }
  return "";
}

std::vector<PartFile> partFilesOf(const JtPartition& top) {
  std::vector<PartFile> files;
  std::unordered_map<std::string, std::size_t> indices;
  std::vector<const JtPartition*> pending{&top};
  std::unordered_set<const JtPartition*> seen{&top};
  for (std::size_t i = 0; i < pending.size(); ++i) {
    for (const JtNode* node : file::SceneWriter::nodesOf(*pending[i])) {
      const auto* partition = as<JtPartition>(node);
      if (!partition || partition == pending[i] || partition->fileName().isEmpty()) continue;
      auto* holder = const_cast<JtPartition*>(partition);
      PartFile file = describe(*holder);
      const auto [index, isNew] = indices.try_emplace(file.file, files.size());
      if (isNew) files.push_back(std::move(file));
      PartFile& listed = files[index->second];
      listed.holders.push_back(holder);
      if (listed.partition && seen.insert(listed.partition).second)
        pending.push_back(listed.partition);
    }
  }
  return files;
}

std::uint64_t PlaceCounts::of(const JtNode& node) {
  // Upwards, parents first, with a stack of its own: assemblies may be deep.
  std::vector<const JtNode*> pending{&node};
  while (!pending.empty()) {
    const JtNode* current = pending.back();
    if (places_.contains(current)) {
      pending.pop_back();
      continue;
    }
    std::uint64_t sum = 0;
    bool isReady = true;
    for (int i = 0; i < current->numParents(); ++i) {
      const auto above = places_.find(current->parent(i));
      if (above == places_.end()) {
        pending.push_back(current->parent(i));
        isReady = false;
      } else {
        sum = saturatingSum(sum, above->second);
      }
    }
    if (!isReady) continue;
    places_.emplace(current, sum);
    pending.pop_back();
  }
  return places_.at(&node);
}

}  // namespace jt
