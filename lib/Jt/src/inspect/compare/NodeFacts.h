#pragma once

// What distinguishes the nodes of one graph when the children of two nodes are matched.

#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "JtNode.h"

namespace jt::compare_detail {

struct NodeFacts {
  const JtString* name = nullptr;   ///< null for none; owned by the node's property
  const JtPropAtom* key = nullptr;  ///< value of the identity property, or null
  std::uint64_t keyHash = 0;        ///< 0 for none
  std::uint64_t nameHash = 0;       ///< 0 for none
  std::uint64_t content = 0;        ///< hash of the node without its children
  std::uint64_t subtree = 0;        ///< hash of the node with everything below it
  double millimetres = 0;           ///< in the unit of length that the node names; 0: none
  /// How far geometry of the node and below lies from its origin, before its own transforms; about
  /// that for transforms that are no rotations.
  double reach = 0;
};

/// Facts about every node of a graph. Hashes only decide what is held against what: equal ones do
/// not make nodes equal, different ones do not make them differ.
class GraphFacts {
 public:
  /// @param identityKeys see CompareOptions
  GraphFacts(const JtNode& root, std::span<const std::string> identityKeys);

  const NodeFacts& of(const JtNode* node) const { return facts_.at(node); }
  /// Links from nodes to children.
  std::size_t edges() const noexcept { return edges_; }
  /// True when a node has an identity key with that hash.
  bool hasKey(std::uint64_t hash) const { return keyHashes_.contains(hash); }
  std::span<const JtString> identityKeys() const noexcept { return keys_; }

 private:
  NodeFacts describe(const JtNode& node) const;
  static void addChild(NodeFacts& facts, const JtNode& child, const NodeFacts& childFacts);

  std::vector<JtString> keys_;
  std::size_t edges_ = 0;
  std::unordered_set<std::uint64_t> keyHashes_;
  std::unordered_map<const JtNode*, NodeFacts> facts_;
};

/// Hash of an atom's value; segments and carried bytes do not show.
std::uint64_t hashOf(const JtPropAtom& atom);

}  // namespace jt::compare_detail
