#include "JtSceneObject.h"

#include "file/SceneSource.h"

JtSceneObject::~JtSceneObject() {
  if (!source_) return;
  source_->forget(*this);
  source_->unref();
}

std::int32_t JtSceneObject::objectId() const { return source_ ? source_->objectId(element_) : 0; }
