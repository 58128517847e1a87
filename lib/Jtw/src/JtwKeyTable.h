#pragma once

#include "ApiProtoKey.h"
#include "JtFlatMap.h"
#include "RWClassic.h"

class JtwNode;

namespace jtw {

/// The wrappers of a component by key: a dictionary, as the interface hands it out, and beside it a
/// flat table, in which a look-up takes a third of the time.
class KeyTable {
 public:
  using Dictionary = RWClassicTValHashDictionary<ApiProtoKey, JtwNode*>;

  /// All entries.
  const Dictionary& all() const noexcept { return all_; }
  bool isEmpty() const noexcept { return all_.empty(); }
  /// Null for an unknown key, the null key among them.
  JtwNode* find(const ApiProtoKey& key) const noexcept {
    JtwNode* const* const node = table_.find(key);
    return node ? *node : nullptr;
  }
  /// False, changing nothing, when the key is there. @param key not null
  bool insert(const ApiProtoKey& key, JtwNode* node) {
    // The dictionary takes an entry back without failing, should the table not have the memory.
    const auto [entry, isNew] = all_.emplace(key, node);
    if (!isNew) return false;
    try {
      return table_.insert(key, node);
    } catch (...) {
      all_.erase(entry);
      throw;
    }
  }
  void erase(const ApiProtoKey& key) noexcept {
    all_.erase(key);
    table_.erase(key);
  }
  /// Erases every key of a wrapper.
  void eraseWrapper(const JtwNode* node) {
    std::erase_if(all_, [node](const auto& entry) { return entry.second == node; });
    table_.eraseIf([node](const ApiProtoKey&, const JtwNode* entry) { return entry == node; });
  }
  void clear() noexcept {
    all_.clear();
    table_.clear();
  }

 private:
  Dictionary all_{64};
  jt::FlatMap<ApiProtoKey, JtwNode*> table_;
};

}  // namespace jtw
