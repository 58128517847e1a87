#include "PMIScale.h"

#include <span>

namespace jtk {
namespace {

void scaleAll(std::span<float> values, double scale) {
  for (float& value : values) value = static_cast<float>(static_cast<double>(value) * scale);
}

void scaleEntity(jt::PMIGenericEntity& entity, double scale) {
  scaleAll(entity.base.frame, scale);
  scaleAll({&entity.base.textHeight, 1}, scale);
  scaleAll(entity.lines.vertices, scale);
  for (jt::PMIText& text : entity.texts) {
    scaleAll(text.box, scale);
    scaleAll(text.vertices, scale);
  }
}

}  // namespace

jt::Ref<PMIDataManager> scaledPMI(const PMIDataManager& pmi, double scale) {
  const jt::Ref<JtBase> copy = pmi.clone();
  jt::Ref<PMIDataManager> scaled(jt::as<PMIDataManager>(copy.get()));
  scaled->makeGeneric();
  const auto entities = static_cast<int>(scaled->pmiDataGenericArray().size());
  for (int i = 0; i < entities; ++i) scaleEntity(*scaled->editGenericEntity(i), scale);
  const auto views = static_cast<int>(scaled->data().modelViews.size());
  for (int i = 0; i < views; ++i) {
    jt::PMIModelView& view = *scaled->editModelView(i);
    scaleAll(view.eyePosition, scale);
    scaleAll(view.target, scale);
    scaleAll({&view.viewportDiameter, 1}, scale);
  }
  return scaled;
}

}  // namespace jtk
