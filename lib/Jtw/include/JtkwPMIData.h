#pragma once

#include <optional>

#include "JtwExport.h"
#include "RTTran3D.h"
#include "RTVec3D.h"
#include "RWClassic.h"

/// One piece of PMI on its way from the host to the toolkit: what all kinds have in common. A plain
/// value that its maker fills and the writer reads; copies share nothing but the appearance that
/// the derived records point to. Lengths are in the unit of the component's data.
class JTW_API JtkwPMIData {
 public:
  JtkwPMIData() = default;
  JtkwPMIData(const JtkwPMIData&) = default;
  JtkwPMIData& operator=(const JtkwPMIData&) = default;
  virtual ~JtkwPMIData();

  /// Sets the reference frame from a location (column vectors). The kinds differ in what they take
  /// from it; this one takes the origin alone, the translation of the location seen from the
  /// reference: inverse(reference) * location. A null reference is the identity, and so is one that
  /// has no inverse.
  virtual void setRelLoc(const RTTran3D& location, const RTTran3D* reference);
  /// Reads the location back. The kinds differ here too; this one moves `location` to the origin,
  /// keeps the rotation that the caller passed in, and makes it reference * location.
  virtual void getRelLoc(const RTTran3D& reference, RTTran3D& location) const;

  /// The name to display, UTF-8; null when there is none. Valid until it is set again.
  const char* displayName() const { return displayName_ ? displayName_->c_str() : nullptr; }
  /// Keeps a copy of the text; null: no name.
  void setDisplayName(const char* name);
  void setRWWDisplayName(const RWClassicWString& name);
  /// The name as wide text; empty when there is none.
  void getRWWDisplayName(RWClassicWString& name) const;

  /// The reference frame, in millimetres: its origin, and a point on its x and on its y axis. For a
  /// coordinate system (JtkwPMIFrameData) the second and third are directions instead.
  const RTVec3D& origin() const { return origin_; }
  void setOrigin(RTVec3D origin) { origin_ = origin; }
  const RTVec3D& pointOnXDirection() const { return pointOnX_; }
  void setPointOnXDirection(RTVec3D point) { pointOnX_ = point; }
  const RTVec3D& pointOnYDirection() const { return pointOnY_; }
  void setpointOnYDirection(RTVec3D point) { pointOnY_ = point; }
  /// The frame from three arrays of three numbers each, none null; all nine are multiplied by
  /// `scale`.
  void setReferenceFrame(const double* origin, const double* pointOnX, const double* pointOnY,
                         double scale);

  /// The layer as decimal text; "-1", the default, means no layer. Valid until it is set again.
  const char* layer() const { return layer_.c_str(); }
  void setLayer(int layer);
  /// A number of the host's; 0 at first. It is not written.
  int id() const { return id_; }
  void setId(int id) { id_ = id; }

 protected:
  /// inverse(reference) * location; the location itself for a null or identical reference.
  static RTTran3D seenFrom(const RTTran3D* reference, const RTTran3D& location);
  /// reference * location.
  static RTTran3D placedIn(const RTTran3D& reference, const RTTran3D& location);

 private:
  std::optional<RWClassicCString> displayName_;
  RTVec3D origin_;
  RTVec3D pointOnX_;
  RTVec3D pointOnY_;
  RWClassicCString layer_ = "-1";
  int id_ = 0;
};
