#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "JtSceneObject.h"

/// Restricts an attribute to some of the paths to a node. The format has no such thing; the type
/// exists for the signatures of the node operations, which take and give null.
class JtPathQual;

/// What an attribute may do with what it inherits, ISO 14306 "state flags" of an attribute.
enum class JtAttributeState : std::uint8_t {
  final = 0x01,       ///< 8.x and 9.x: descendants cannot override it
  force = 0x02,       ///< overrides an ancestor that is final
  ignore = 0x04,      ///< has no effect
  persistable = 0x08  ///< set in every real file
};

/// An attribute: appearance or placement that a node hands down to what is below it. One attribute
/// may be listed by several nodes; changing it changes it for all of them.
class JT_API JtAttribute : public JtSceneObject {
 public:
  static const JtType* classTypeID();

  bool hasState(JtAttributeState state) const noexcept {
    return (stateFlags_ & static_cast<std::uint8_t>(state)) != 0;
  }
  /// No effect on an attribute that is carried unread.
  void setState(JtAttributeState state, bool on);
  std::uint8_t stateFlags() const noexcept { return stateFlags_; }
  /// Fields that are not taken from this attribute, one bit each.
  std::uint32_t inhibitFlags() const noexcept { return inhibitFlags_; }
  /// 10.x: fields that descendants cannot override, one bit each.
  std::uint32_t finalFlags() const noexcept { return finalFlags_; }
  /// Sets the force flag, so that the attribute wins over a final one above it.
  virtual void setForce(bool on) { setState(JtAttributeState::force, on); }

 protected:
  /// What the bits of the flags below mean differs between 10.x and what was before.
  bool hasFieldFlagsOf10() const noexcept { return fieldFlagsOf10_; }
  void clearInhibitFlags(std::uint32_t bits);
  /// True when everything that all attributes have is equal.
  bool isBaseEqualTo(const JtAttribute& other) const noexcept;

 private:
  friend struct jt::file::AttributeFields;
  jt::LocalVersion baseVersion_;
  std::uint8_t stateFlags_ = static_cast<std::uint8_t>(JtAttributeState::persistable);
  bool fieldFlagsOf10_ = true;
  std::uint32_t inhibitFlags_ = 0;
  std::uint32_t finalFlags_ = 0;
  std::optional<std::int32_t> tail_;                       // closes every attribute in 10.5 files
  std::shared_ptr<const std::vector<std::byte>> surplus_;  // bytes after the last known field
};

/// An attribute of a kind that this library does not know, or that is damaged: carried as it is.
class JT_API JtOpaqueAttribute : public JtAttribute {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
};
