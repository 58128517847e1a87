#pragma once

#include "DmKrUtilsExport.h"
#include "JtXform.h"
#include "RTTran3D.h"
#include "VisPartNode.h"

/// Matrices of the scene graph and transforms of the host.
class DMKR_API DmKrUtilsGeomUtilities {
 public:
  /// The matrix of a transform attribute, for row vectors, in the unit of its node.
  /// @return false, with `matrix` untouched, for null
  static bool getJtMatrix4fOfXform(const JtXform* xform, jt::Matrix4& matrix);

  /// The wireframe of a part, as far as it is in memory: see VisPartNode::ensureWFRep. Not owned.
  /// @return null for null and for a part without one
  static const JtWireframeRep* getJtWFRepOfVisPartNode(const VisPartNode* part);

  /// The host's transform (column vectors) of a matrix for row vectors: the transposed one.
  static RTTran3D toTran3D(const jt::Matrix4& matrix);
  /// The inverse of toTran3D.
  static jt::Matrix4 toJtMatrix(const RTTran3D& transform);
};
