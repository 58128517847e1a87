#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "JtMesh.h"
#include "JtNode.h"

namespace jt {

/// Axis-aligned box, in the length unit of its node. Empty boxes are inverted (min > max).
struct Box {
  std::array<float, 3> min{3.402823466e38F, 3.402823466e38F, 3.402823466e38F};
  std::array<float, 3> max{-3.402823466e38F, -3.402823466e38F, -3.402823466e38F};
  /// True for a finite box that is not inverted.
  bool isValid() const noexcept {
    for (int i = 0; i < 3; ++i) {
      const auto axis = static_cast<std::size_t>(i);
      if (!(min[axis] <= max[axis]) || max[axis] - min[axis] > 3.0e38F) return false;
    }
    return true;
  }
  friend bool operator==(const Box&, const Box&) = default;
};

/// Smallest and greatest count; a maximum of -1 is unknown.
struct CountRange {
  std::int32_t min = 0;
  std::int32_t max = 0;
  friend bool operator==(const CountRange&, const CountRange&) = default;
};

/// Extent and size of geometry, as shape and partition nodes store them.
struct ShapeStatistics {
  Box box;         ///< local coordinates, in the length unit of the node
  float area = 0;  ///< of the surface, in the square of that unit; 0 when unknown
  CountRange vertices;
  CountRange nodes{1, 1};
  CountRange polygons;
};

}  // namespace jt

/// A leaf that represents geometry. The geometry itself lies in a segment that the node names by a
/// late-loaded property; the node holds its extent and counts. Several shapes may name one segment:
/// it is decoded once, and stored once.
class JT_API JtShape : public JtNode {
 public:
  JtShape() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtShape(*this)); }

  /// The geometry, decoded when it is first asked for and kept until `releaseMesh` or until the
  /// file is closed. Safe from several threads. Null when the shape has none, or when its segment
  /// is missing or damaged: then jt::lastError() gives file, segment and offset, and everything
  /// else stays usable.
  std::shared_ptr<const jt::Mesh> mesh() const;
  /// Puts other geometry in the place of what the shape has; null leaves it without. Extent, counts
  /// and vertex bindings follow. The next save writes a segment for it, in the encoding of the
  /// partition (JtPartition::setShapeEncoding). Share one mesh between shapes to store it once; do
  /// not change it afterwards. Throws JtFormatError "bad_mesh" when the mesh has a flaw or is of a
  /// kind that the shape cannot hold (see `takes`), without effect then.
  void setMesh(std::shared_ptr<const jt::Mesh> mesh);
  /// True when the shape names geometry; it need not be sound.
  bool hasMesh() const;
  /// Lets go of decoded geometry that can be decoded again. Geometry in the hands of callers stays.
  void releaseMesh() const;
  /// The kind of meshes that `setMesh` takes; nothing for shapes that are not made of meshes.
  virtual std::optional<jt::Mesh::Kind> takes() const noexcept { return {}; }

  /// Counts, extent and area of the geometry, as the node states them.
  const jt::ShapeStatistics& statistics() const noexcept { return statistics_; }
  void setStatistics(const jt::ShapeStatistics& statistics);
  /// Bytes in memory when loaded, as the producer guessed; 0 unknown.
  std::uint32_t memorySize() const noexcept { return size_; }
  /// 0 lossless .. 1; information only.
  float compressionLevel() const noexcept { return compressionLevel_; }

 protected:
  JtShape(const JtShape&) = default;
  /// Called by setMesh for what a class derives from the mesh.
  virtual void followMesh(const jt::Mesh& /*mesh*/) {}

 private:
  friend struct jt::file::FieldAccess;
  void dropSegments();

  jt::LocalVersion shapeVersion_;
  jt::Box reservedBox_;
  jt::ShapeStatistics statistics_;
  std::uint32_t size_ = 0;
  float compressionLevel_ = 0;
};

