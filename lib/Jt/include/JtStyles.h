#pragma once

#include <cstdint>

#include "JtAttribute.h"

/// Draw style attribute: how polygons are drawn.
class JT_API JtDrawStyle : public JtAttribute {
 public:
  enum class Flag : std::uint8_t {
    backFaceCulling = 0x01,
    twoSidedLighting = 0x02,
    outlinedPolygons = 0x04,
    lighting = 0x08,
    flatShading = 0x10,
    separateSpecular = 0x20,
  };
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// Whether a flag is on, switching it, and all flags as stored.
  bool has(Flag flag) const noexcept { return (flags_ & static_cast<std::uint8_t>(flag)) != 0; }
  void set(Flag flag, bool on);
  std::uint8_t flags() const noexcept { return flags_; }

 private:
  friend struct jt::file::FieldAccess;
  std::span<const jt::FieldBits> fieldBits() const noexcept override;
  jt::LocalVersion version_;
  std::uint8_t flags_ = 0x0a;
};

/// Line pattern of a line style.
enum class JtLineType : std::uint8_t {
  solid,
  dash,
  dot,
  dashDot,
  dashDotDot,
  longDash,
  centerDash,
  centerDashDash
};

/// Line style attribute.
class JT_API JtLineStyle : public JtAttribute {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// The pattern of lines, whether they are antialiased, and their width in pixels.
  JtLineType lineType() const noexcept { return static_cast<JtLineType>(flags_ & 0x0f); }
  bool antialiased() const noexcept { return (flags_ & 0x10) != 0; }
  /// Width in pixels.
  float width() const noexcept { return width_; }
  void setLineType(JtLineType type);
  void setAntialiased(bool on);
  void setWidth(float pixels);

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion version_;
  std::uint8_t flags_ = 0;
  float width_ = 1;
};

/// Point style attribute.
class JT_API JtPointStyle : public JtAttribute {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// Whether points are antialiased, and their size in pixels.
  bool antialiased() const noexcept { return (flags_ & 0x10) != 0; }
  /// Size in pixels.
  float size() const noexcept { return size_; }
  void setAntialiased(bool on);
  void setSize(float pixels);

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion version_;
  std::uint8_t flags_ = 0;
  float size_ = 1;
};
