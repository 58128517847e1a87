#pragma once

// What a scene asks of the file that its objects were read from.

#include <cstdint>
#include <mutex>
#include <span>
#include <vector>

#include "JtNode.h"
#include "JtRefCounted.h"

namespace jt {

/// The source of the objects of a scene. Each object that was read holds one reference and the
/// index of its element.
class ObjectSource : public JtRefCounted {
 public:
  virtual std::int32_t objectId(std::uint32_t element) const noexcept = 0;
  /// Called by objects that end.
  virtual void forget(const JtSceneObject& object) noexcept = 0;
  /// Called by a node that ends: ends those values of its properties that nobody else holds, all at
  /// once.
  virtual void endValues(std::span<Property> properties) noexcept = 0;
  /// The properties of a row of the property table; pairs that name missing atoms are left out.
  virtual PropertyList properties(std::uint32_t row) = 0;
  /// False when a row has no property with that key; says so without making the properties.
  virtual bool mayHave(std::uint32_t row, const JtString& key) = 0;

  /// Held while a node takes its properties over from the table.
  std::mutex& propertiesMutex() noexcept { return propertiesMutex_; }
  /// Source of an object, or of the original of a copy; null for objects made in memory.
  static ObjectSource* of(const JtSceneObject& object) noexcept { return object.source_; }

 private:
  std::mutex propertiesMutex_;
};

}  // namespace jt
