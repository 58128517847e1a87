#include "OtherCodecs.h"

#include <algorithm>
#include <cmath>

#include "MeshSamples.h"

#ifdef JTW_BENCH_DRACO
#include <draco/compression/decode.h>
#include <draco/compression/encode.h>
#include <draco/mesh/triangle_soup_mesh_builder.h>
#endif
#ifdef JTW_BENCH_MESHOPTIMIZER
#include <meshoptimizer.h>
#endif

namespace bench {

namespace {

/// Steps of the grid of a mesh, spanning each axis like the quantizers of shapes.
class Grid {
 public:
  Grid(const jt::Mesh& mesh, unsigned bits) : most_((1U << bits) - 1) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      const auto [least, most] =
          std::ranges::minmax(mesh.positions, {}, [axis](const auto& p) { return p[axis]; });
      min_[axis] = static_cast<double>(least[axis]);
      const double range = static_cast<double>(most[axis]) - min_[axis];
      scale_[axis] = range > 0 ? most_ / range : 0;
    }
  }
  double at(double value, std::size_t axis) const { return (value - min_[axis]) * scale_[axis]; }
  unsigned most() const { return most_; }

 private:
  unsigned most_;
  std::array<double, 3> min_{};
  std::array<double, 3> scale_{};
};

#ifdef JTW_BENCH_DRACO

template <int Speed>
class Draco : public OtherCodec {
 public:
  Draco(const jt::Mesh& mesh, unsigned bits) {
    draco::TriangleSoupMeshBuilder builder;
    builder.Start(static_cast<int>(mesh.corners.size() / 3));
    const int positions =
        builder.AddAttribute(draco::GeometryAttribute::POSITION, 3, draco::DT_FLOAT32);
    const bool hasNormals = !mesh.normals.empty();
    const int normals =
        hasNormals ? builder.AddAttribute(draco::GeometryAttribute::NORMAL, 3, draco::DT_FLOAT32)
                   : 0;
    for (std::size_t t = 0; t < mesh.corners.size(); t += 3) {
      const draco::FaceIndex face(static_cast<std::uint32_t>(t / 3));
      const auto position = [&](std::size_t k) {
        return mesh.positions[mesh.corners[t + k]].data();
      };
      builder.SetAttributeValuesForFace(positions, face, position(0), position(1), position(2));
      const auto normal = [&](std::size_t k) { return mesh.normals[mesh.records[t + k]].data(); };
      if (hasNormals)
        builder.SetAttributeValuesForFace(normals, face, normal(0), normal(1), normal(2));
    }
    mesh_ = builder.Finalize();
    encoder_.SetSpeedOptions(Speed, Speed);
    encoder_.SetEncodingMethod(draco::MESH_EDGEBREAKER_ENCODING);
    if (bits == 0) return;
    // One range for all axes is what its quantizer has, so that the axes are stretched before.
    const Grid grid(mesh, bits);
    draco::PointAttribute& attribute = *mesh_->attribute(positions);
    for (draco::AttributeValueIndex i(0); i < static_cast<std::uint32_t>(attribute.size()); ++i) {
      std::array<float, 3> p;
      attribute.GetValue(i, p.data());
      for (std::size_t axis = 0; axis < 3; ++axis)
        p[axis] = static_cast<float>(grid.at(static_cast<double>(p[axis]), axis));
      attribute.SetAttributeValue(i, p.data());
    }
    const float origin[] = {0, 0, 0};
    encoder_.SetAttributeExplicitQuantization(draco::GeometryAttribute::POSITION,
                                              static_cast<int>(bits), 3, origin,
                                              static_cast<float>(grid.most()));
    encoder_.SetAttributeQuantization(draco::GeometryAttribute::NORMAL, 8);
  }
  std::size_t encode() override {
    buffer_.Clear();
    return encoder_.EncodeMeshToBuffer(*mesh_, &buffer_).ok() ? buffer_.size() : 0;
  }
  bool decode() override {
    draco::DecoderBuffer in;
    in.Init(buffer_.data(), buffer_.size());
    draco::Decoder decoder;
    return decoder.DecodeMeshFromBuffer(&in).ok();
  }

 private:
  std::unique_ptr<draco::Mesh> mesh_;
  draco::Encoder encoder_;
  draco::EncoderBuffer buffer_;
};

