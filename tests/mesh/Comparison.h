#pragma once

#include <string>

#include "JtShapeEncoding.h"
#include "MeshScene.h"

/// How a scene is taken through a JT file.
struct Passage {
  std::string version = "10.0";
  jt::ShapeEncoding encoding;
  std::size_t levels = 1;
};

/// Makes a component of the scene, saves it at `path`, opens that file again, and reads it at the
/// finest level. Throws JtFormatError.
mesh::Scene throughJt(const mesh::Scene& scene, const std::string& path, const Passage& passage);

/// How far apart two scenes may be.
struct Tolerance {
  double placement = 1e-6;    ///< of a matrix entry, as a share of the scene's extent
  unsigned positionBits = 0;  ///< 0: positions are the same to the bit
};

/// The first thing in which the geometry of two scenes differs, in order of the nodes: what is
/// shown, its unit and name, where, and with which corners, colors and instances. Empty when there
/// is none. Grouping may differ.
std::string difference(const mesh::Scene& a, const mesh::Scene& b, const Tolerance& tolerance = {});
