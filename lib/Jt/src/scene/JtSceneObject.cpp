#include "JtSceneObject.h"

#include "scene/ObjectSource.h"

JtSceneObject::JtSceneObject(const JtSceneObject& other)
    : source_(other.source_),
      element_(other.source_ ? other.element_ : 0),
      carried_(other.carried_),
      copied_(other.source_ != nullptr) {
  if (source_) source_->ref();
}

JtSceneObject::~JtSceneObject() {
  if (!source_) return;
  source_->forget(*this);
  source_->unref();
}

std::int32_t JtSceneObject::objectId() const {
  return source_ && !copied_ ? source_->objectId(element_) : 0;
}
