#pragma once

// Field list of the element "Property Proxy Meta Data": keys and values until an empty key.

#include "JtMetaData.h"
#include "file/archive/Archive.h"
#include "file/archive/FieldAccess.h"

namespace jt::file {

struct FieldAccess::MetaData {
  template <class Ar>
  static void run(Ar& ar, Of<Ar, JtMetaData>& data) {
    ar.version("versionNumber", data.version_, 1, 1);
    if constexpr (Ar::kReading) {
      read(ar, data);
    } else {
      for (auto& entry : data.entries_) {
        ar("propertyKey", entry.key);
        ar.template as<std::uint8_t>("propertyValueType", entry.value.index());
        value(ar, entry.value);
      }
      if (data.terminated_) ar("propertyKey", JtString());
    }
    ar.raw("surplus", data.trailingBytes_, Ar::kReading ? ar.left() : data.trailingBytes_.size());
  }

  static void setModified(JtMetaData& data, bool on) { data.modified_ = on; }

 private:
  template <class Ar>
  static void read(Ar& ar, JtMetaData& data) {
    data.entries_.clear();
    for (;;) {
      // A value type that is not known has no known length: from its key on, bytes are kept as they
      // are. Look ahead, so that the reader is still in front of that key.
      const auto [keySize, type] = peek(ar.rest(), ar.format().bigEndian);
      data.terminated_ = keySize == 0 || type <= 4;
      if (!data.terminated_) return;
      JtString key;
      ar("propertyKey", key);
      if (key.isEmpty()) return;
      ar.hold(2 * sizeof(JtMetaData::Entry));  // a list that grows has up to twice the room
      JtMetaData::Entry& entry = data.entries_.emplace_back();
      entry.key = std::move(key);
      std::uint8_t stored = 0;
      ar("propertyValueType", stored);
      select(entry.value, stored);
      value(ar, entry.value);
    }
  }

  /// Units of the key and the value type behind it; {0, 0} when they are not all there.
  static std::pair<std::size_t, int> peek(std::span<const std::byte> rest, bool bigEndian) {
    if (rest.size() < 4) return {0, 0};
    const auto units = loadScalar<std::int32_t>(rest.data(), bigEndian);
    if (units <= 0 || static_cast<std::size_t>(units) > (rest.size() - 4) / 2) return {0, 0};
    const std::size_t at = 4 + 2 * static_cast<std::size_t>(units);
    if (at >= rest.size()) return {0, 0};
    return {static_cast<std::size_t>(units), std::to_integer<int>(rest[at])};
  }

  static void select(JtMetaData::Value& value, std::uint8_t type) {
    switch (type) {
      case 1:
        value = JtString();
        break;
      case 2:
        value = std::int32_t{0};
        break;
      case 3:
        value = 0.0F;
        break;
      case 4:
        value = DateFields();
        break;
      default:
        value = std::monostate();
        break;
    }
  }

  template <class Ar>
  static void value(Ar& ar, Of<Ar, JtMetaData::Value>& value) {
    std::visit(
        [&](auto& held) {
          if constexpr (!std::is_same_v<std::decay_t<decltype(held)>, std::monostate>)
            ar("propertyValue", held);
        },
        value);
  }
};

}  // namespace jt::file
