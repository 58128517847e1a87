#pragma once

#include "ApiGraphicsPMIAnnotationData.h"
#include "JtkEntity.h"
#include "JtkwPMIData.h"
#include "JtwPolylineStore.h"

class JtkwPMIAppearanceData;

/// The general annotation: its toolkit types, what it is drawn with, and how it looks. Its frame is
/// that of JtkwPMIData; it keeps no orientation of its own. Lines, polygons and text strokes are
/// three stores of polylines, laid out as jtw::PolylineStore says: what is set comes back as it was
/// and in its order, polylines without vertices too.
class JTW_API JtkwPMIAnnotationData : public JtkwPMIData {
 public:
  using Points = jtw::PolylineStore::Points;
  using Indices = jtw::PolylineStore::Indices;
  using Polylines = jtw::PolylineStore::Polylines;
  using PolylineTypes = RWClassicTValOrderedVector<ApiGraphicsPMIAnnotationData::GeomPolylineTypes>;

  JtkwPMIAnnotationData() = default;
  JtkwPMIAnnotationData(const JtkwPMIAnnotationData&) = default;
  JtkwPMIAnnotationData& operator=(const JtkwPMIAnnotationData&) = default;
  ~JtkwPMIAnnotationData() override;

  /// The toolkit's type and sub-type, as JtkwPMITypeMaps::getJtTkFromApiPMIType() gives them.
  JtkEntity::TypeID annotationBaseType() const { return baseType_; }
  void setAnnotationBaseType(JtkEntity::TypeID type) { baseType_ = type; }
  int annotationSubType() const { return subType_; }
  void setAnnotationSubType(int subType) { subType_ = subType; }

  /// Turns the frame: its points become origin + x and origin + y, of the lengths given. Set the
  /// location first.
  void setPlanarOrientation(RTVec3D x, RTVec3D y);
  /// The directions from the origin to the frame's points, of length 1; zero for a point that lies
  /// in the origin.
  void getPlanarOrientation(RTVec3D& x, RTVec3D& y) const;

  // --- drawn lines, each with a type

  /// The flat sequences; lengths are in millimetres.
  const Points& vertices() const { return lines_.vertices(); }
  const Indices& indices() const { return lines_.indices(); }
  /// One for each line.
  const PolylineTypes& types() const { return types_; }
  /// Takes flat sequences. `types` has at most one element for each line; lines without one are
  /// general lines. False, and nothing changes, when the sequences do not fit together.
  bool setPolylines(const Points& vertices, const Indices& indices, const PolylineTypes& types);
  /// The same from polylines.
  bool setGeomPolylineSet(const Polylines& polylines, const PolylineTypes& types);
  /// All lines, in order; types() has their types.
  Polylines getGeomPolylineSet() const { return lines_.polylines(); }
  /// The lines of one type, in order.
  Polylines getPolylineOfType(ApiGraphicsPMIAnnotationData::GeomPolylineTypes type) const;
  /// The range of line `index` in vertices(): from `begin` up to but without `end`. False, with
  /// outputs untouched, when there is no such line.
  bool findPolylineSeg(int index, int& begin, int& end) const;
  /// The vertices of line `index`. False, with the output untouched, when there is no such line.
  bool getPolyline(int index, Points& points) const;
  /// Gives line `index`, which keeps its type, other vertices. False when there is no such line.
  bool setPolyline(int index, const Points& points);

  // --- filled polygons

  /// The flat sequences; lengths are in millimetres.
  const Indices& polygonIndices() const { return polygons_.indices(); }
  const Points& polygonVertices() const { return polygons_.vertices(); }
  /// Takes polygons, each a sequence of corners; or flat sequences. False, and nothing changes,
  /// when they do not fit together.
  bool setPolygons(const Polylines& polygons) { return polygons_.assign(polygons); }
  bool setPolygons(const Points& vertices, const Indices& indices);
  Polylines getGeomPolygonSet() const { return polygons_.polylines(); }

  // --- text, drawn as lines

  /// The flat sequences; lengths are in millimetres.
  const Points& textVertices() const { return text_.vertices(); }
  const Indices& textIndices() const { return text_.indices(); }
  /// Takes flat sequences; false, and nothing changes, when they do not fit together.
  bool setTextPolylines(const Points& vertices, const Indices& indices);
  bool setTextPolylineSet(const Polylines& polylines) { return text_.assign(polylines); }
  Polylines getTextPolylineSet() const { return text_.polylines(); }

  /// How it looks; null: nothing is set. Not owned: it has to live until the record is written.
  JtkwPMIAppearanceData* appearanceData() const { return appearance_; }
  void setAppearanceData(JtkwPMIAppearanceData* appearance) { appearance_ = appearance; }
  /// Height of the text, in millimetres; 0: not set.
  float textHeight() const { return textHeight_; }
  void setTextHeight(float height) { textHeight_ = height; }

  /// By how much the frame is moved when the leader flag is set, in millimetres.
  const RTVec3D& leaderDragPoint() const { return leaderDragPoint_; }
  /// Sets the move and the leader flag.
  void setLeaderDragPoint(const RTVec3D& move, bool shouldRenderLeader);
  /// The leader flag. Rendering the leader and writing polyline data are one and the same flag.
  bool shouldRenderLeader() const { return shouldRenderLeader_; }
  void setShouldRenderLeader(bool on) { shouldRenderLeader_ = on; }
  bool shouldWritePolylineData() const { return shouldRenderLeader_; }
  void setShouldWritePolylineData(bool on) { shouldRenderLeader_ = on; }

 private:
  bool takeLines(jtw::PolylineStore lines, const PolylineTypes& types);

  JtkEntity::TypeID baseType_ = JtkEntity::PMI_NONE;
  int subType_ = -1;
  jtw::PolylineStore lines_;
  PolylineTypes types_;
  jtw::PolylineStore polygons_;
  jtw::PolylineStore text_;
  JtkwPMIAppearanceData* appearance_ = nullptr;
  float textHeight_ = 0.0F;
  RTVec3D leaderDragPoint_;
  bool shouldRenderLeader_ = false;
};
