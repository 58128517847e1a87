#pragma once

// Nodes' own fields, attributes and other elements, field by field.

#include <functional>
#include <string>
#include <string_view>

#include "JtAttribute.h"
#include "file/archive/FieldLister.h"
#include "file/graph/SceneSource.h"
#include "inspect/compare/Report.h"
#include "inspect/compare/Tolerance.h"

namespace jt::compare_detail {

/// The forms of both files, and the one in which their objects are held against each other: that of
/// the older file, since it holds less.
struct Forms {
  Forms(const JtPartition& a, const JtPartition& b);
  file::Format common;
  bool sameGeneration = false;    ///< both have all features alike
  bool sameBytes = false;         ///< the byte order is the same too
  bool haveReflectivity = false;  ///< both have the feature
};

/// True for an object whose fields are not known.
bool isCarriedUnread(const JtSceneObject& object);

/// True when the elements of two objects that are carried unread hold the same bytes; nothing when
/// that would show nothing.
std::optional<bool> sameCarriedBytes(const JtSceneObject& a, const JtSceneObject& b,
                                     const Forms& forms);

class ObjectComparison {
 public:
  explicit ObjectComparison(const Forms& forms) : forms_(forms) {}

  /// Receives the name of a field that differs, and both values.
  using OnDifference =
      std::function<void(const std::string&, const ComparedValue&, const ComparedValue&)>;

  /// Compares two objects of one class, but for links, properties and what is carried unread.
  void compare(const JtSceneObject& a, const JtSceneObject& b, const Tolerance& tolerance,
               const OnDifference& report);
  /// True when nothing differs. What cannot be compared is the same.
  bool isSame(const JtSceneObject& a, const JtSceneObject& b, const Tolerance& tolerance);

 private:
  void list(const JtSceneObject& object, const Tolerance& tolerance, file::FieldList& out) const;
  void compareLights(const JtSceneObject& a, const JtSceneObject& b, const Tolerance& tolerance,
                     const OnDifference& report);
  bool isLeftOut(const JtSceneObject& object, std::string_view name,
                 const Tolerance& tolerance) const;

  const Forms& forms_;
  file::FieldList listA_;
  file::FieldList listB_;
};

}  // namespace jt::compare_detail