#endif
#ifdef JTW_BENCH_MESHOPTIMIZER

/// Index and vertex codec behind its own reordering; nothing is compressed further.
class MeshOptimizer : public OtherCodec {
 public:
  MeshOptimizer(const jt::Mesh& mesh, unsigned bits) {
    const FlatMesh flat = flatten(mesh);
    indices_ = flat.indices;
    const bool hasNormals = !mesh.normals.empty();
    stride_ = bits == 0 ? (hasNormals ? 24 : 12) : (hasNormals ? 12 : 8);
    vertices_.resize(flat.vertices.size() * stride_);
    for (std::size_t i = 0; i < flat.vertices.size(); ++i) {
      const auto& p = mesh.positions[flat.vertices[i].first];
      std::byte* const to = vertices_.data() + i * stride_;
      const jt::Vec3f n = hasNormals ? mesh.normals[flat.vertices[i].second] : jt::Vec3f{};
      if (bits == 0) {
        std::memcpy(to, p.data(), 12);
        if (hasNormals) std::memcpy(to + 12, n.data(), 12);
        continue;
      }
      const Grid& grid = gridOf(mesh, bits);
      for (std::size_t axis = 0; axis < 3; ++axis) {
        const auto code =
            static_cast<std::uint16_t>(std::lround(grid.at(static_cast<double>(p[axis]), axis)));
        std::memcpy(to + 2 * axis, &code, 2);
        if (hasNormals)
          to[8 + axis] = static_cast<std::byte>(std::lround(static_cast<double>(n[axis]) * 127));
      }
    }
  }
  std::size_t encode() override {
    const std::size_t count = vertices_.size() / stride_;
    std::vector<unsigned> indices(indices_.size());
    meshopt_optimizeVertexCacheStrip(indices.data(), indices_.data(), indices_.size(), count);
    std::vector<std::byte> vertices(vertices_.size());
    meshopt_optimizeVertexFetch(vertices.data(), indices.data(), indices.size(), vertices_.data(),
                                count, stride_);
    packedIndices_.resize(meshopt_encodeIndexBufferBound(indices.size(), count));
    packedIndices_.resize(meshopt_encodeIndexBuffer(packedIndices_.data(), packedIndices_.size(),
                                                    indices.data(), indices.size()));
    packedVertices_.resize(meshopt_encodeVertexBufferBound(count, stride_));
    packedVertices_.resize(meshopt_encodeVertexBuffer(
        packedVertices_.data(), packedVertices_.size(), vertices.data(), count, stride_));
    return packedIndices_.size() + packedVertices_.size();
  }
  bool decode() override {
    std::vector<unsigned> indices(indices_.size());
    std::vector<std::byte> vertices(vertices_.size());
    return meshopt_decodeIndexBuffer(indices.data(), indices.size(), sizeof(unsigned),
                                     packedIndices_.data(), packedIndices_.size()) == 0 &&
           meshopt_decodeVertexBuffer(vertices.data(), vertices.size() / stride_, stride_,
                                      packedVertices_.data(), packedVertices_.size()) == 0;
  }

 private:
  const Grid& gridOf(const jt::Mesh& mesh, unsigned bits) {
    if (!grid_) grid_ = std::make_unique<Grid>(mesh, bits);
    return *grid_;
  }

  std::unique_ptr<Grid> grid_;
  std::vector<unsigned> indices_;
  std::vector<std::byte> vertices_;
  std::size_t stride_ = 0;
  std::vector<unsigned char> packedIndices_;
  std::vector<unsigned char> packedVertices_;
};

#endif

template <class T>
std::unique_ptr<OtherCodec> make(const jt::Mesh& mesh, unsigned bits) {
  return std::make_unique<T>(mesh, bits);
}

}  // namespace

std::vector<OtherCodecKind> otherCodecs() {
  std::vector<OtherCodecKind> kinds;
#ifdef JTW_BENCH_DRACO
  kinds.push_back({"draco5", make<Draco<5>>});
  kinds.push_back({"draco0", make<Draco<0>>});
#endif
#ifdef JTW_BENCH_MESHOPTIMIZER
  kinds.push_back({"meshopt", make<MeshOptimizer>});
#endif
  return kinds;
}

}  // namespace bench
