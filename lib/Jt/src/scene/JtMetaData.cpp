#include "JtMetaData.h"

#include <algorithm>

#include "scene/Recording.h"

namespace {

/// A key as it is compared: a trailing "::" marks a key for the user's eyes and is not part of it.
std::u16string_view bareKey(const JtString& key) {
  std::u16string_view text = key.units();
  if (text.ends_with(u"::")) text.remove_suffix(2);
  return text;
}

}  // namespace

jt::Ref<JtBase> JtMetaData::clone() const { return jt::Ref<JtBase>(new JtMetaData(*this)); }

const JtMetaData::Value* JtMetaData::find(const JtString& key) const {
  for (const Entry& entry : entries_)
    if (bareKey(entry.key) == bareKey(key)) return &entry.value;
  return nullptr;
}

bool JtMetaData::remove(const JtString& key) {
  const auto isMeant = [&](const Entry& entry) { return bareKey(entry.key) == bareKey(key); };
  if (std::ranges::none_of(entries_, isMeant)) return false;
  jt::scene::recordChange(*this, entries_, modified_);
  std::erase_if(entries_, isMeant);
  modified_ = true;
  return true;
}