/// A shape made of vertices.
class JT_API JtVertexShape : public JtShape {
 public:
  JtVertexShape() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtVertexShape(*this)); }
  std::optional<jt::Mesh::Kind> takes() const noexcept override {
    return jt::Mesh::Kind::triangles;
  }
  /// What each vertex carries, one bit field as in the shape's segment; the segment decides.
  std::uint64_t vertexBindings() const noexcept { return bindings_; }
  void setVertexBindings(std::uint64_t bindings);

 protected:
  JtVertexShape(const JtVertexShape&) = default;
  void followMesh(const jt::Mesh& mesh) override;

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion vertexVersion_;
  std::array<std::int32_t, 3> oldBindings_{};  // 8.x: normal, texture coordinate, color
  std::uint64_t bindings_ = 2;
  std::array<std::uint8_t, 4> quantization_{};  // bits a vertex, normal factor, texture, color
  std::optional<std::uint64_t> bindingsAgain_ = 2;
};

/// Triangles in strips.
class JT_API JtTriStripSet : public JtVertexShape {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtTriStripSet(*this)); }
  JtTriStripSet() = default;

 protected:
  JtTriStripSet(const JtTriStripSet&) = default;
};

/// Polygons.
class JT_API JtPolygonSet : public JtVertexShape {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtPolygonSet(*this)); }
  JtPolygonSet() = default;

 protected:
  JtPolygonSet(const JtPolygonSet&) = default;
};

/// What line and point shapes add.
class JT_API JtSparseShape : public JtVertexShape {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  /// Scales the area for culling decisions; 0 or in (0, 1].
  float areaFactor() const noexcept { return areaFactor_; }
  JtSparseShape() = default;

 protected:
  JtSparseShape(const JtSparseShape&) = default;

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion sparseVersion_;
  float areaFactor_ = 1;
  std::optional<std::uint64_t> bindingsLast_ = 0;
};

/// Polylines.
class JT_API JtPolylineSet : public JtSparseShape {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtPolylineSet(*this)); }
  std::optional<jt::Mesh::Kind> takes() const noexcept override {
    return jt::Mesh::Kind::polylines;
  }
  JtPolylineSet() = default;

 protected:
  JtPolylineSet(const JtPolylineSet&) = default;
};

/// Points.
class JT_API JtPointSet : public JtSparseShape {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtPointSet(*this)); }
  std::optional<jt::Mesh::Kind> takes() const noexcept override { return jt::Mesh::Kind::points; }
  JtPointSet() = default;

 protected:
  JtPointSet(const JtPointSet&) = default;
};

/// A placeholder with an extent and no geometry.
class JT_API JtNullShape : public JtShape {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtNullShape(*this)); }
  JtNullShape() = default;

 protected:
  JtNullShape(const JtNullShape&) = default;

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion nullVersion_;
};

/// Boxes, cylinders and other primitives by their parameters, which are kept as they are. `mesh`
/// shows them as triangles that are off by at most a hundredth of a primitive's radius.
class JT_API JtPrimitiveSet : public JtShape {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtPrimitiveSet(*this)); }
  /// The primitives as triangles, made anew, with the number of the primitive as face group. Null
  /// as for `mesh`. @param tolerance greatest distance from the true surface, in the length unit of
  /// the node; 0 or less: a hundredth of the radius
  std::shared_ptr<const jt::Mesh> tessellate(float tolerance) const;
  /// How texture coordinates are made: 0 single tile, 1 isotropic.
  std::int32_t textureGeneration() const noexcept { return textureGeneration_.value_or(0); }
  JtPrimitiveSet() = default;

 protected:
  JtPrimitiveSet(const JtPrimitiveSet&) = default;

 private:
  friend struct jt::file::FieldAccess;
  jt::LocalVersion primitiveVersion_;
  std::array<std::int32_t, 2> oldBindings_{};  // 8.x and 9.x: texture coordinate, color
  std::uint64_t bindings_ = 0;                 // 10.x
  std::optional<std::int32_t> textureGeneration_ = 0;
  jt::LocalVersion quantizationVersion_;
  std::array<std::uint8_t, 2> quantization_{};  // bits a vertex, bits a color
};

/// Wire harness of 8.x files; its own data is carried unread.
class JT_API JtWireHarnessSet : public JtShape {
 public:
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override { return jt::Ref<JtBase>(new JtWireHarnessSet(*this)); }
  JtWireHarnessSet() = default;

 protected:
  JtWireHarnessSet(const JtWireHarnessSet&) = default;
};

namespace jt {

/// A new shape with that geometry: a JtTriStripSet, JtPolylineSet or JtPointSet. Throws as setMesh.
/// @param mesh not null
JT_API Ref<JtShape> makeShape(std::shared_ptr<const Mesh> mesh);

}  // namespace jt
