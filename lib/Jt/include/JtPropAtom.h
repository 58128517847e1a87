#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "JtSceneObject.h"
#include "JtString.h"
#include "JtTrailingBytes.h"

class JtPartition;

/// A property atom: a key or a value of a property. Atoms are shared between properties, so they
/// never change once made: to change a value, put another atom in its place.
class JT_API JtPropAtom : public JtSceneObject {
 public:
  JtPropAtom() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }

  /// State bits as stored: bits 0 to 7 are free for applications; bit 30 is set by some producers.
  std::uint32_t stateFlags() const noexcept { return stateFlags_; }
  /// Sets the state bits; only before the atom is put into a property.
  void setStateFlags(std::uint32_t flags) {
    stateFlags_ = flags;
    touch();
  }

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion baseVersion_;
  jt::LocalVersion version_;
  std::uint32_t stateFlags_ = 0;
  jt::TrailingBytes trailingBytes_;
};

/// Text.
class JT_API JtStringPropAtom : public JtPropAtom {
 public:
  JtStringPropAtom() = default;
  /// An atom with that text.
  explicit JtStringPropAtom(const JtString& value) : value_(value) {}
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The text.
  const JtString& value() const noexcept { return value_; }

 private:
  friend struct jt::file::FieldAccess;
  JtString value_;
};

/// A signed 32-bit integer; booleans are 0 or 1.
class JT_API JtInt32PropAtom : public JtPropAtom {
 public:
  JtInt32PropAtom() = default;
  /// An atom with that number.
  explicit JtInt32PropAtom(int value) : value_(value) {}
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The number.
  int value() const noexcept { return value_; }

 private:
  friend struct jt::file::FieldAccess;
  std::int32_t value_ = 0;
};

/// A single-precision number.
class JT_API JtFloatPropAtom : public JtPropAtom {
 public:
  JtFloatPropAtom() = default;
  /// An atom with that number.
  explicit JtFloatPropAtom(float value) : value_(value) {}
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The number.
  float value() const noexcept { return value_; }

 private:
  friend struct jt::file::FieldAccess;
  float value_ = 0;
};

namespace jt {

/// A date as files store it. No time zone but the optional offset of 10.5 files.
struct DateFields {
  std::int16_t year = 1900;
  std::int16_t month = 0;  ///< 0 to 11
  std::int16_t day = 1;    ///< 1 to 31
  std::int16_t hour = 0;
  std::int16_t minute = 0;
  std::int16_t second = 0;
  friend bool operator==(const DateFields&, const DateFields&) = default;
};

}  // namespace jt

/// A date.
class JT_API JtDatePropAtom : public JtPropAtom {
 public:
  JtDatePropAtom() = default;
  /// An atom with that date.
  explicit JtDatePropAtom(const jt::DateFields& value) : value_(value) {}
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The date.
  const jt::DateFields& value() const noexcept { return value_; }
  /// Hours from UTC by the look of it; only in 10.5 files.
  std::optional<float> utcOffset() const noexcept { return utcOffset_; }

 private:
  friend struct jt::file::FieldAccess;
  jt::DateFields value_;
  std::optional<float> utcOffset_;
};

/// Four single-precision numbers.
class JT_API JtVector4fPropAtom : public JtPropAtom {
 public:
  JtVector4fPropAtom() = default;
  /// An atom with those four numbers.
  explicit JtVector4fPropAtom(const std::array<float, 4>& value) : value_(value) {}
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The four numbers.
  const std::array<float, 4>& value() const noexcept { return value_; }

 private:
  friend struct jt::file::FieldAccess;
  std::array<float, 4> value_{};
};

/// A pointer to another object of the same scene graph, stored as its object id; 0 points nowhere.
class JT_API JtPtrPropAtom : public JtPropAtom {
 public:
  /// The empty pointer.
  JtPtrPropAtom() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// Object id in the file; 0 for the empty pointer.
  std::int32_t targetId() const noexcept { return target_; }

 private:
  friend struct jt::file::FieldAccess;
  std::int32_t target_ = 0;
};

/// A pointer whose target has no type: the same element. Null, it serves as a mark that is there or
/// not.
using JtVoidPtrPropAtom = JtPtrPropAtom;

/// A value that lies in a segment of its own and is loaded on demand.
class JT_API JtLateLoadedPropAtom : public JtPropAtom {
 public:
  JtLateLoadedPropAtom() = default;
  /// A value still to be stored: the save writes `object` into a new segment. Its type must be
  /// registered with JtFactory under a GUID to be found again. Shares ownership of `object`.
  explicit JtLateLoadedPropAtom(jt::Ref<JtBase> object, std::int32_t segmentType = 4);
  ~JtLateLoadedPropAtom() override;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }

  /// The segment that the value lies in.
  const JtGuid& segmentId() const noexcept { return segmentId_; }
  /// Segment type as the atom declares it: 4 metadata, 6 to 16 shapes, ...
  std::int32_t segmentType() const noexcept { return segmentType_; }
  /// True when the object is in memory.
  bool isLoaded() const;
  /// The object when it is in memory, else null. Not owned.
  const JtBase* loaded() const noexcept;
  /// The object, loading it the first time: the first element of the segment that is metadata, PMI
  /// or of a type registered with JtFactory. Empty when there is no such segment or type; throws
  /// JtFormatError when the segment is damaged. Safe from several threads.
  /// @param partition looked at when the atom was not read from a file
  /// @param wanted only an object of this type; null: any, PMI when there is nothing else
  jt::Ref<JtBase> load(const JtPartition* partition, const JtType* wanted = nullptr);

 private:
  friend struct jt::file::FieldAccess;
  /// Holds `object` when nothing is held yet; returns what is held if it is of the wanted type,
  /// else `object`.
  jt::Ref<JtBase> keep(const jt::Ref<JtBase>& object, const JtType* wanted,
                       std::shared_ptr<const void> memory = {});

  JtGuid segmentId_;
  std::int32_t segmentType_ = 0;
  std::int32_t payloadId_ = 0;
  std::optional<std::int32_t> reserved_;
  jt::Ref<JtBase> object_;
  std::shared_ptr<const void> memory_;  // counts the object as long as it is held
};

/// An atom of a kind that this library does not know, or that is damaged: carried as it is.
class JT_API JtOpaquePropAtom : public JtPropAtom {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
};
