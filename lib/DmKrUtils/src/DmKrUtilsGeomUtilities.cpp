#include "DmKrUtilsGeomUtilities.h"

#include <algorithm>

bool DmKrUtilsGeomUtilities::getJtMatrix4fOfXform(const JtXform* xform, jt::Matrix4& matrix) {
  if (!xform) return false;
  matrix = xform->matrix();
  return true;
}

const JtWireframeRep* DmKrUtilsGeomUtilities::getJtWFRepOfVisPartNode(const VisPartNode* part) {
  return part ? part->loadedWFRep() : nullptr;
}

RTTran3D DmKrUtilsGeomUtilities::toTran3D(const jt::Matrix4& matrix) {
  return RTTran3D(matrix).transposed();
}

jt::Matrix4 DmKrUtilsGeomUtilities::toJtMatrix(const RTTran3D& transform) {
  const RTTran3D transposed = transform.transposed();
  jt::Matrix4 matrix;
  std::ranges::copy(transposed.values(), matrix.begin());
  return matrix;
}
