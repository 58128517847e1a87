#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "JtShape.h"
#include "JtkBrep.h"
#include "JtkUnitHierarchy.h"

/// A node with geometry; made by JtkEntityFactory::createPart(). Shapes are in two lists, each with
/// levels of detail, 0 the finest.
class JTK_API JtkPart final : public JtkUnitHierarchy {
 public:
  enum class ShapeList : std::uint8_t {
    SURFACES,  ///< triangles, polygons, primitives and shapes without geometry
    LINES      ///< polylines and points
  };
  /// Levels of detail that a part may have.
  static constexpr int kMostLODs = 4096;

  TypeID typeID() const noexcept override { return PART; }

  /// The name of the part's node in the scene graph; empty: name().
  const JtString& sceneGraphName() const noexcept { return sceneGraphName_; }
  void setSceneGraphName(const JtString& name) { sceneGraphName_ = name; }

  /// The scene-graph node that the geometry is from; null: unknown. Of parts with one source an
  /// exporter stores the geometry once. The part takes a reference.
  const JtNode* geometrySource() const noexcept { return source_.get(); }
  void setGeometrySource(JtNode* node) { source_ = jt::Ref<JtNode>(node); }

  /// Why shapes of the source are not in the part; empty: they all are.
  const std::string& missingShapes() const noexcept { return missing_; }
  void setMissingShapes(std::string reason) { missing_ = std::move(reason); }

  // --- Shapes

  /// How many levels of detail a list has, and how many shapes one of them has.
  int numLODs(ShapeList list = ShapeList::SURFACES) const noexcept;
  int numShapes(int lod, ShapeList list = ShapeList::SURFACES) const noexcept;
  /// Not owned; null when there is none.
  JtShape* shape(int lod, int index, ShapeList list = ShapeList::SURFACES) const noexcept;
  /// Appends a shape to a level, which is made with those before it when it is not there. The part
  /// takes a reference. @return 1; 0 for null and a level that cannot be
  int addShape(JtShape* shape, int lod, ShapeList list = ShapeList::SURFACES);
  /// Takes a shape out; empty when there is none.
  jt::Ref<JtShape> takeShape(int lod, int index, ShapeList list = ShapeList::SURFACES);
  /// @return 1; 0 when there is no such shape
  int removeShape(int lod, int index, ShapeList list = ShapeList::SURFACES);
  /// The list that shapes of this kind belong to.
  static ShapeList listOf(const JtShape& shape) noexcept;
  /// Farthest distances of the levels of detail, as JtRangeLOD has them; may be empty.
  const std::vector<float>& rangeLimits() const noexcept { return rangeLimits_; }
  void setRangeLimits(std::vector<float> limits) { rangeLimits_ = std::move(limits); }

  // --- Precise geometry. Pointers are not owned; null: none. Taking clears the slot.

  /// The exact geometry of the part as a whole.
  JtkBrep* brep() const noexcept { return brep_.get(); }
  void setBrep(JtkBrep* brep) { brep_ = jt::Ref<JtkBrep>(brep); }
  jt::Ref<JtkBrep> takeBrep() { return std::move(brep_); }
  /// The wireframe of the part.
  JtkBrep* wireframeBrep() const noexcept { return wireframe_.get(); }
  void setWireframeBrep(JtkBrep* brep) { wireframe_ = jt::Ref<JtkBrep>(brep); }
  jt::Ref<JtkBrep> takeWireframeBrep() { return std::move(wireframe_); }
  /// Further bodies, by index; slots may be empty.
  int numIndexedBreps() const noexcept { return static_cast<int>(bodies_.size()); }
  JtkBrep* indexedBrep(int index) const noexcept;
  /// Puts a body into a slot, which is made with those before it when it is not there.
  /// @return 1; 0 for an index that cannot be
  int setIndexedBrep(int index, JtkBrep* brep);
  jt::Ref<JtkBrep> takeIndexedBrep(int index);
  void clearIndexedBreps() { bodies_.clear(); }

 private:
  friend class JtkEntityFactory;
  JtkPart() = default;
  ~JtkPart() override;
  using Level = std::vector<jt::Ref<JtShape>>;
  const Level* level(int lod, ShapeList list) const noexcept;

  JtString sceneGraphName_;
  jt::Ref<JtNode> source_;
  std::string missing_;
  std::array<std::vector<Level>, 2> levels_;  // by ShapeList
  std::vector<float> rangeLimits_;
  jt::Ref<JtkBrep> brep_;
  jt::Ref<JtkBrep> wireframe_;
  std::vector<jt::Ref<JtkBrep>> bodies_;
};
