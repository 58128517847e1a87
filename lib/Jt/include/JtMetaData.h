#pragma once

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

#include "JtBase.h"
#include "JtPropAtom.h"

/// The metadata of an assembly or part that lies in a segment of its own: keys and values in order
/// (element "Property Proxy Meta Data"). Keys may occur twice; the first one counts.
class JT_API JtMetaData : public JtBase {
 public:
  /// Nothing, text, integer, number or date: the value types 0 to 4 of the format.
  using Value = std::variant<std::monostate, JtString, std::int32_t, float, jt::DateFields>;
  /// A key with its value.
  struct Entry {
    JtString key;
    Value value;
  };

  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;

  /// All entries, in stored order.
  const std::vector<Entry>& entries() const noexcept { return entries_; }
  /// The first value under a key, or null. A trailing "::" of the stored key does not count.
  const Value* find(const JtString& key) const;
  /// Removes every entry under a key; false when there was none.
  bool remove(const JtString& key);
  /// True when entries changed since they were read.
  bool isModified() const noexcept { return modified_; }

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion version_;
  std::vector<Entry> entries_;
  bool terminated_ = true;                // false: an entry of unknown type is in trailingBytes_
  std::vector<std::byte> trailingBytes_;  // what follows the last entry that could be read
  bool modified_ = false;
};
