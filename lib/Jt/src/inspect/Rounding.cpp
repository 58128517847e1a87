#include <algorithm>
#include <cmath>
#include <vector>

#include "JtAssembly.h"
#include "JtPartUtil.h"
#include "JtRounding.h"
#include "JtShape.h"
#include "file/save/SceneWriter.h"
#include "file/shapes/ShapeElement.h"
#include "file/shapes/ShapeSegment.h"

namespace jt {

double roundingOf(const Mesh& mesh, const ShapeEncoding& encoding, const FileVersion& version) {
  const codec::Generation generation = file::generationOf({version.major, version.minor, false});
  const std::uint8_t bits = codec::quantizationOf(codec::bindingsOf(mesh, generation), generation,
                                                  file::optionsOf(encoding))[0];  // of coordinates
  if (bits == 0 || mesh.corners.empty()) return 0;
  std::array<codec::UniformQuantizer, 3> quantizers;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const float first = mesh.positions[mesh.corners.front()][axis];
    quantizers[axis] = {first, first, bits};
    for (const std::uint32_t corner : mesh.corners) {
      const float value = mesh.positions[corner][axis];
      quantizers[axis].min = std::min(quantizers[axis].min, value);
      quantizers[axis].max = std::max(quantizers[axis].max, value);
    }
  }
  std::vector<bool> isKnown(mesh.positions.size());
  double largest = 0;
  for (const std::uint32_t corner : mesh.corners) {
    if (isKnown[corner]) continue;
    isKnown[corner] = true;
    double square = 0;
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const double value = mesh.positions[corner][axis];
      const double off =
          static_cast<double>(quantizers[axis].dequantize(quantizers[axis].quantize(value))) -
          value;
      square += off * off;
    }
    if (std::isfinite(square)) largest = std::max(largest, square);
  }
  return std::sqrt(largest);
}

double largestRounding(const JtPartition& top, const ShapeEncoding& encoding,
                       const std::optional<FileVersion>& version) {
  double largest = 0;
  const auto add = [&](const JtPartition& file) {
    for (const JtNode* node : file::SceneWriter::nodesOf(file)) {
      const auto* shape = as<JtShape>(node);
      const auto mesh = shape && shape->hasMesh() ? shape->mesh() : nullptr;
      if (mesh)
        largest = std::max(largest, roundingOf(*mesh, encoding, version.value_or(file.version())) *
                                        JtPartUtil::millimetresAt(*node));
    }
  };
  add(top);
  for (const PartFile& part : partFilesOf(top))
    if (part.partition) add(*part.partition);
  return largest;
}

}  // namespace jt
