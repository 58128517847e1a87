#include "JtGroup.h"

#include <algorithm>

#include "base/Prefetch.h"
#include "scene/Ancestors.h"
#include "scene/Recording.h"

JtGroup::~JtGroup() {
  Dismantler children;
  JtGroup::releaseChildren(children);
}

void JtGroup::releaseChildren(Dismantler& out) noexcept {
  constexpr std::size_t kAhead = 12;  // what is loaded should still be near when its turn comes
  const auto loadAhead = [this](std::size_t fromLast) {
    if (fromLast < children_.size())
      jt::prefetch(children_[children_.size() - 1 - fromLast].get(), sizeof(JtGroup));
  };
  for (std::size_t i = 0; i < kAhead; ++i) loadAhead(i);
  for (auto child = children_.rbegin(); child != children_.rend(); ++child) {
    loadAhead(static_cast<std::size_t>(child - children_.rbegin()) + kAhead);
    detach(**child, *this);
    out.add(std::move(*child));
  }
  children_.clear();
}

jt::Ref<JtBase> JtGroup::clone() const { return jt::Ref<JtBase>(new JtGroup(*this)); }

JtNode* JtGroup::child(int index) const noexcept {
  return index >= 0 && static_cast<std::size_t>(index) < children_.size()
             ? children_[static_cast<std::size_t>(index)].get()
             : nullptr;
}

bool JtGroup::addChild(JtNode* child) {
  return insertChild(static_cast<int>(children_.size()), child);
}

bool JtGroup::insertChild(int index, JtNode* child) {
  if (!jt::scene::mayTakeChild(*this, child)) return false;
  // A child may still be in its constructor: once a journal has a reference on it, nothing fails.
  if (children_.size() == children_.capacity())
    children_.reserve(std::max<std::size_t>(2 * children_.size(), 1));
  record(children_);
  recordParents(*child);
  link(std::clamp<std::ptrdiff_t>(index, 0, static_cast<std::ptrdiff_t>(children_.size())), *child);
  touch();
  return true;
}

/// Both links or none, also when there is no memory.
void JtGroup::link(std::ptrdiff_t index, JtNode& child) {
  attach(child, *this);
  try {
    children_.insert(children_.begin() + index, jt::Ref<JtNode>(&child));
  } catch (...) {
    detach(child, *this);
    throw;
  }
}

bool JtGroup::removeChild(int index) {
  if (isOpaque() || index < 0 || static_cast<std::size_t>(index) >= children_.size()) return false;
  const jt::Ref<JtNode> child = children_[static_cast<std::size_t>(index)];
  record(children_);
  recordParents(*child);
  children_.erase(children_.begin() + index);
  detach(*child, *this);
  touch();
  return true;
}

void JtGroup::disown(const JtNode& child) {
  record(children_);
  std::erase(children_, &child);
}

bool JtGroup::removeChild(const JtNode* child) {
  const auto found = std::find(children_.begin(), children_.end(), child);
  return found != children_.end() && removeChild(static_cast<int>(found - children_.begin()));
}
