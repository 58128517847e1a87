#pragma once

#include "ApiGraColor.h"
#include "JtwExport.h"

/// How a line or an arrow of a dimension is drawn.
class JTW_API JtkwPMILineAttributes {
 public:
  /// @param isShownInGV  whether the host's graphics view shows it
  explicit JtkwPMILineAttributes(bool isShownInGV = true) : isShown_(isShownInGV) {}
  JtkwPMILineAttributes(const JtkwPMILineAttributes&) = default;
  JtkwPMILineAttributes& operator=(const JtkwPMILineAttributes&) = default;
  virtual ~JtkwPMILineAttributes();

  /// The color; nearly black at first, as the host draws its dimensions.
  const ApiGraColor& color() const { return color_; }
  void setColor(const ApiGraColor& color) { color_ = color; }
  /// In pixels.
  float width() const { return width_; }
  void setWidth(float width) { width_ = width; }
  bool isShownInGV() const { return isShown_; }

 private:
  /// Components of 1 out of 255: nearly black, as the host draws its dimensions.
  ApiGraColor color_{1, 1, 1, 1.0F};
  float width_ = 2.0F;
  bool isShown_;
};
