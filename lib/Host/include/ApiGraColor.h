#pragma once

#include <cstdint>

#include "HostExport.h"

/// The host's color: red, green and blue as bytes 0..255, alpha as a number 0 (clear) .. 1
/// (opaque).
class HOST_API ApiGraColor {
 public:
  /// Opaque black.
  constexpr ApiGraColor() = default;

  constexpr ApiGraColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue, float alpha = 1.0F)
      : red_(red), green_(green), blue_(blue), alpha_(alpha) {}

  /// From components in 0..1, each rounded to the nearest byte; what lies outside is clamped and
  /// what is not a number counts as 0.
  static ApiGraColor fromUnit(float red, float green, float blue, float alpha = 1.0F);

  /// The components in 0..1: exactly byte / 255.
  void getRGB(float& red, float& green, float& blue) const;
  /// The components as bytes.
  void getRGB(std::uint8_t& red, std::uint8_t& green, std::uint8_t& blue) const;
  void setRGB(std::uint8_t red, std::uint8_t green, std::uint8_t blue);

  /// The components, 0 to 255.
  constexpr std::uint8_t red() const { return red_; }
  constexpr std::uint8_t green() const { return green_; }
  constexpr std::uint8_t blue() const { return blue_; }

  /// The opacity, 0 to 1.
  constexpr float getAlpha() const { return alpha_; }
  /// @pre 0 <= alpha <= 1
  constexpr void setAlpha(float alpha) { alpha_ = alpha; }

  friend constexpr bool operator==(const ApiGraColor&, const ApiGraColor&) = default;

 private:
  std::uint8_t red_ = 0;
  std::uint8_t green_ = 0;
  std::uint8_t blue_ = 0;
  float alpha_ = 1.0F;
};
