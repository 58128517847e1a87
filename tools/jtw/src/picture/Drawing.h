#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "Image.h"
#include "JtPartition.h"
#include "Rasterizer.h"

namespace tool {

struct DrawingRequest {
  std::size_t width = 1024;
  std::size_t height = 768;
  std::string view = "iso";
  Color background{1, 1, 1, 1};
  std::uint32_t levelOfDetail = 0;
  unsigned jobs = 1;  ///< threads that decode shapes
  bool withAnnotations = true;
  bool withWires = true;
  std::uint64_t mostPlaces = 1'000'000;  ///< shapes, annotated nodes and wires where they occur
};

/// What is in a picture; shapes count as often as they occur.
struct Drawing {
  Image image;
  std::size_t shapes = 0;
  std::size_t triangles = 0;
  std::size_t polylines = 0;
  std::size_t points = 0;
  std::size_t annotationLines = 0;
  std::size_t wires = 0;
  std::vector<std::string>
      damaged;  ///< shapes and wires that cannot be decoded: the reason of each
};

/// A picture of all that a viewer would show, fitted to the view. Throws Failure: "usage" for an
/// unknown view, "too_many_places" when shared parts add up to more than may be drawn.
/// @param progress receives the share that is done, 0..1
Drawing drawScene(JtPartition& partition, const DrawingRequest& request,
                  const std::function<void(double)>& progress);

}  // namespace tool
