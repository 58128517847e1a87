#include "JtGroup.h"

#include <algorithm>
#include <unordered_set>

#include "JtInstance.h"

namespace {

/// True when `node` is `start` or stands above it.
bool isAbove(const JtNode* node, const JtNode* start) {
  std::vector<const JtNode*> pending{start};
  std::unordered_set<const JtNode*> seen{start};
  while (!pending.empty()) {
    const JtNode* current = pending.back();
    pending.pop_back();
    if (current == node) return true;
    for (int i = 0; i < current->numParents(); ++i)
      if (seen.insert(current->parent(i)).second) pending.push_back(current->parent(i));
  }
  return false;
}

/// A node without children cannot close a cycle.
bool mayTakeChild(const JtNode& parent, const JtNode* child) {
  return child && !parent.isOpaque() && child != &parent &&
         (child->numChildren() == 0 || !isAbove(child, &parent));
}

}  // namespace

JtGroup::~JtGroup() {
  Dismantler children;
  JtGroup::releaseChildren(children);
}

void JtGroup::releaseChildren(Dismantler& out) noexcept {
  for (auto child = children_.rbegin(); child != children_.rend(); ++child) detach(**child, *this);
  for (jt::Ref<JtNode>& child : children_) out.add(std::move(child));
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
  if (!mayTakeChild(*this, child)) return false;
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
  children_.erase(children_.begin() + index);
  detach(*child, *this);
  touch();
  return true;
}

bool JtGroup::removeChild(const JtNode* child) {
  const auto found = std::find(children_.begin(), children_.end(), child);
  return found != children_.end() && removeChild(static_cast<int>(found - children_.begin()));
}

// --- JtInstance

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
  if (isOpaque() || (child && !mayTakeChild(*this, child))) return false;
  link(child);
  touch();
  return true;
}

void JtInstance::link(JtNode* child) {
  if (child) attach(*child, *this);  // first: it may run out of memory
  if (child_) detach(*child_, *this);
  child_ = child;
}
