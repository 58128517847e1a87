#include "JtwTransforms.h"

#include "DmKrUtilsGeomUtilities.h"
#include "DmKrUtilsInterface.h"
#include "JtPathAttributes.h"
#include "JtXform.h"

namespace jtw {

RTTran3D localTransform(const JtNode* node, double scale) {
  const int index = jt::firstAttribute<JtXform>(node);
  jt::Matrix4 matrix;
  if (index < 0 || !DmKrUtilsGeomUtilities::getJtMatrix4fOfXform(
                       jt::as<JtXform>(node->attribute(index)), matrix))
    return {};
  RTTran3D local = DmKrUtilsGeomUtilities::toTran3D(matrix);
  if (scale != 1.0) local.setTranslation(local.getTranslation() * scale);
  return local;
}

void setLocalTransform(JtNode& node, const RTTran3D& local) {
  jt::Matrix4 matrix = DmKrUtilsGeomUtilities::toJtMatrix(local);
  for (double& value : matrix) value = static_cast<double>(static_cast<float>(value));
  // A new attribute, never a changed one: other nodes may list the old one too.
  const auto xform = jt::make<JtXform>();
  DmKrUtilsInterface::setMatrix(xform.get(), matrix);
  const int index = jt::firstAttribute<JtXform>(&node);
  if (index >= 0)
    node.replaceAttribute(index, xform.get());
  else
    node.appendAttribute(xform.get());
}

}  // namespace jtw
