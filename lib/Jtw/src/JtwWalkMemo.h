#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <unordered_map>
#include <vector>

#include "ApiGraColor.h"
#include "RTTran3D.h"

class JtNode;
class JtwNode;

namespace jtw {

/// What walks up the scene graph have found, as long as nothing changes it. Every node that a walk
/// passes is entered, so that no part of a way is gone twice.
struct WalkMemo {
  /// Relative to the component parent.
  struct Place {
    RTTran3D location;
    float ratio = 1.0F;
  };
  std::unordered_map<const JtNode*, JtNode*> parents;  ///< JT node of the component parent, or null
  std::unordered_map<const JtNode*, Place> places;
  /// The nearest color below the component parent.
  std::unordered_map<const JtNode*, std::optional<ApiGraColor>> colors;
  std::unordered_map<const JtwNode*, RTTran3D> absLocs;
};

/// The nodes that a walk up has passed. Ways are short as a rule: the first nodes take no memory.
template <class Node>
class PassedNodes {
 public:
  bool empty() const noexcept { return count_ == 0; }
  Node& back() const { return count_ > kNear ? *far_.back() : *near_[count_ - 1]; }
  void push_back(Node& node) {
    if (count_ < kNear)
      near_[count_] = &node;
    else
      far_.push_back(&node);
    ++count_;
  }
  void pop_back() noexcept {
    if (count_-- > kNear) far_.pop_back();
  }

 private:
  static constexpr std::size_t kNear = 16;
  std::array<Node*, kNear> near_;
  std::vector<Node*> far_;
  std::size_t count_ = 0;
};

/// The value of a node that depends on the values of the nodes above it: up from `start` until a
/// value is known or `above(node)` is null, then down again, without a deep call stack.
/// @param known    values to stop at; those of the nodes that are passed are entered; may be null
/// @param extended `(const Value* valueAbove, Node& node)`: the value of a node; null at the top
template <class Value, class Node, class Above, class Extended>
Value walkUp(Node* start, std::unordered_map<const Node*, Value>* known, Above above,
             Extended extended) {
  PassedNodes<Node> passed;
  const Value* valueAbove = nullptr;
  for (Node* node = start; node; node = above(*node)) {
    if (known)
      if (const auto found = known->find(node); found != known->end()) {
        valueAbove = &found->second;
        break;
      }
    passed.push_back(*node);
  }
  if (passed.empty()) return valueAbove ? *valueAbove : Value{};
  const auto next = [&] {
    Value value = extended(valueAbove, passed.back());
    if (known) known->emplace(&passed.back(), value);
    passed.pop_back();
    return value;
  };
  Value value = next();
  for (valueAbove = &value; !passed.empty();) value = next();
  return value;
}

}  // namespace jtw
