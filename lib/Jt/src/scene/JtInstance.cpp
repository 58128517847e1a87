#include "JtInstance.h"

#include "scene/Ancestors.h"
#include "scene/Recording.h"

JtInstance::~JtInstance() {
  Dismantler children;
  JtInstance::releaseChildren(children);
}

void JtInstance::releaseChildren(Dismantler& out) noexcept {
  if (!child_) return;
  detach(*child_, *this);
  out.add(std::move(child_));
}

jt::Ref<JtBase> JtInstance::clone() const { return jt::Ref<JtBase>(new JtInstance(*this)); }

bool JtInstance::setChild(JtNode* child) {
  if (isOpaque() || (child && !jt::scene::mayTakeChild(*this, child))) return false;
  record(child_);
  if (child_) recordParents(*child_);
  if (child) recordParents(*child);
  link(child);
  touch();
  return true;
}

void JtInstance::disown(const JtNode& child) {
  if (child_ != &child) return;
  record(child_);
  child_ = nullptr;
}

void JtInstance::link(JtNode* child) {
  if (child) attach(*child, *this);  // first: it may run out of memory
  if (child_) detach(*child_, *this);
  child_ = child;
}
