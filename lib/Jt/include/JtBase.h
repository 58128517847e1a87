#pragma once

#include <cstddef>

#include "JtAllocHooked.h"
#include "JtRefCounted.h"
#include "JtType.h"

class JtBaseDataStream;

/// Root of the JT object classes: run-time type, copying, and a byte form for the objects that live
/// in segments of their own.
class JT_API JtBase : public JtAllocHooked, public JtRefCounted {
 public:
  static const JtType* classTypeID();
  virtual const JtType* typeID() const = 0;

  /// A new object of the same class with the same content; empty when the class cannot be copied.
  virtual jt::Ref<JtBase> clone() const { return {}; }
  /// Writes the object's own fields; false when the stream failed.
  virtual bool serialize(JtBaseDataStream&) const { return false; }
  /// Reads the object's own fields; false when they could not be read whole.
  virtual bool deserialize(JtBaseDataStream&) { return false; }
};

inline bool JtType::isA(const JtBase* object, const JtType* other) noexcept {
  return object && object->typeID()->isA(other);
}

namespace jt {

/// The object as a T when it is one, else null.
template <class T>
T* as(JtBase* object) noexcept {
  return JtType::isA(object, T::classTypeID()) ? static_cast<T*>(object) : nullptr;
}
template <class T>
const T* as(const JtBase* object) noexcept {
  return JtType::isA(object, T::classTypeID()) ? static_cast<const T*>(object) : nullptr;
}

}  // namespace jt
