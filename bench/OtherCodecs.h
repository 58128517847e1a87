#pragma once

// Mesh codecs of other libraries behind one interface. Each is there when its library was found.

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "JtMesh.h"

namespace bench {

/// A mesh in the form that a codec wants, made outside what is measured.
class OtherCodec {
 public:
  virtual ~OtherCodec() = default;
  /// @return number of bytes
  virtual std::size_t encode() = 0;
  /// Decodes what encode() made; false when it failed.
  virtual bool decode() = 0;
};

struct OtherCodecKind {
  std::string name;
  /// @param bits of a coordinate, on a grid that spans the mesh in each axis; 0: as it is
  std::unique_ptr<OtherCodec> (*make)(const jt::Mesh& mesh, unsigned bits);
};

/// Of the libraries that this program was built with.
std::vector<OtherCodecKind> otherCodecs();

}  // namespace bench
