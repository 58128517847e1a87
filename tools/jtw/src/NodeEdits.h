#pragma once

#include <functional>
#include <span>
#include <string>
#include <utility>
#include <vector>

class JtwNode;

namespace tool {

class Component;

/// Changes of one object, as NAME=VALUE words ask for them. Everything is checked when the object
/// is made; nothing is changed before apply().
class NodeEdits {
 public:
  /// @param index of the object among the component's entries
  /// Throws Failure: "usage" for a word that is no change or has a bad value, other codes for what
  /// the model refuses.
  NodeEdits(const Component& component, std::size_t index, std::span<const std::string> words);

  /// Throws Failure when the object is a frame and its list cannot be stored.
  void apply();

 private:
  const Component& component_;
  JtwNode& node_;
  std::vector<std::function<void()>> changes_;
};

}  // namespace tool
