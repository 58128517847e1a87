#include "file/graph/KeyIndex.h"

#include <algorithm>

#include "file/graph/SceneSource.h"

namespace jt::file {

KeyIndex::KeyIndex(SceneSource& source) {
  std::vector<bool> isSeen(source.elementCount());
  std::vector<std::int32_t> keys;
  for (const PropertyRow& row : source.rows())
    source.eachPair(row.pairs, [&](std::int32_t key, std::int32_t) {
      const std::uint32_t element = source.find(key);
      if (element == SceneSource::kNone || element < source.firstAtom() || isSeen[element]) return;
      isSeen[element] = true;
      keys.push_back(key);
    });
  for (const std::int32_t key : keys) {
    const Ref<JtPropAtom> atom = source.atom(source.find(key));
    if (const auto* text = as<JtStringPropAtom>(atom.get()))
      ids_[text->value().units()].push_back(key);
  }
}

bool KeyIndex::has(const SceneSource& source, std::uint32_t pairs, const JtString& key) const {
  const std::span<const std::int32_t> ids = idsOf(key);
  bool found = false;
  if (!ids.empty())
    source.eachPair(pairs, [&](std::int32_t id, std::int32_t) {
      found = found || std::ranges::find(ids, id) != ids.end();
    });
  return found;
}

std::span<const std::int32_t> KeyIndex::idsOf(const JtString& key) const {
  const auto found = ids_.find(key.units());
  if (found == ids_.end()) return {};
  return found->second;
}

}  // namespace jt::file
