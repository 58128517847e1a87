#include "JtwIsolation.h"

#include <algorithm>
#include <functional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "JtGroup.h"
#include "JtPartition.h"
#include "JtwCollection.h"
#include "JtwPMI.h"
#include "JtwRoot.h"

namespace jtw {
namespace {

using NodeSet = std::unordered_set<JtNode*>;

/// The node that an object is, or that of the object which carries it.
JtNode* nodeOf(JtwNode& object) {
  if (!object.isOfTypePMI()) return object.jtNode();
  JtwCollection* collection = static_cast<JtwPMI&>(object).collection();
  return collection ? collection->jtNode() : nullptr;
}

/// The nodes and everything above them.
NodeSet withAncestors(const std::vector<JtNode*>& nodes) {
  NodeSet found(nodes.begin(), nodes.end());
  std::vector<JtNode*> open(found.begin(), found.end());
  while (!open.empty()) {
    const JtNode* node = open.back();
    open.pop_back();
    for (int i = 0; i < node->numParents(); ++i)
      if (JtNode* parent = node->parent(i); found.insert(parent).second) open.push_back(parent);
  }
  return found;
}

/// The nodes and everything below them.
NodeSet withDescendants(const std::vector<JtNode*>& nodes) {
  NodeSet found(nodes.begin(), nodes.end());
  std::vector<JtNode*> open(found.begin(), found.end());
  while (!open.empty()) {
    JtNode* node = open.back();
    open.pop_back();
    for (int i = 0; i < node->numChildren(); ++i)
      if (JtNode* child = node->child(i); found.insert(child).second) open.push_back(child);
  }
  return found;
}

/// Shrinks the extents that partitions store to what remains in them; part files before their
/// partitions.
void tightenBounds(const NodeSet& nodes) {
  std::vector<std::pair<int, JtPartition*>> byDepth;
  for (JtNode* node : nodes)
    if (auto* partition = jt::as<JtPartition>(node)) {
      int depth = 0;
      for (const JtNode* at = node->parent(0); at; at = at->parent(0)) ++depth;
      byDepth.emplace_back(depth, partition);
    }
  std::ranges::sort(byDepth, std::greater());
  for (const auto& [depth, partition] : byDepth) {
    const JtPartition* file = partition->externalPartition();
    if (const auto bounds = file ? file->bounds() : partition->computeBounds())
      partition->setBounds(*bounds);
  }
}

}  // namespace

void isolate(const Objects& objects, std::span<const std::size_t> chosen) {
  std::vector<JtNode*> whole;
  std::vector<JtNode*> kept;  // with what they carry alone
  for (const std::size_t index : chosen) {
    JtwNode& object = objects.node(index);
    if (JtNode* node = nodeOf(object)) (object.isOfTypePMI() ? kept : whole).push_back(node);
  }
  const NodeSet inside = withDescendants(whole);
  kept.insert(kept.end(), whole.begin(), whole.end());
  kept.push_back(objects.root().partition());
  const NodeSet above = withAncestors(kept);
  for (JtNode* node : above) {
    auto* group = jt::as<JtGroup>(node);
    if (!group || inside.contains(node)) continue;
    std::vector<jt::Ref<JtNode>> stay;
    for (int i = 0; i < group->numChildren(); ++i)
      if (JtNode* child = group->child(i); above.contains(child)) stay.emplace_back(child);
    if (static_cast<int>(stay.size()) == group->numChildren()) continue;
    while (group->numChildren() > 0) group->removeChild(group->numChildren() - 1);
    for (const jt::Ref<JtNode>& child : stay) group->addChild(child.get());
  }
  tightenBounds(above);
}

}  // namespace jtw
