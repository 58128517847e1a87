#pragma once

// What a scene asks of the file that its objects were read from.

#include <atomic>
#include <cstdint>
#include <span>

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
  /// Gives a node the properties of its row of the property table, and makes the row 0; nothing
  /// happens when another thread has done so. Pairs that name missing atoms are left out.
  virtual void readProperties(std::atomic<std::uint32_t>& row, PropertyList& properties) = 0;
  /// False when a row has no property with that key; says so without making the properties.
  virtual bool mayHave(std::uint32_t row, const JtString& key) = 0;

  /// Source of an object, or of the original of a copy; null for objects made in memory.
  static ObjectSource* of(const JtSceneObject& object) noexcept { return object.source_; }
};

}  // namespace jt
