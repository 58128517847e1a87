#pragma once

#include <optional>

#include "ApiGraColor.h"
#include "JtwExport.h"
#include "RWClassic.h"

/// How a PMI annotation looks, as the attributes of its entity have it. A plain value that owns its
/// texts.
///
/// Color text: "%#010x" of red + 256 * green + 65536 * blue, so red is "0x000000ff" and black,
/// which gets no prefix, "0000000000".
class JTW_API JtkwPMIAppearanceData {
 public:
  using ColorText = std::optional<RWClassicCString>;

  /// The texts; null: not set. Valid until the value is set again.
  const char* textForegroundColor() const { return valueOf(foreground_); }
  const char* textBackgroundColor() const { return valueOf(background_); }
  const char* geomColor() const { return valueOf(geometry_); }
  const char* multiCADColor() const { return valueOf(multiCAD_); }
  /// The fields themselves, for setGraColor() and setColor().
  ColorText& textForegroundColorField() { return foreground_; }
  ColorText& textBackgroundColorField() { return background_; }
  ColorText& geomColorField() { return geometry_; }
  ColorText& multiCADColorField() { return multiCAD_; }

  /// Stores a color as color text.
  static void setGraColor(const ApiGraColor& color, ColorText& field);
  /// Stores a copy of a text; null: not set.
  static void setColor(const char* text, ColorText& field);
  /// Reads a color text, with or without prefix; null and other texts give the default color.
  static void getGraColor(const char* text, ApiGraColor& color);
  /// The color in a text of 17 numbers, such as JtkwPMIFrameData::shapeColorStr(), in the
  /// multi-CAD color field; the default color when there is none.
  void getGraMultiCADColor(ApiGraColor& color) const;

  /// Percent; -1: not set.
  int textBackgroundOpacity() const { return opacity_; }
  void setTextBackgroundOpacity(int percent) { opacity_ = percent; }
  /// Stores the value times 100.0, truncated: 0.29F gives 28.
  void setTransparency(const float& alpha);
  /// Whether the text has a frame around it; false at first.
  bool textHasBorder() const { return border_; }
  void setTextHasBorder(bool on) { border_ = on; }
  /// 0 or less: not set.
  int fontSize() const { return fontSize_; }
  void setFontSize(int size) { fontSize_ = size; }
  /// Whether the text lies in the plane of the annotation, not facing the viewer.
  bool textInPlane() const { return inPlane_; }
  void setTextInPlane(bool on) { inPlane_ = on; }
  /// 0 or less: not set.
  int geomWidth() const { return geomWidth_; }
  void setGeomWidth(int width) { geomWidth_ = width; }

 private:
  static const char* valueOf(const ColorText& field) { return field ? field->c_str() : nullptr; }

  ColorText foreground_;
  ColorText background_;
  int opacity_ = -1;
  bool border_ = false;
  int fontSize_ = 0;
  bool inPlane_ = true;
  ColorText geometry_;
  int geomWidth_ = 0;
  ColorText multiCAD_;
};
