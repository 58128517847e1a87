#pragma once

#include "ApiGraphicsPMIAnnotationData.h"
#include "JtkwPMIArrow.h"
#include "JtkwPMIData.h"
#include "JtkwPMILine.h"
#include "JtwPolylineStore.h"

class JtkwPMIAppearanceData;

/// A dimension: its text, and the polylines that it is drawn with. The lists of lines and arrows
/// are read only while the call lasts; null elements are passed over.
class JTW_API JtkwPMIDimensionData : public JtkwPMIData {
 public:
  using Points = jtw::PolylineStore::Points;
  using Indices = jtw::PolylineStore::Indices;
  using Polylines = jtw::PolylineStore::Polylines;
  using PolylineTypes = RWClassicTValOrderedVector<ApiGraphicsPMIAnnotationData::GeomPolylineTypes>;
  using Lines = RWClassicTValOrderedVector<JtkwPMILine*>;
  using Arrows = RWClassicTValOrderedVector<JtkwPMIArrow*>;

  JtkwPMIDimensionData() = default;
  JtkwPMIDimensionData(const JtkwPMIDimensionData&) = default;
  JtkwPMIDimensionData& operator=(const JtkwPMIDimensionData&) = default;
  ~JtkwPMIDimensionData() override;

  /// Sets origin and both points to the translation of the location, whatever its rotation and the
  /// reference: a dimension has no plane until one is calculated from what it is drawn with.
  void setRelLoc(const RTTran3D& location, const RTTran3D* reference) override;
  /// Makes `location` the reference times the frame: x towards the point on x, y towards the point
  /// on y as far as it is perpendicular to x, z their cross product, at the origin. Without a plane
  /// (points in the origin, on one line with it, or not finite) the rotation is the one that the
  /// caller passed in.
  void getRelLoc(const RTTran3D& reference, RTTran3D& location) const override;

  /// Calculates the plane of a linear dimension and puts the points of the frame into it: origin +
  /// x and origin + y, with x and y of length 1 and perpendicular. The origin stays, so set the
  /// location first.
  ///
  /// x is the direction of the dimension line: from the head of the first arrow to the head
  /// farthest from it; where no two heads differ, that of the first arrow that has one, from the
  /// middle of its base to its head; without such an arrow that of the longest line. y points from
  /// the dimension line to the point of the drawing that is farthest from it, the first one of
  /// several.
  ///
  /// Elements with a number that is not finite are passed over; hidden ones count. False, and
  /// nothing changes, when all points are one or lie on one line: within 1e-9 of the size of the
  /// drawing and within the rounding of its coordinates, so that the unit does not matter.
  bool calculateDimensionPlane(const Lines& lines, const Arrows& arrows);
  /// The same for an angular dimension: x is the direction of the longest line, a leg of the angle;
  /// y points to the side that another line goes to, the line that leads farthest away from x.
  /// Where all lines are parallel (an angle of 180 degrees), y points to the farthest point as
  /// above; without lines everything is as above.
  bool calculateAngularDimensionPlane(const Lines& lines, const Arrows& arrows);

  /// The text, UTF-8; null when there is none. Valid until it is set again.
  const char* text() const { return text_ ? text_->c_str() : nullptr; }
  /// Keeps a copy of the text; null: no text.
  void setText(const char* text);
  /// Keeps the text as wide text has it: bytes that are no characters become U+FFFD.
  void setRWCText(const RWClassicCString& text);

  /// How it looks; null: nothing is set. Not owned: it has to live until the record is written.
  JtkwPMIAppearanceData* appearanceData() const { return appearance_; }
  void setAppearanceData(JtkwPMIAppearanceData* appearance) { appearance_ = appearance; }

  /// The polylines, in order.
  Polylines polylines() const { return polylines_.polylines(); }
  /// Takes polylines, all general lines. False, and nothing changes, for more vertices than an
  /// index can count.
  bool setPolylines(const Polylines& polylines);
  /// Takes what is shown of the lists, lines first: of a line its two points, of an arrow its
  /// closed outline (left, head, right, left).
  bool setPolylines(const Lines& lines, const Arrows& arrows);
  /// The polylines as flat sequences, laid out as jtw::PolylineStore says, and a type for each.
  void getPMIPolylineData(Points& vertices, Indices& indices, PolylineTypes& types) const;

 private:
  std::optional<RWClassicCString> text_;
  JtkwPMIAppearanceData* appearance_ = nullptr;
  jtw::PolylineStore polylines_;
  PolylineTypes types_;
};
