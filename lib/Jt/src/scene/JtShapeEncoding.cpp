#include "JtShapeEncoding.h"

std::string jt::ShapeEncoding::flaw() const {
  const auto check = [](unsigned bits, unsigned least, unsigned most, const char* what) {
    if (bits >= least && bits <= most) return std::string();
    return std::string(what) + " are stored with " + std::to_string(least) + " to " +
           std::to_string(most) + " bits, not " + std::to_string(bits);
  };
  for (std::string flaw : {check(positionBits, 0, kMostPositionBits, "positions"),
                           check(normalBits, 0, kMostNormalBits, "normals"),
                           check(textureBits, 1, kMostTextureBits, "texture coordinates"),
                           check(colorBits, 1, kMostColorBits, "colors")})
    if (!flaw.empty()) return flaw;
  return {};
}
