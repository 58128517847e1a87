#pragma once

#include <cstdint>

#include "JtBase.h"

namespace jt::file {
class SceneSource;
/// Reads and writes what objects store in a file.
struct FieldAccess;
}  // namespace jt::file

namespace jt {

class ObjectSource;

/// Local version of an element's data as ISO 14306 counts it. Unset in new objects: the writer then
/// takes the version that real files of the target generation have.
struct LocalVersion {
  static constexpr std::int16_t kUnset = -32768;
  static constexpr std::int16_t kAbsent = -32767;  ///< 8.x: read from a file that lacks the field
  std::int16_t value = kUnset;
};

}  // namespace jt

/// Base of nodes, attributes and property atoms: what a scene graph segment stores as an element.
/// An object that was read remembers its element, so that a save writes an untouched one back as it
/// was.
class JT_API JtSceneObject : public JtBase {
 public:
  static const JtType* classTypeID();
  ~JtSceneObject() override;

  /// The object id in the file that the object was read from; 0 for an object made in memory and
  /// for a copy.
  std::int32_t objectId() const;
  /// True when the object's own data changed since it was read, or when it was never in a file.
  bool isModified() const noexcept { return modified_; }

 protected:
  JtSceneObject() = default;
  /// A copy remembers the element of its original: the form that its fields are in and, where they
  /// could not be read, the bytes. It is an object of its own all the same, with an id of its own.
  JtSceneObject(const JtSceneObject& other);
  JtSceneObject& operator=(const JtSceneObject&) = delete;
  /// To be called by everything that changes the object's own data. No effect on an object that is
  /// carried unread: writing it anew would lose what it holds.
  void touch() noexcept { modified_ = modified_ || !carried_; }
  /// To be called before members of the object are changed (scene/Recording.h): keeps their values
  /// in the journal that records changes on this thread, if there is one. Throws std::bad_alloc,
  /// and then nothing may be changed.
  template <class... Members>
  void record(Members&... members);
  /// The same and touch(), for changes that cannot fail.
  template <class... Members>
  void change(Members&... members);
  /// True for an element of which nothing could be read.
  bool isCarried() const noexcept { return carried_; }

 private:
  friend class jt::ObjectSource;
  friend struct jt::file::FieldAccess;

  jt::ObjectSource* source_ = nullptr;  // of the object or its original; one reference
  // Index in source_; in an object without source the id that a running save gave it.
  mutable std::uint32_t element_ = 0;
  bool modified_ = true;
  bool carried_ = false;
  bool copied_ = false;  // source_ and element_ are those of the original
};
