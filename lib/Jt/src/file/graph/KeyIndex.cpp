#include "file/graph/KeyIndex.h"

#include "file/graph/SceneSource.h"

namespace jt::file {

KeyIndex::KeyIndex(SceneSource& source) : numberOf_(source.elementCount() - source.firstAtom()) {
  for (const PropertyRow& row : source.rows())
    source.eachPair(row.pairs, [&](std::int32_t key, std::int32_t) {
      const std::uint32_t element = source.find(key);
      if (!source.isAtom(element)) return;
      std::uint32_t& number = numberOf_[element - source.firstAtom()];
      if (number != kUnknown) return;
      const Ref<JtPropAtom> atom = source.atom(element);
      const auto* text = as<JtStringPropAtom>(atom.get());
      const auto next = static_cast<std::uint32_t>(kNoText + 1 + numbers_.size());
      number = text ? numbers_.try_emplace(text->value(), next).first->second : kNoText;
    });
}

bool KeyIndex::has(const SceneSource& source, std::uint32_t pairs, const JtString& key) const {
  const auto number = numbers_.find(key);
  if (number == numbers_.end()) return false;
  bool found = false;
  source.eachPair(pairs, [&](std::int32_t id, std::int32_t) {
    const std::uint32_t element = source.find(id);
    found = found ||
            (source.isAtom(element) && numberOf_[element - source.firstAtom()] == number->second);
  });
  return found;
}

}  // namespace jt::file
