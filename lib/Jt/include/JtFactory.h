#pragma once

#include "JtGuid.h"
#include "JtRefCounted.h"
#include "JtType.h"

/// The types that can be made from the object type id found in a file. The library's own element
/// kinds are built in; applications add the classes of their late-loaded properties. Safe to call
/// from several threads.
class JT_API JtFactory {
 public:
  /// Registers a type under its GUID; it must stay alive until the program ends. A second type with
  /// the same GUID replaces the first.
  static void addType(const JtType* type);
  /// The registered type, or null.
  static const JtType* findType(const JtGuid& guid);
  /// A new object of the registered type; empty when there is none.
  static jt::Ref<JtBase> create(const JtGuid& guid);
};
