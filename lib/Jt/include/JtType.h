#pragma once

#include <cstddef>

#include "JtExport.h"
#include "JtGuid.h"

class JtBase;

/// Identity of a class of JT objects. One object a class, compared by address, alive until the
/// program ends.
class JT_API JtType {
 public:
  using Creator = JtBase* (*)();

  /// @param name    class name, a literal
  /// @param parent  type of the base class; null for the root
  /// @param guid    object type id in files; null when the class has none
  /// @param creator makes an object without references; null for abstract classes
  /// @param size    bytes of an object, for information
  JtType(const char* name, const JtType* parent, JtGuid guid = {}, Creator creator = nullptr,
         std::size_t size = 0) noexcept
      : name_(name), parent_(parent), guid_(guid), create_(creator), size_(size) {}
  JtType(const JtType&) = delete;
  JtType& operator=(const JtType&) = delete;

  /// What the constructor was given.
  const char* name() const noexcept { return name_; }
  const JtType* parent() const noexcept { return parent_; }
  const JtGuid& guid() const noexcept { return guid_; }
  std::size_t size() const noexcept { return size_; }
  /// A new object without references, or null when the class is abstract.
  JtBase* create() const { return create_ ? create_() : nullptr; }

  /// True when this type is `other` or derives from it.
  bool isA(const JtType* other) const noexcept {
    for (const JtType* type = this; type; type = type->parent_)
      if (type == other) return true;
    return false;
  }
  /// The same question for an object; false for null.
  static bool isA(const JtBase* object, const JtType* other) noexcept;

 private:
  const char* name_;
  const JtType* parent_;
  JtGuid guid_;
  Creator create_;
  std::size_t size_;
};
