#pragma once

// The wireframe of a part: exact curves, apart from the polylines that are drawn for them.

#include <array>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "JtBase.h"
#include "JtPMIData.h"

namespace jt {

/// A NURBS curve in the space and the unit of its part.
struct WireCurve {
  int degree = 1;                             ///< at least 1
  std::vector<std::array<double, 3>> points;  ///< control points, more than `degree`
  std::vector<double> weights;                ///< one for each point; empty: not rational
  /// Ascending, points + degree + 1 of them, the first and the last degree + 1 equal. Those of a
  /// damaged file may descend: see polylineOf().
  std::vector<double> knots;
  /// The file stores no knots although there is more than one span: taken as evenly spaced.
  bool areKnotsAssumed = false;

  friend bool operator==(const WireCurve&, const WireCurve&) = default;
};

/// A straight line.
JT_API WireCurve lineCurve(const std::array<double, 3>& from, const std::array<double, 3>& to);
/// A line through points. @pre two points at least
JT_API WireCurve polylineCurve(std::vector<std::array<double, 3>> points);
/// An arc of a circle from `from` over `corner`, where the tangents of both ends meet, to `to`.
/// @param weight of the corner: the cosine of half the angle of the arc, which is less than 180°
JT_API WireCurve arcCurve(const std::array<double, 3>& from, const std::array<double, 3>& corner,
                          const std::array<double, 3>& to, double weight);

/// How far a polyline may be from its curve.
struct WireTolerance {
  /// Distance of a curve to its chord, in the unit of the curve; 0: a thousandth of the diagonal of
  /// the control points' box.
  double chord = 0;
  double degrees = 15;  ///< between the directions of a segment's halves
};

/// Points of a curve within a tolerance; ends of spans are among them. A curve whose degree, knots
/// or weights cannot be evaluated gives its control points; one with a point that is no number
/// gives nothing. Splitting ends at 65536 points or 16 for each control point.
JT_API std::vector<std::array<double, 3>> polylineOf(const WireCurve& curve,
                                                     const WireTolerance& tolerance = {});

/// A wire: a curve, and what identifies it. Several wires may have one curve.
struct WireEdge {
  std::int32_t curve = 0;  ///< index of the curve
  std::int32_t tag = 0;

  friend bool operator==(const WireEdge&, const WireEdge&) = default;
};

/// What a wireframe consists of.
struct WireframeData {
  std::vector<WireEdge> edges;
  std::vector<WireCurve> curves;
  std::int32_t nextTag = 0;  ///< as stored; many producers leave it 0
  /// CAD tags of the edges, in order. They stay bytes when they cannot be decoded.
  PMICadTags cadTags;
  PMILayout layout = PMILayout::none;    ///< of CAD tags that are bytes
  bool bigEndian = false;                ///< the same
  std::vector<std::byte> trailingBytes;  ///< bytes after the last known field

  /// Exchanges all values, without a third object.
  friend void swap(WireframeData& a, WireframeData& b) noexcept {
    std::swap(a.edges, b.edges);
    std::swap(a.curves, b.curves);
    std::swap(a.nextTag, b.nextTag);
    std::swap(a.cadTags.flag, b.cadTags.flag);
    std::swap(a.cadTags.indices, b.cadTags.indices);
    std::swap(a.cadTags.version, b.cadTags.version);
    std::swap(a.cadTags.coded, b.cadTags.coded);
    std::swap(a.cadTags.tags, b.cadTags.tags);
    std::swap(a.layout, b.layout);
    std::swap(a.bigEndian, b.bigEndian);
    std::swap(a.trailingBytes, b.trailingBytes);
  }
};

namespace file {
struct FieldAccess;
}

}  // namespace jt

/// The wireframe of a part (element "Wireframe Rep"). It has no colors, names or styles: all wires
/// show those of their part.
class JT_API JtWireframeRep : public JtBase {
 public:
  JtWireframeRep() = default;
  static const JtType* classTypeID();
  const JtType* typeID() const override { return classTypeID(); }
  jt::Ref<JtBase> clone() const override;
  /// Writes the content in one form whatever file it is from, so that it can be compared; false
  /// when it holds what is not understood.
  bool serialize(JtBaseDataStream& stream) const override;

  /// The edges, and the curves that they lie on.
  int numEdges() const noexcept { return static_cast<int>(data_.edges.size()); }
  const std::vector<jt::WireEdge>& edges() const noexcept { return data_.edges; }
  const std::vector<jt::WireCurve>& curves() const noexcept { return data_.curves; }
  /// The curve of an edge. @pre 0 <= edge < numEdges()
  const jt::WireCurve& curveOf(int edge) const {
    return data_
        .curves[static_cast<std::size_t>(data_.edges[static_cast<std::size_t>(edge)].curve)];
  }
  /// Ids of the edges, in order: their tags, or their positions when a tag occurs twice.
  std::vector<std::int32_t> edgeIds() const;
  /// The producer's lasting number of an edge; nothing when the file has none.
  /// @pre 0 <= edge < numEdges()
  std::optional<std::int64_t> cadTag(int edge) const;
  /// Everything as it was read.
  const jt::WireframeData& data() const noexcept { return data_; }

  /// Adds an edge with a curve of its own. Returns its tag, which no other edge has. Throws
  /// JtFormatError "not_editable" when the content has more than this library can keep consistent,
  /// and "bad_value" for a curve whose points, weights and knots do not fit each other.
  std::int32_t addEdge(jt::WireCurve curve);
  /// True when edges were added since the wireframe was read.
  bool isModified() const noexcept { return modified_; }

 private:
  friend struct jt::file::FieldAccess;
  jt::WireframeData data_;
  bool modified_ = false;
};
