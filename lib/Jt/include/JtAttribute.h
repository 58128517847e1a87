#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "JtSceneObject.h"
#include "JtTrailingBytes.h"

/// Restricts an attribute to some of the paths to a node. The format has no such thing; the type
/// exists for the signatures of the node operations, which take and give null.
class JtPathQual;

/// What an attribute may do with what it inherits, ISO 14306 "state flags" of an attribute.
enum class JtAttributeState : std::uint8_t {
  force = 0x02,       ///< overrides an ancestor that is final
  ignore = 0x04,      ///< has no effect
  persistable = 0x08  ///< set in every real file
};

namespace jt {
/// Bits of one field of an attribute in its inhibit and final flags, before 10.x and from 10.x on.
/// Several fields may share a bit.
struct FieldBits {
  std::uint32_t before10 = 0;
  std::uint32_t from10 = 0;
};
}  // namespace jt

/// An attribute: appearance or placement that a node hands down to what is below it. One attribute
/// may be listed by several nodes; changing it changes it for all of them.
class JT_API JtAttribute : public JtSceneObject {
 public:
  static const JtType* classTypeID();

  /// Whether the attribute has that state.
  bool hasState(JtAttributeState state) const noexcept {
    return (stateFlags_ & static_cast<std::uint8_t>(state)) != 0;
  }
  /// No effect on an attribute that is carried unread.
  void setState(JtAttributeState state, bool on);
  /// The bits of JtAttributeState. See isFinal for what 8.x and 9.x keep among them.
  std::uint8_t stateFlags() const noexcept { return stateFlagsIn(true); }
  /// Fields that are not taken from this attribute, one bit each as in 10.x.
  std::uint32_t inhibitFlags() const noexcept { return inhibitFlagsIn(true); }
  /// Fields that descendants cannot override, one bit each as in 10.x. An attribute of an 8.x or
  /// 9.x file that is final is so in all fields.
  std::uint32_t finalFlags() const noexcept;
  /// True when descendants can override no field, unless they force.
  bool isFinal() const noexcept;
  /// Makes all fields final, or none. No effect on an attribute that is carried unread.
  void setFinal(bool on);
  /// Sets the force flag, so that the attribute wins over a final one above it.
  virtual void setForce(bool on) { setState(JtAttributeState::force, on); }

 protected:
  /// The fields that the flags name; empty where no field is known by its bit: bits are then the
  /// same in all generations.
  virtual std::span<const jt::FieldBits> fieldBits() const noexcept { return {}; }
  /// Stops inhibiting a field, and what shares its bit.
  void stateField(const jt::FieldBits& field);
  /// True when everything that all attributes have is equal, whatever generation it is from.
  bool isBaseEqualTo(const JtAttribute& other) const noexcept;

 private:
  friend struct jt::file::FieldAccess;
  std::uint8_t stateFlagsIn(bool form10) const noexcept;
  std::uint32_t inhibitFlagsIn(bool form10) const noexcept;
  std::uint32_t allFields() const noexcept;

  jt::LocalVersion baseVersion_;
  std::uint8_t stateFlags_ = static_cast<std::uint8_t>(JtAttributeState::persistable);
  bool fieldFlagsOf10_ = true;        // the form of the three flags
  std::uint32_t inhibitFlags_ = 0;    // one bit a field
  std::uint32_t finalFlags_ = 0;      // one bit a field; before 10.x one of the state flags instead
  std::optional<std::int32_t> tail_;  // closes every attribute in 10.5 files
  jt::TrailingBytes trailingBytes_;
};

/// An attribute of a kind that this library does not know, or that is damaged: carried as it is.
class JT_API JtOpaqueAttribute : public JtAttribute {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
};
